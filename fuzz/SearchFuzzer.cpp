// CVFile's forward and reverse searches on arbitrary contents and needles, narrow and UTF-16,
// case-sensitive and not, with small buffers so that matches cross buffer borders; every
// answer is checked against std::search.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>

#include "FuzzSupport.h"
#include "basicio/VFile.h"
#include "platform/LowerCase.h"

namespace {

const boost::shared_ptr<LocalizationManager> kNoLocalization;

// Every match, in order, through the file and through std::search: the same positions.
template <class Char>
void CheckSearches(CVFile& file, std::basic_string<Char> content, std::basic_string<Char> needle,
                   bool caseSensitive, std::int64_t offset) {
    if (!caseSensitive) {
        for (auto* text : {&content, &needle})
            for (Char& unit : *text) {
                if constexpr (sizeof(Char) == 1)
                    classxml::platform::ToLowerAscii(&unit, 1);
                else
                    unit = classxml::platform::ToLower(unit);
            }
    }
    std::int64_t start = 0;
    for (int found = 0; found < 64; ++found) {
        const auto expected = std::search(
            content.begin() + std::min<std::int64_t>(start, std::int64_t(content.size())),
            content.end(), needle.begin(), needle.end());
        const std::int64_t wanted = expected == content.end() && !needle.empty()
                                        ? -1
                                        : (expected - content.begin()) + offset;
        const std::int64_t got =
            file.FindStringPositionInFile(CBasicStringView<Char>(needle.data(), needle.size()),
                                          kNoLocalization, caseSensitive,
                                          FILE_CHAR_POS(start + offset))
                .get();
        FUZZ_CHECK(got == wanted);
        if (got < 0 || needle.empty()) break;
        start = got - offset + 1;
    }
    const auto last = std::find_end(content.begin(), content.end(), needle.begin(), needle.end());
    if (!needle.empty()) {
        const std::int64_t wanted = last == content.end() ? -1 : (last - content.begin()) + offset;
        const std::int64_t got = file.FindStringPositionInFileReverse(
                                         CBasicStringView<Char>(needle.data(), needle.size()),
                                         kNoLocalization, caseSensitive, FILE_CHAR_POS(-1))
                                     .get();
        FUZZ_CHECK(got == wanted);
    }
}

} // namespace

// Input: flags, needle length, needle, content.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const bool caseSensitive = data[0] & 1;
    const bool wide = data[0] & 2;
    const std::size_t bufferSize = std::size_t(4096) << (data[0] >> 5); // 4 KiB to 512 KiB
    const std::size_t needleBytes = std::min<std::size_t>(data[1], size - 2);
    const std::string needle(reinterpret_cast<const char*>(data + 2), needleBytes);
    const std::string content(reinterpret_cast<const char*>(data + 2 + needleBytes),
                              size - 2 - needleBytes);
    const std::filesystem::path path = classxml::fuzz::ScratchDirectory() / "search.txt";
    {
        std::ofstream out(path, std::ios::binary);
        if (wide) out << "\xFF\xFE"; // a UTF-16 file; the content's bytes are its units
        out << content;
    }
    CVFile file;
    file.Open(classxml::fuzz::Wide(path), CVFile::kReadExisting);
    file.SetMaxBufferSize(bufferSize);
    if (wide) {
        FUZZ_CHECK(file.IsWide());
        const auto units = [](const std::string& bytes) {
            std::basic_string<WideChar> text(bytes.size() / 2, WideChar(0));
            std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WideChar));
            return text;
        };
        // The mark is character 0 of the file, and the searches see it like any other.
        CheckSearches(file, WideChar(0xFEFF) + units(content), units(needle), caseSensitive, 0);
    } else if (!file.IsWide()) { // content that starts with a mark itself makes a UTF-16 file
        CheckSearches(file, content, needle, caseSensitive, 0);
    }
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) { return 0; }
