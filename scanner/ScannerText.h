#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include <xercesc/util/XMLChar.hpp>

// What the scanner's files share: the byte classes its loops stop at, the name tables, and the
// texts of the parser's messages it repeats.
namespace classxml::scanner::text {

// Byte classes of content: what the text loop stops at.
enum : unsigned char {
    kPlain = 0,
    kStop = 1,      // '<', '&', ']', '\r', and bytes that start characters to look at
    kForbidden = 2, // a control character XML 1.0 does not allow (a zero byte among them)
};

inline constexpr std::array<unsigned char, 256> kContent = [] {
    std::array<unsigned char, 256> table{};
    for (int c = 0; c < 0x20; ++c)
        table[c] = kForbidden;
    table['\t'] = table['\n'] = kPlain;
    table['\r'] = table['<'] = table['&'] = table[']'] = kStop;
    table[0xEF] = kStop; // U+FFFE and U+FFFF are not characters
    table[0xED] = kStop; // an unpaired surrogate of a UTF-16 document
    return table;
}();

// Markup that the parser reads a character at a time (comments, CDATA, attribute values) stops
// at the first bytes of U+0085 and U+2028 too, which it reads there without counting a column.
inline constexpr std::array<unsigned char, 256> kMarkup = [] {
    std::array<unsigned char, 256> table = kContent;
    table[0xC2] = table[0xE2] = kStop;
    return table;
}();

// Attribute values stop at the quotes too, and at white space to normalise.
inline constexpr std::array<unsigned char, 256> kValue = [] {
    std::array<unsigned char, 256> table = kMarkup;
    table['"'] = table['\''] = table['\t'] = table['\n'] = kStop;
    table[']'] = kPlain;
    return table;
}();

// U+0085 and U+2028, which the parser takes for line ends in XML 1.1 only; in XML 1.0, where it
// reads a character at a time, it counts no column for them (where it reads runs of text, it
// does).
inline bool CountsNoColumn(char32_t character) { return character == 0x85 || character == 0x2028; }

// The characters of names that need no looking at: ASCII letters, digits, "_", ":", "-", ".";
// a name starts with none of the last three or a digit.
inline constexpr std::array<bool, 256> kPlainName = [] {
    std::array<bool, 256> table{};
    for (int c = 'a'; c <= 'z'; ++c)
        table[c] = table[c - 'a' + 'A'] = true;
    for (int c = '0'; c <= '9'; ++c)
        table[c] = true;
    table['_'] = table[':'] = table['-'] = table['.'] = true;
    return table;
}();

// Name characters among the ASCII ones, as the parser's table has them.
struct NameTables {
    std::array<bool, 128> start{}, name{};
    NameTables() {
        for (int c = 0; c < 128; ++c) {
            start[c] = xercesc::XMLChar1_0::isFirstNameChar(XMLCh(c));
            name[c] = xercesc::XMLChar1_0::isNameChar(XMLCh(c));
        }
    }
};
const NameTables kNames;

inline std::string Hex(char32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%X", unsigned(value));
    return text;
}

inline std::string Quoted(std::string_view name) { return "'" + std::string(name) + "'"; }

inline bool IsHighSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
inline bool IsLowSurrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// Appends a code point as UTF-8 (a surrogate as its three-byte form, as the window holds it).
inline void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += char(c);
    } else if (c < 0x800) {
        out += char(0xC0 | c >> 6);
        out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += char(0xE0 | c >> 12);
        out += char(0x80 | (c >> 6 & 0x3F));
        out += char(0x80 | (c & 0x3F));
    } else {
        out += char(0xF0 | c >> 18);
        out += char(0x80 | (c >> 12 & 0x3F));
        out += char(0x80 | (c >> 6 & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
}

inline constexpr const char* kExpectedSecondSurrogate =
    "leading surrogate character is not followed by a legal second character";
inline constexpr const char* kUnexpectedSecondSurrogate = "unexpected trailing surrogate character";
// What the parser's security manager allows of references to the predefined entities.
inline constexpr std::uint64_t kMostExpansions = 50000;

inline constexpr std::string_view kEntities[][2] = {
    {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};

// The parser's hash of a name, which it compares before the names themselves; any hash would
// do as well, but the names are compared in the same order.
inline std::uint64_t HashOf(std::string_view name) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    return hash;
}

} // namespace classxml::scanner::text
