#include "classxml/scanner/Input.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace classxml::scanner {
namespace {

// How much is read from the source (or checked in place) at a time.

// The length of a well-formed UTF-8 sequence from its first bytes (Unicode's table of legal
// sequences), or 0 when the bytes cannot start one; `available` of them are there.
std::size_t WellFormedLength(const unsigned char* at, std::size_t available) {
    const unsigned char lead = at[0];
    if (lead < 0x80) return 1;
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF; // the range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F; // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F; // nothing above U+10FFFF
    } else {
        return 0;
    }
    if (available < length) return length; // the caller sees it is cut short
    if (at[1] < low || at[1] > high) return 0;
    for (std::size_t i = 2; i < length; ++i)
        if ((at[i] & 0xC0) != 0x80) return 0;
    return length;
}

// How many bytes the parser's decoder expects after a first byte (it knows sequences of up to
// six); 0 for a byte that cannot start one.
std::size_t XercesTrailingBytes(unsigned char lead) {
    if (lead < 0xC0) return 0;
    if (lead < 0xE0) return 1;
    if (lead < 0xF0) return 2;
    if (lead < 0xF8) return 3;
    if (lead < 0xFC) return 4;
    return 5;
}

// Eight bytes at once, for the ASCII that most documents are.
bool AllAscii(const unsigned char* at) {
    std::uint64_t word;
    std::memcpy(&word, at, sizeof word);
    return (word & 0x8080808080808080ULL) == 0;
}

// Thirty-two bytes at once.
bool AllAscii32(const unsigned char* at) {
    std::uint64_t words[4];
    std::memcpy(words, at, sizeof words);
    return ((words[0] | words[1] | words[2] | words[3]) & 0x8080808080808080ULL) == 0;
}

} // namespace

Input::Input(ByteSource& source, Encoding encoding, std::size_t skip)
    : m_source(source), m_encoding(encoding), m_skip(skip) {
    const std::string_view whole = source.Whole();
    if (encoding == Encoding::Utf8 && !whole.empty()) {
        // The caller's text stays as it is for as long as the reader reads it.
        m_inPlace = true;
        m_data = reinterpret_cast<unsigned char*>(const_cast<char*>(whole.data())) + skip;
        m_read = whole.size() - std::min(skip, whole.size());
        m_skip = 0;
        return;
    }
    m_window.resize(kBlock + kLookahead + kBlock);
    m_data = m_window.data();
}

// The UTF-8 bytes in [from, to) are checked; the end of the well-formed ones. A sequence cut off
// by `to` waits for the rest of the document, unless the document has ended.
std::size_t Input::CheckUtf8(std::size_t from, std::size_t to) {
    const unsigned char* bytes = m_data;
    std::size_t at = from;
    while (at < to) {
        if (at + 32 <= to && AllAscii32(bytes + at)) {
            at += 32;
            continue;
        }
        if (at + 8 <= to && AllAscii(bytes + at)) {
            at += 8;
            continue;
        }
        if (bytes[at] < 0x80) {
            ++at;
            continue;
        }
        const std::size_t length = WellFormedLength(bytes + at, to - at);
        if (length != 0 && at + length > to && !m_sourceEnded) return at; // the rest comes later
        // The parser's decoder takes a sequence that the end of the document cuts short, by the
        // length its first byte announces, for the end of the document; in a document in
        // memory, not one of C0 or C1, which can start no sequence.
        const bool neverFirst = m_inPlace && bytes[at] < 0xC2;
        if (m_sourceEnded && !neverFirst && to - at <= XercesTrailingBytes(bytes[at])) return at;
        if (length == 0 || at + length > to) {
            m_broken = true;
            m_brokenAt = m_dropped + at;
            return at;
        }
        at += length;
    }
    return at;
}

