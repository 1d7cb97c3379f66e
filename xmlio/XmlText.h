#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

#include <xercesc/util/XMLChar.hpp>

#include "classxml/BasicString.h"
#include "classxml/platform/Utf.h"

// Which text an XML 1.0 document can hold, so that nothing goes into a document that cannot
// come out of it again.
namespace classxml::xml_text {

// Every character is one XML 1.0 can carry: tab, line feed, carriage return, and everything
// from U+0020 on except U+FFFE, U+FFFF and surrogates that are not a pair. A zero is none.
inline bool IsXmlText(CBasicStringView<WideChar> text) {
    const WideChar* unit = text.data();
    const WideChar* const end = unit + text.size();
    while (unit != end) {
        const auto value = static_cast<std::uint16_t>(*unit++);
        if (value >= 0x20 && value < 0xD800) continue; // by far the most common case
        if (value < 0x20) {
            if (value == 0x9 || value == 0xA || value == 0xD) continue;
            return false;
        }
        if (value >= 0xE000) {
            if (value >= 0xFFFE) return false;
            continue;
        }
        if (!platform::IsHighSurrogate(value) || unit == end ||
            !platform::IsLowSurrogate(static_cast<std::uint16_t>(*unit)))
            return false;
        ++unit; // a high surrogate and its low one
    }
    return true;
}

// The same for UTF-8, where ill-formed sequences stand for U+FFFD, as they become when
// converted.
inline bool IsXmlTextUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte >= 0x20 && byte < 0x80) {
            ++at;
            continue;
        }
        if (byte < 0x20) {
            if (byte != 0x9 && byte != 0xA && byte != 0xD) return false;
            ++at;
            continue;
        }
        char32_t point = 0;
        at += platform::DecodeUtf8(platform::AsUtf8(text.substr(at)), point);
        if (point == 0xFFFE || point == 0xFFFF) return false;
    }
    return true;
}

// The characters of names, as the parser classes them: a character of the basic plane by the
// parser's own table, a supplementary one (a surrogate pair) from U+10000 to U+EFFFF.
inline bool IsNameStartCharacter(char32_t character) {
    return character < 0x10000 ? xercesc::XMLChar1_0::isFirstNameChar(XMLCh(character))
                               : character <= 0xEFFFF;
}
inline bool IsNameCharacter(char32_t character) {
    return character < 0x10000 ? xercesc::XMLChar1_0::isNameChar(XMLCh(character))
                               : character <= 0xEFFFF;
}

// A name XML 1.0 allows for an element or an attribute (a colon included: names are not
// namespace-qualified here).
inline bool IsName(CBasicStringView<WideChar> name) {
    for (std::size_t i = 0; i < name.size(); ++i) {
        char32_t character = static_cast<std::uint16_t>(name[i]);
        if (platform::IsHighSurrogate(character) && i + 1 < name.size() &&
            platform::IsLowSurrogate(static_cast<std::uint16_t>(name[i + 1])))
            character = platform::CodePointOf(character, static_cast<std::uint16_t>(name[++i]));
        if (!(i == 0 ? IsNameStartCharacter(character) : IsNameCharacter(character))) return false;
    }
    return !name.empty();
}

// A public identifier holds only the characters XML allows there.
inline bool IsPublicId(CBasicStringView<WideChar> id) {
    constexpr CBasicStringView<WideChar> kPunctuation = WIDE("-'()+,./:=?;!*#@$_%");
    for (const WideChar unit : id) {
        const bool alphanumeric = (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') ||
                                  (unit >= '0' && unit <= '9');
        if (!alphanumeric && unit != ' ' && unit != '\r' && unit != '\n' &&
            kPunctuation.find(unit) == CBasicStringView<WideChar>::npos)
            return false;
    }
    return true;
}

// A system identifier is written between double quotes, so it cannot hold one.
inline bool IsSystemId(CBasicStringView<WideChar> id) {
    return IsXmlText(id) && id.find(WideChar('"')) == CBasicStringView<WideChar>::npos;
}

// Where escaped text stands: in content, or in an attribute value between double quotes.
enum class Escaping { Content, Attribute };

// The reference that stands for a character that cannot stand as itself, as the serialiser
// writes it, or an empty view. In content: "&", "<", ">", and a carriage return, which would
// otherwise read back as a line feed. In an attribute value: "&", "<", the double quote, and
// line feed, carriage return and tab, which the parser would otherwise turn into spaces.
template <Escaping kind>
constexpr std::string_view EscapeOf(std::uint32_t unit) {
    if (unit > '>') return {}; // by far the most common case
    switch (unit) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return kind == Escaping::Content ? "&gt;" : "";
    case '"':
        return kind == Escaping::Attribute ? "&quot;" : "";
    case '\r':
        return "&#xD;";
    case '\n':
        return kind == Escaping::Attribute ? "&#xA;" : "";
    case '\t':
        return kind == Escaping::Attribute ? "&#x9;" : "";
    default:
        return {};
    }
}

// Text escaped for where it stands: `copy(begin, end)` for each run of units that stand as they
// are, `escape(reference)` for each unit between them. The units are UTF-16, or UTF-8 bytes
// (no byte of a multi-byte sequence needs an escape).
template <Escaping kind, class Unit, class Copy, class Escape>
void Escaped(const Unit* begin, const Unit* end, Copy copy, Escape escape) {
    const Unit* run = begin;
    for (const Unit* unit = begin; unit != end; ++unit) {
        const std::string_view reference =
            EscapeOf<kind>(static_cast<std::make_unsigned_t<Unit>>(*unit));
        if (reference.empty()) continue;
        copy(run, unit);
        escape(reference);
        run = unit + 1;
    }
    copy(run, end);
}

// How text is stored as CDATA so that it reads back as it was. A CDATA section cannot hold
// "]]>", and a carriage return in one reads back as a line feed. So the text goes into
// consecutive sections, cut between "]]" and ">", with every carriage return between them as
// text of its own (written as a character reference); reading joins them back. `section` is
// called with each section's text, `carriageReturn` for each carriage return, in order. Empty
// text is one empty section.
template <class Section, class CarriageReturn>
void SplitIntoCDATASections(CBasicStringView<WideChar> text, Section section,
                            CarriageReturn carriageReturn) {
    using View = CBasicStringView<WideChar>;
    static constexpr View kBreaks = WIDE("]\r");
    std::size_t start = 0; // of the section being collected
    for (std::size_t at = text.find_first_of(kBreaks); at != View::npos;
         at = text.find_first_of(kBreaks, at + 1)) {
        if (text[at] == WideChar('\r')) {
            if (at > start) section(text.substr(start, at - start));
            carriageReturn();
            start = at + 1;
        } else if (text.substr(at, 3) == View(WIDE("]]>"))) {
            section(text.substr(start, at + 2 - start));
            start = at + 2;
        }
    }
    if (start < text.size() || start == 0) section(text.substr(start));
}

} // namespace classxml::xml_text
