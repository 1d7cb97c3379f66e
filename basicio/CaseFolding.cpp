#include "classxml/basicio/CaseFolding.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "classxml/basicio/VFileDetail.h"
#include "classxml/platform/LowerCase.h"
#include "classxml/platform/Utf.h"

namespace classxml::basicio {

FoldedText::FoldedText(platform::NarrowEncoding encoding)
    : m_utf8(platform::IsSameEncoding(encoding, platform::NarrowEncoding::Utf8)),
      m_bytes(platform::LowerCaseBytes(encoding)) {}

void FoldedText::Assign(CBasicStringView<char> text) {
    m_shifts.clear();
    if (m_utf8) {
        AssignUtf8(text);
        return;
    }
    m_text.resize(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
        m_text[i] = static_cast<char>(m_bytes[static_cast<unsigned char>(text[i])]);
}

namespace {

// The length of the run of ASCII bytes at the start of `text`, eight at a time.
std::size_t AsciiRun(CBasicStringView<char> text) {
    std::size_t length = 0;
    for (std::uint64_t word; length + 8 <= text.size(); length += 8) {
        std::memcpy(&word, text.data() + length, 8);
        if (word & 0x8080808080808080ull) break;
    }
    while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80)
        ++length;
    return length;
}

} // namespace

// Runs of ASCII, which is nearly all of most files, are copied and lower-cased in bulk; any
// other character is decoded, lower-cased and encoded again. A lower case is at most half as
// long again as its character (two bytes become three).
void FoldedText::AssignUtf8(CBasicStringView<char> text) {
    m_text.resize(text.size() + text.size() / 2 + 4);
    std::size_t out = 0;
    for (std::size_t in = 0; in < text.size();) {
        if (const std::size_t run = AsciiRun(text.substr(in))) {
            std::memcpy(m_text.data() + out, text.data() + in, run);
            platform::ToLowerAscii(m_text.data() + out, run);
            in += run;
            out += run;
            continue;
        }
        char32_t codePoint = 0;
        const CBasicStringView<char> rest = text.substr(in);
        std::size_t length = platform::DecodeUtf8(platform::AsUtf8(rest), codePoint);
        std::size_t folded = 1;
        if (codePoint == 0xFFFD && !rest.starts_with("\xEF\xBF\xBD")) {
            // Not a character: its first byte is taken as it stands, and whatever follows is
            // looked at afresh, so that folding from any byte that is not a continuation byte
            // divides the text into the same characters as folding from the start.
            m_text[out] = rest[0];
            length = 1;
        } else {
            const char32_t lower = codePoint < 0x10000
                                       ? static_cast<std::uint16_t>(
                                             platform::ToLower(static_cast<WideChar>(codePoint)))
                                       : codePoint;
            folded = platform::EncodeUtf8(lower, reinterpret_cast<char8_t*>(m_text.data() + out));
        }
        in += length;
        out += folded;
        if (folded != length) m_shifts.push_back({out, in});
    }
    m_text.resize(out);
}

std::size_t FoldedText::OriginalOffset(std::size_t folded) const {
    const auto after = std::upper_bound(
        m_shifts.begin(), m_shifts.end(), folded,
        [](std::size_t place, const Shift& shift) { return place < shift.folded; });
    if (after == m_shifts.begin()) return folded;
    const Shift& shift = *(after - 1);
    return shift.original + (folded - shift.folded);
}

namespace {

// Blocks of a file are read, folded and searched this many bytes at a time.
constexpr std::size_t kBlockBytes = std::size_t(1) << 20;

// The file's bytes [from, to) that end where a character ends (unless `to` is the file's end).
CBasicStringView<char> WholeBlock(CBasicFile<char>& file, std::int64_t from, std::int64_t to,
                                  std::vector<char>& block) {
    block.resize(static_cast<std::size_t>(to - from));
    const std::size_t got = file.ReadAt(from, block.data(), block.size());
    const CBasicStringView<char> read(block.data(), got);
    if (from + std::int64_t(got) >= file.SizeInCharacters()) return read;
    return read.substr(0, WholeCharacters(read, EncodingOf(file.GetCodePage())));
}

// Where the character that `position` falls in begins, for a block to start with it: the last
// byte at or before it that is not a continuation byte, if there is one within a character's
// length.
std::int64_t CharacterStart(CBasicFile<char>& file, std::int64_t position) {
    if (!platform::IsSameEncoding(EncodingOf(file.GetCodePage()), platform::NarrowEncoding::Utf8))
        return position;
    for (std::int64_t back = position; back >= 0 && back > position - 4; --back) {
        char unit = 0;
        if (!file.CharAt(back, unit)) return position;
        if ((static_cast<unsigned char>(unit) & 0xC0) != 0x80) return back;
    }
    return position;
}

struct FoldedSearch {
    FoldedSearch(CBasicFile<char>& file, CBasicStringView<char> text)
        : needle(EncodingOf(file.GetCodePage())), window(EncodingOf(file.GetCodePage())) {
        needle.Assign(text);
        // The original of a folded match, with room for a character cut at a block's end.
        span = std::int64_t(FoldedText::kMaxGrowth * needle.View().size() + 4);
        blockBytes = std::max<std::int64_t>(kBlockBytes, 4 * span);
    }