// A code unit, a pair, or an unpaired surrogate (as its three-byte form) into the window.
void Input::ConvertUtf16(const unsigned char* bytes, std::size_t count) {
    m_pending.insert(m_pending.end(), bytes, bytes + count);
    const bool little = m_encoding == Encoding::Utf16Little;
    const auto unitAt = [&](std::size_t i) -> char32_t {
        return little ? char32_t(m_pending[i] | m_pending[i + 1] << 8)
                      : char32_t(m_pending[i] << 8 | m_pending[i + 1]);
    };
    if (m_window.size() < m_read + 2 * m_pending.size())
        m_window.resize(m_read + 2 * m_pending.size());
    m_data = m_window.data();
    unsigned char* out = m_data + m_read;
    std::size_t at = 0;
    for (; at + 2 <= m_pending.size(); at += 2) {
        char32_t unit = unitAt(at);
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            if (at + 4 > m_pending.size() && !m_sourceEnded) break; // its pair may follow
            const char32_t next = at + 4 <= m_pending.size() ? unitAt(at + 2) : 0;
            if (next >= 0xDC00 && next <= 0xDFFF) {
                unit = 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
                at += 2;
            }
        }
        if (unit < 0x80) {
            *out++ = static_cast<unsigned char>(unit);
        } else if (unit < 0x800) {
            *out++ = static_cast<unsigned char>(0xC0 | unit >> 6);
            *out++ = static_cast<unsigned char>(0x80 | (unit & 0x3F));
        } else if (unit < 0x10000) {
            *out++ = static_cast<unsigned char>(0xE0 | unit >> 12);
            *out++ = static_cast<unsigned char>(0x80 | (unit >> 6 & 0x3F));
            *out++ = static_cast<unsigned char>(0x80 | (unit & 0x3F));
        } else {
            *out++ = static_cast<unsigned char>(0xF0 | unit >> 18);
            *out++ = static_cast<unsigned char>(0x80 | (unit >> 12 & 0x3F));
            *out++ = static_cast<unsigned char>(0x80 | (unit >> 6 & 0x3F));
            *out++ = static_cast<unsigned char>(0x80 | (unit & 0x3F));
        }
    }
    // A half unit at the very end counts for nothing, as the parser's decoder leaves it.
    m_pending.erase(m_pending.begin(), m_pending.begin() + std::ptrdiff_t(at));
    if (m_sourceEnded) m_pending.clear();
    m_read = std::size_t(out - m_data);
    m_checkedEnd = m_read;
}

void Input::ReadMore() {
    if (m_inPlace) { // the document is there: its next block is checked
        const std::size_t to = std::min(m_read, m_checkedEnd + kBlock);
        if (to == m_read) m_sourceEnded = true;
        m_checkedEnd = CheckUtf8(m_checkedEnd, to);
        return;
    }
    if (m_window.size() < m_read + kBlock) m_window.resize(m_read + kBlock);
    m_data = m_window.data();
    if (m_encoding == Encoding::Utf8) {
        const std::size_t got = m_source.Read(m_data + m_read, kBlock);
        if (got == 0) m_sourceEnded = true;
        std::size_t from = m_read;
        m_read += got;
        if (m_skip > 0) { // a byte-order mark
            const std::size_t skipped = std::min(m_skip, m_read - from);
            std::memmove(m_data + from, m_data + from + skipped, m_read - from - skipped);
            m_read -= skipped;
            m_skip -= skipped;
        }
        m_checkedEnd = CheckUtf8(m_checkedEnd, m_read);
        (void)from;
        return;
    }
    std::vector<unsigned char> raw(kBlock);
    const std::size_t got = m_source.Read(raw.data(), raw.size());
    if (got == 0) m_sourceEnded = true;
    std::size_t from = 0;
    if (m_skip > 0) {
        from = std::min(m_skip, got);
        m_skip -= from;
    }
    ConvertUtf16(raw.data() + from, got - from);
}

// The number of bytes whose high bit is set in a word where only high bits may be.
std::uint64_t CountHigh(std::uint64_t highBits) {
    return ((highBits >> 7) * 0x0101010101010101ULL) >> 56;
}

// Eight bytes at a time: the high bit of each byte that equals `value`.
std::uint64_t BytesEqual(std::uint64_t word, unsigned char value) {
    constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7FULL;
    const std::uint64_t x = word ^ (0x0101010101010101ULL * value);
    return ~(((x & kLow7) + kLow7) | x | kLow7);
}

// The UTF-16 units of UTF-8 bytes: one for each byte that starts a character, and one more for
// each character of four bytes.
std::uint64_t UnitsOf(const unsigned char* bytes, std::size_t count) {
    constexpr std::uint64_t kHigh = 0x8080808080808080ULL;
    std::uint64_t units = 0;
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes + i, sizeof word);
        const std::uint64_t continuation = word & ~(word << 1) & kHigh;
        const std::uint64_t fourBytes = word & (word << 1) & (word << 2) & (word << 3) & kHigh;
        units += 8 - CountHigh(continuation) + CountHigh(fourBytes);
    }
    for (; i < count; ++i)
        units += ((bytes[i] & 0xC0) != 0x80 ? 1 : 0) + (bytes[i] >= 0xF0 ? 1 : 0);
    return units;
}

