#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "classxml/BasicString.h"

// The prolog of a document, from its first bytes: what stands before the root's start tag. One
// scanner serves every look at it that comes before the parser's: whether a document names a
// DTD at all, and where to put the DOCTYPE that names another one (DoctypeOverride.h).
namespace classxml::prolog {

// The first bytes of a document as code units of one or two bytes, after any byte-order mark:
// UTF-16 of either byte order as its mark or first character shows (or as it is in memory),
// otherwise UTF-8 or any ASCII-compatible encoding.
class Units {
public:
    static Units Sniffed(const unsigned char* bytes, std::size_t size);
    static Units Utf8(CBasicStringView<char8_t> text);
    static Units Utf16(CBasicStringView<WideChar> text);

    std::size_t Size() const { return (m_size - m_start) / m_width; }
    // Bytes a unit: 1 or 2.
    std::size_t Width() const { return m_width; }
    std::uint32_t At(std::size_t unit) const;
    std::size_t ByteOf(std::size_t unit) const { return m_start + unit * m_width; }
    bool Is(std::size_t unit, std::string_view ascii) const;
    // The unit after the next `end` from `unit`.
    std::optional<std::size_t> Past(std::size_t unit, std::string_view end) const;
    bool IsSpace(std::size_t unit) const;
    std::size_t SkipSpace(std::size_t unit) const;
    bool IsNameStart(std::size_t unit) const;
    std::size_t SkipName(std::size_t unit) const;
    // After a quoted literal at `unit`.
    std::optional<std::size_t> PastLiteral(std::size_t unit) const;
    // ASCII text in these units' encoding.
    std::vector<unsigned char> Encode(std::string_view ascii) const;

private:
    Units(const unsigned char* bytes, std::size_t size, std::size_t width, bool little,
          std::size_t start);

    const unsigned char* m_bytes;
    std::size_t m_size;
    std::size_t m_width;
    bool m_little;
    std::size_t m_start;
};

// What stands first after the XML declaration, processing instructions, comments and white
// space at the start of a document, and where.
struct FirstMarkup {
    enum class Kind {
        StartTag, // "<" and a name's first character: the root's start tag
        Doctype,  // "<!DOCTYPE"
        Other,    // anything else: not a prolog a parser takes
        Unknown,  // the units end before it shows
    };
    Kind kind;
    std::size_t at; // the unit it starts at
};
FirstMarkup FindFirstMarkup(const Units& units);

// Whether a document certainly names no DTD, from its first bytes: nothing but an XML
// declaration, processing instructions, comments and white space stands before the start tag of
// its root element. Such a document has nothing to validate and no entities to expand. When in
// doubt (a DOCTYPE, a prolog longer than the bytes given) the answer is no.
bool NamesNoDtd(const Units& units);

// How many bytes of a file NamesNoDtd looks at.
inline constexpr std::size_t kPrologBytes = 4096;

} // namespace classxml::prolog
