// References, comments, processing instructions and CDATA sections.
#include "classxml/scanner/Scanner.h"

#include "classxml/scanner/ScannerText.h"
#include "classxml/xmlio/ParseLimits.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::scanner {

using Token = Scanner::Token;
using namespace text;

// After "&": a character reference, or one of the five entities XML predefines (and counts).
bool Scanner::Reference(char32_t& first, char32_t& second) {
    second = 0;
    if (SkippedByte('#')) return CharacterReference(first, second);
    const std::size_t length = NameLength();
    if (length == 0) return Fail("expected entity name for reference"), false;
    const std::string name(reinterpret_cast<const char*>(Data()) + m_at, length);
    m_at += length;
    if (!SkippedByte(';')) return Fail("unterminated entity reference " + Quoted(name)), false;
    for (const auto& [entity, text] : kEntities) {
        if (name != entity) continue;
        if (++m_expansions > kMostExpansions)
            return Fail("parser has encountered more than '" + std::to_string(kMostExpansions) +
                        "' entity expansions in the document; this is the limit imposed by the "
                        "application"),
                   false;
        first = static_cast<unsigned char>(text[0]);
        return true;
    }
    return Fail("entity " + Quoted(name) + " not found"), false;
}

// After "&#".
bool Scanner::CharacterReference(char32_t& first, char32_t& second) {
    unsigned radix = 10;
    if (SkippedByte('x')) {
        radix = 16;
    } else if (Peek() == 'X') {
        ++m_at;
        return Fail("hex radix character references must use 'x', not 'X'"), false;
    }
    std::uint32_t value = 0;
    bool gotOne = false;
    for (;;) {
        const int c = Peek();
        if (c <= 0) return Fail("unexpected end of input"), false;
        if (c == ';') {
            ++m_at;
            break;
        }
        unsigned digit = 0;
        if (c >= '0' && c <= '9')
            digit = unsigned(c - '0');
        else if (c >= 'A' && c <= 'F')
            digit = unsigned(c - 'A' + 10);
        else if (c >= 'a' && c <= 'f')
            digit = unsigned(c - 'a' + 10);
        else
            return Fail(gotOne ? "unterminated character reference"
                               : "expected &# to be followed by a numeric character value"),
                   false;
        if (digit >= radix)
            return Fail(Quoted(std::string(1, char(c))) +
                        " is not a valid digit for the specified radix"),
                   false;
        value = value * radix + digit;
        if (value > 0x10FFFF) return Fail("invalid character reference"), false;
        gotOne = true;
        ++m_at;
    }
    if (value >= 0x10000) {
        value -= 0x10000;
        first = 0xD800 + (value >> 10);
        second = 0xDC00 + (value & 0x3FF);
        return true;
    }
    if (value <= 0xFFFD && (xercesc::XMLChar1_0::isXMLChar(XMLCh(value)) ||
                            xercesc::XMLChar1_0::isControlChar(XMLCh(value)))) {
        first = value;
        return true;
    }
    return Fail("invalid character reference"), false;
}

// The next character of a comment, a processing instruction or a CDATA section, as the parser
// takes it: a line end as one line feed. -1 at the end of the document.
std::int32_t Scanner::NextCharacter(std::size_t& length) {
    if (m_at == End() && !Have(1)) return -1;
    const char32_t character = CharacterAt(0, length);
    if (CountsNoColumn(character)) m_input.CountNoColumn(m_at);
    m_at += length;
    if (character == '\r') {
        if (Have(1) && Data()[m_at] == '\n') ++m_at;
        return '\n';
    }
    return std::int32_t(character);
}