// What is dropped is counted for the places of later errors: the lines it ends (a carriage
// return and a line feed after it end one), and the UTF-16 units of the line it leaves open.
void Input::Drop(std::size_t count) {
    if (m_inPlace) return; // nothing moves
    if (!m_plainLineEnds.empty() && m_plainLineEnds.front() < OffsetOf(count)) {
        // Rare (a line end in a declaration-like prolog): counted a byte at a time.
        const Place place = PlaceOf(count);
        m_droppedLines = place.line - 1;
        m_droppedColumnUnits = place.column - 1;
        m_droppedEndsWithCarriageReturn = count > 0 && m_data[count - 1] == '\r' &&
                                          std::find(m_plainLineEnds.begin(), m_plainLineEnds.end(),
                                                    OffsetOf(count - 1)) == m_plainLineEnds.end();
        m_plainLineEnds.erase(
            m_plainLineEnds.begin(),
            std::lower_bound(m_plainLineEnds.begin(), m_plainLineEnds.end(), OffsetOf(count)));
        m_noColumn.erase(m_noColumn.begin(),
                         std::lower_bound(m_noColumn.begin(), m_noColumn.end(), OffsetOf(count)));
        std::memmove(m_data, m_data + count, m_read - count);
        m_read -= count;
        m_checkedEnd -= count;
        m_scanEnd -= count;
        m_dropped += count;
        return;
    }
    const unsigned char* bytes = m_data;
    std::uint64_t feeds = 0, returns = 0, pairs = 0;
    std::size_t lineStart = 0; // after the last line end
    std::size_t i = 0;
    bool previousReturn = m_droppedEndsWithCarriageReturn;
    for (; i + 8 <= count; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes + i, sizeof word);
        const std::uint64_t lf = BytesEqual(word, '\n'), cr = BytesEqual(word, '\r');
        if ((lf | cr) == 0) {
            previousReturn = false;
            continue;
        }
        feeds += CountHigh(lf);
        returns += CountHigh(cr);
        pairs += CountHigh(lf & ((cr << 8) | (previousReturn ? 0x80 : 0)));
        previousReturn = (cr >> 63) != 0;
        lineStart = i + std::size_t(63 - std::countl_zero(lf | cr)) / 8 + 1;
    }
    for (; i < count; ++i) {
        feeds += bytes[i] == '\n';
        returns += bytes[i] == '\r';
        pairs += bytes[i] == '\n' && previousReturn;
        previousReturn = bytes[i] == '\r';
        if (bytes[i] == '\n' || bytes[i] == '\r') lineStart = i + 1;
    }
    const std::uint64_t units = ColumnsIn(lineStart, count);
    m_droppedLines += feeds + returns - pairs;
    // What lies before the window no longer counts for its columns.
    m_noColumn.erase(m_noColumn.begin(),
                     std::lower_bound(m_noColumn.begin(), m_noColumn.end(), OffsetOf(count)));
    m_droppedColumnUnits = lineStart > 0 ? units : m_droppedColumnUnits + units;
    if (count > 0) m_droppedEndsWithCarriageReturn = bytes[count - 1] == '\r';
    std::memmove(m_data, m_data + count, m_read - count);
    m_read -= count;
    m_checkedEnd -= count;
    m_scanEnd -= count;
    m_dropped += count;
}

std::size_t Input::Refill(std::size_t keep) {
    if (m_inPlace) keep = 0; // the document stays where it is
    Drop(keep);
    const std::size_t wanted = m_scanEnd + kBlock + kLookahead;
    while (!m_sourceEnded && !m_broken && m_checkedEnd < wanted)
        ReadMore();
    std::size_t scanEnd = m_checkedEnd;
    if (!m_sourceEnded || m_broken)
        scanEnd = m_checkedEnd > kLookahead ? m_checkedEnd - kLookahead : 0;
    // A character is never cut by the window's end.
    while (scanEnd > 0 && scanEnd < m_checkedEnd && (m_data[scanEnd] & 0xC0) == 0x80)
        --scanEnd;
    m_scanEnd = std::max(m_scanEnd, scanEnd);
    return keep;
}

Place Input::PlaceOf(std::size_t at) const {
    const unsigned char* bytes = m_data;
    Place place{m_droppedLines + 1, m_droppedColumnUnits + 1};
    std::size_t lineStart = 0;
    auto plain = m_plainLineEnds.begin();
    bool afterReturn = m_droppedEndsWithCarriageReturn;
    for (std::size_t i = 0; i < at; ++i) {
        const unsigned char byte = bytes[i];
        while (plain != m_plainLineEnds.end() && *plain < OffsetOf(i))
            ++plain;
        if (plain != m_plainLineEnds.end() && *plain == OffsetOf(i)) { // a character here
            afterReturn = false;
            continue;
        }
        const bool pairsWithReturn = afterReturn;
        afterReturn = byte == '\r';
        if (byte == '\n') {
            if (!pairsWithReturn) ++place.line;
            place.column = 1;
            lineStart = i + 1;
        } else if (byte == '\r') {
            ++place.line;
            place.column = 1;
            lineStart = i + 1;
        }
    }
    place.column += ColumnsIn(lineStart, at);
    return place;
}

std::uint64_t Input::ColumnsIn(std::size_t from, std::size_t to) const {
    std::uint64_t columns = UnitsOf(m_data + from, to - from);
    for (auto it = std::lower_bound(m_noColumn.begin(), m_noColumn.end(), OffsetOf(from));
         it != m_noColumn.end() && *it < OffsetOf(to); ++it)
        --columns;
    return columns;
}

} // namespace classxml::scanner
