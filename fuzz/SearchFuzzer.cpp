// CVFile's forward and reverse searches on arbitrary contents and needles, narrow and UTF-16,
// case-sensitive and not, with small buffers so that matches cross buffer borders; every
// answer is checked against std::search.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>

#include "FuzzSupport.h"
#include "classxml/basicio/VFile.h"
#include "classxml/platform/LowerCase.h"
#include "classxml/platform/Utf.h"

namespace {

const boost::shared_ptr<LocalizationManager> kNoLocalization;

// Text as a search without case compares it, with the place in the original of each unit:
// UTF-16 unit by unit; UTF-8 character by character, a character's lower case sometimes
// taking more or fewer bytes, and a byte that begins no character taken as it stands.
template <class Char>
std::vector<std::int64_t> Fold(std::basic_string<Char>& text) {
    std::vector<std::int64_t> origin;
    std::basic_string<Char> folded;
    for (std::size_t i = 0; i < text.size();) {
        if constexpr (sizeof(Char) == 2) {
            folded.push_back(classxml::platform::ToLower(text[i]));
            origin.push_back(std::int64_t(i++));
            continue;
        } else {
            const std::string_view rest = std::string_view(text).substr(i);
            char32_t point = 0;
            std::size_t length =
                classxml::platform::DecodeUtf8(classxml::platform::AsUtf8(rest), point);
            char8_t lower[4] = {char8_t(rest[0])};
            std::size_t lowerLength = 1;
            if (point == 0xFFFD && !rest.starts_with("\xEF\xBF\xBD"))
                length = 1;
            else
                lowerLength = classxml::platform::EncodeUtf8(
                    point < 0x10000
                        ? char32_t(std::uint16_t(classxml::platform::ToLower(WideChar(point))))
                        : point,
                    lower);
            for (std::size_t k = 0; k < lowerLength; ++k) {
                folded.push_back(char(lower[k]));
                origin.push_back(std::int64_t(i + k));
            }
            i += length;
        }
    }
    origin.push_back(std::int64_t(text.size()));
    text = folded;
    return origin;
}

// Every match, in order, through the file and through std::search: the same positions.
template <class Char>
void CheckSearches(CVFile& file, std::basic_string<Char> content, std::basic_string<Char> needle,
                   bool caseSensitive, std::int64_t offset) {
    std::vector<std::int64_t> origin(content.size() + 1);
    for (std::size_t i = 0; i < origin.size(); ++i)
        origin[i] = std::int64_t(i);
    if (!caseSensitive) {
        origin = Fold(content);
        Fold(needle);
    }
    std::int64_t start = 0;
    for (int found = 0; found < 64; ++found) {
        auto from = content.begin();
        while (from != content.end() && origin[std::size_t(from - content.begin())] < start)
            ++from;
        const auto expected = std::search(from, content.end(), needle.begin(), needle.end());
        const std::int64_t wanted = expected == content.end() && !needle.empty()
                                        ? -1
                                        : origin[std::size_t(expected - content.begin())] + offset;
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
        const std::int64_t wanted =
            last == content.end() ? -1 : origin[std::size_t(last - content.begin())] + offset;
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