    FoldedText needle;
    FoldedText window;
    std::int64_t span;
    std::int64_t blockBytes;
    std::vector<char> block;
};

} // namespace

std::int64_t FindFolded(CBasicFile<char>& file, CBasicStringView<char> text, std::int64_t start) {
    const std::int64_t size = file.SizeInCharacters();
    start = std::max<std::int64_t>(start, 0);
    if (start > size) return -1;
    if (text.empty()) return start;
    FoldedSearch search(file, text);
    for (std::int64_t position = CharacterStart(file, start); position < size;) {
        const CBasicStringView<char> bytes =
            WholeBlock(file, position, std::min(size, position + search.blockBytes), search.block);
        search.window.Assign(bytes);
        const CBasicStringView<char> folded = search.window.View();
        for (std::size_t found = folded.find(search.needle.View());
             found != CBasicStringView<char>::npos;
             found = folded.find(search.needle.View(), found + 1)) {
            const std::int64_t place = position + std::int64_t(search.window.OriginalOffset(found));
            if (place >= start) return place;
        }
        if (position + std::int64_t(bytes.size()) >= size) break;
        // Blocks overlap by a match and begin with a character.
        position = CharacterStart(file, position + std::int64_t(bytes.size()) - search.span);
    }
    return -1;
}

std::int64_t FindFoldedReverse(CBasicFile<char>& file, CBasicStringView<char> text,
                               std::int64_t start) {
    const std::int64_t size = file.SizeInCharacters();
    if (start < 0 || start > size) start = size;
    FoldedSearch search(file, text);
    if (text.empty()) return start;
    for (std::int64_t end = std::min(size, start + search.span);;) {
        const std::int64_t from =
            CharacterStart(file, std::max<std::int64_t>(0, end - search.blockBytes));
        const CBasicStringView<char> bytes = WholeBlock(file, from, end, search.block);
        search.window.Assign(bytes);
        const CBasicStringView<char> folded = search.window.View();
        for (std::size_t found = folded.rfind(search.needle.View());
             found != CBasicStringView<char>::npos;
             found = found == 0 ? CBasicStringView<char>::npos
                                : folded.rfind(search.needle.View(), found - 1)) {
            const std::int64_t place = from + std::int64_t(search.window.OriginalOffset(found));
            if (place <= start) return place;
        }
        if (from == 0) return -1;
        end = from + search.span;
    }
}

bool StartsFolded(CBasicFile<char>& file, std::int64_t position, CBasicStringView<char> text) {
    if (position < 0) return false;
    FoldedSearch search(file, text);
    search.window.Assign(WholeBlock(
        file, position, std::min(file.SizeInCharacters(), position + search.span), search.block));
    return search.window.View().starts_with(search.needle.View());
}

} // namespace classxml::basicio