// The check of characters in comments and processing instructions: a surrogate out of place
// there is a character XML does not allow, unless it follows a leading one.
bool Scanner::CheckMarkupCharacter(char32_t character, bool& leading) {
    if (character >= 0x10000) { // a high surrogate and a low one
        if (leading) return Fail(kExpectedSecondSurrogate, 1), false;
        return true;
    }
    if (IsHighSurrogate(character)) {
        if (leading) return Fail(kExpectedSecondSurrogate), false;
        leading = true;
        return true;
    }
    if (leading) {
        if (!IsLowSurrogate(character)) return Fail(kExpectedSecondSurrogate), false;
    } else if (!xercesc::XMLChar1_0::isXMLChar(XMLCh(character))) {
        return Fail("invalid character 0x" + Hex(character)), false;
    }
    leading = false;
    return true;
}

// After "<!--".
bool Scanner::Comment() {
    enum { InText, OneDash, TwoDashes } state = InText;
    bool leading = false;
    for (;;) {
        if (state == InText && !leading) { // plain characters need no looking at
            const unsigned char* data = Data();
            std::size_t at = m_at;
            const std::size_t end = End();
            while (at < end && data[at] != '-' && kMarkup[data[at]] == kPlain)
                ++at;
            if (at < end && (data[at] == '<' || data[at] == '&' || data[at] == ']')) {
                m_at = at + 1;
                continue;
            }
            m_at = at;
        }
        std::size_t length = 0;
        const std::int32_t c = NextCharacter(length);
        if (c <= 0) return Fail("unterminated comment"), false;
        if (!CheckMarkupCharacter(char32_t(c), leading)) return false;
        if (state == InText) {
            if (c == '-') state = OneDash;
        } else if (state == OneDash) {
            state = c == '-' ? TwoDashes : InText;
        } else { // the parser stops at the first unit of a pair
            if (c != '>') return Fail("'--' sequence is illegal in comment", c >= 0x10000), false;
            return true;
        }
    }
}

// After "<?".
bool Scanner::ProcessingInstruction() {
    if (IsSpace(Peek())) return Fail("processing instruction name expected"), false;
    const std::size_t length = NameLength();
    if (length == 0) return Fail("processing instruction name expected"), false;
    const std::string_view name(reinterpret_cast<const char*>(Data()) + m_at, length);
    const bool xml = length == 3 && (name[0] | 0x20) == 'x' && (name[1] | 0x20) == 'm' &&
                     (name[2] | 0x20) == 'l';
    m_at += length;
    if (xml) return Fail("processing instruction cannot start with 'xml'"), false;
    if (IsSpace(Peek())) {
        std::size_t ignored = 0;
        NextCharacter(ignored); // one space, a line end whole
        SkipSpaces();
        bool leading = false;
        for (;;) {
            std::size_t bytes = 0;
            const std::int32_t c = NextCharacter(bytes);
            if (c <= 0) return Fail("unterminated processing instruction"), false;
            if (c == '?' && SkippedByte('>')) return true;
            if (!CheckMarkupCharacter(char32_t(c), leading)) return false;
        }
    }
    if (!SkippedByte('?') || !SkippedByte('>'))
        return Fail("unterminated processing instruction"), false;
    return true;
}

// After "<![CDATA": its text joins the text gathered.
bool Scanner::CData() {
    if (!SkippedByte('[')) return Fail("'[' expected"), false;
    bool leading = false;
    for (;;) {
        if (!leading) { // markup characters are text here
            const std::size_t at = RunEnd([](unsigned char byte) {
                return kMarkup[byte] == kPlain || byte == '<' || byte == '&';
            });
            GatherWindow(m_at, at);
            m_at = at;
        }
        const bool lineEnd = Have(1) && Data()[m_at] == '\r';
        std::size_t length = 0;
        const std::int32_t c = NextCharacter(length);
        if (c <= 0) return Fail("unterminated CDATA section"), false;
        if (c == ']' && Skipped("]>")) {
            if (leading) return Fail(kExpectedSecondSurrogate), false;
            return true;
        }
        if (!CheckCharacter(char32_t(c), leading, {}, false)) return false;
        if (lineEnd)
            Gather("\n");
        else
            GatherWindow(m_at - length, m_at);
    }
}

} // namespace classxml::scanner
