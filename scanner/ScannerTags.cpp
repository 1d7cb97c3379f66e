// Start tags with their attributes, and end tags.
#include "classxml/scanner/Scanner.h"

#include <algorithm>
#include <cstring>

#include "classxml/platform/SameBytes.h"
#include "classxml/scanner/ScannerText.h"
#include "classxml/xmlio/ParseLimits.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::scanner {

using Token = Scanner::Token;
using namespace text;

// After "<": the element's name, its attributes, and ">" or "/>".
// A start tag in one piece of the window, with ASCII names and values that need nothing done
// to them, the common case, read in one pass; anything else (where an error would be among
// others) goes to the parser's step-by-step reading below, from the same place.
bool Scanner::PlainStartTag() {
    const unsigned char* const base = Data();
    const unsigned char* p = base + m_at;
    const unsigned char* const end = base + LastTagOpen(); // no loop below passes it
    if (p >= end || !kPlainName[*p] || (*p >= '0' && *p <= '9') || *p == '-' || *p == '.')
        return false;
    const unsigned char* const name = p;
    while (kPlainName[*p])
        ++p;
    const std::size_t nameLength = std::size_t(p - name);
    m_attributeCount = 0;
    for (;;) {
        if (p == end) return false;
        if (*p == '>' || (*p == '/' && p[1] == '>')) break;
        if (!Scanner::IsSpace(*p)) return false;
        while (Scanner::IsSpace(*p))
            ++p;
        if (p == end) return false;
        if (*p == '>' || *p == '/') continue;
        const unsigned char* const attribute = p;
        if (!kPlainName[*p] || (*p >= '0' && *p <= '9') || *p == '-' || *p == '.') return false;
        while (kPlainName[*p])
            ++p;
        const std::string_view attributeName(reinterpret_cast<const char*>(attribute),
                                             std::size_t(p - attribute));
        while (Scanner::IsSpace(*p))
            ++p;
        if (p == end || *p != '=') return false;
        ++p;
        while (Scanner::IsSpace(*p))
            ++p;
        if (p == end || (*p != '"' && *p != '\'')) return false;
        const unsigned char quote = *p++;
        const unsigned char* const value = p;
        while (kValue[*p] == kPlain)
            ++p;
        if (p == end || *p != quote) return false;
        for (std::size_t i = 0; i < m_attributeCount; ++i)
            if (platform::SameBytes(m_attributes[i].name, attributeName)) return false;
        AddAttribute(attributeName, std::string_view(reinterpret_cast<const char*>(value),
                                                     std::size_t(p - value)));
        ++p;
    }
    const bool empty = *p == '/';
    p += empty ? 2 : 1;
    if (m_depth + 1 > parse_limits::kMaxDepth) return false;
    m_at = std::size_t(p - base);
    m_name = std::string_view(reinterpret_cast<const char*>(name), nameLength);
    if (empty) {
        m_endPending = true;
        return true;
    }
    PushOpen(m_name.data(), nameLength);
    return true;
}

// The window's last '<', at which every loop of the plain readings stops, so that up to it they
// need no bound checks: found again whenever the window moves, grows or is refilled in place,
// 0 when there is none ahead.
std::size_t Scanner::LastTagOpen() {
    const std::uint64_t windowStart = m_input.OffsetOf(0); // moves with every drop
    if (Data() != m_lastTagOpenData || End() != m_lastTagOpenEnd ||
        windowStart != m_lastTagOpenStart) {
        m_lastTagOpenData = Data();
        m_lastTagOpenEnd = End();
        m_lastTagOpenStart = windowStart;
        std::size_t at = End();
        while (at > m_at && Data()[at - 1] != '<')
            --at;
        m_lastTagOpen = at > m_at ? at - 1 : 0;
    }
    return m_lastTagOpen;
}

// An end tag in one piece of the window: the name of the element last started and ">".
bool Scanner::PlainEndTag() {
    const std::string_view name = OpenName(m_depth - 1);
    if (m_at + name.size() + 1 > End()) return false;
    const unsigned char* p = Data() + m_at;
    if (p[name.size()] != '>' ||
        !platform::SameBytes(name, {reinterpret_cast<const char*>(p), name.size()}))
        return false;
    m_at += name.size() + 1;
    m_name = name; // stays in m_openNames until another element starts
    --m_depth;
    if (m_depth == 0) m_where = Place_::Misc;
    return true;
}

Token Scanner::StartTag() {
    if (PlainStartTag()) return Token::StartTag;
    const std::size_t nameLength = NameLength();
    if (nameLength == 0) return Fail("element name expected");
    m_inTag = true;
    m_tagStart = m_at;
    m_at += nameLength;
    PushOpen(reinterpret_cast<const char*>(Data()) + m_tagStart, nameLength);
    SkipSpaces();
    bool empty = false;
    const bool complete = Attributes(nameLength, empty);
    m_inTag = false;
    if (!complete) return m_final;
    // The parser's limit of depth, checked as each element starts, an empty one too.
    if (m_depth > parse_limits::kMaxDepth) return Fail(parse_limits::kTooDeep);
    const char* tag = reinterpret_cast<const char*>(Data()) + m_tagStart;
    m_name = std::string_view(tag, nameLength);
    m_attributeCount = 0;
    for (const Pending& pending : m_pending)
        AddAttribute(std::string_view(tag + pending.name, pending.nameLength),
                     pending.copied
                         ? std::string_view(m_values.data() + pending.value, pending.valueLength)
                         : std::string_view(tag + pending.value, pending.valueLength));
    if (empty) {
        m_endPending = true;
        --m_depth;
    }
    return Token::StartTag;
}

// As the parser's loop over a start tag: attribute after attribute, each after white space,
// until ">" or "/>". Offsets are from the tag's name, which stays in the window.
bool Scanner::Attributes(std::size_t nameLength, bool& empty) {
    m_pending.clear();
    m_values.clear();
    const auto elementName = [&] {
        return std::string(reinterpret_cast<const char*>(Data()) + m_tagStart, nameLength);
    };
    for (;;) {
        int c = Peek();
        if (!m_pending.empty() && c != '/' && c != '>') {
            if (!IsSpace(c)) return Fail("whitespace expected"), false;
            SkipSpaces();
            c = Peek();
        }
        if (c <= 0) return Fail("unexpected end of input"), false;
        if (c == '/') {
            ++m_at;
            if (!SkippedByte('>'))
                return Fail("unterminated start tag " + Quoted(elementName())), false;
            empty = true;
            return true;
        }
        if (c == '>') {
            ++m_at;
            return true;
        }
        if (c == '<') return Fail("unterminated start tag " + Quoted(elementName())), false;
        if (c == '"' || c == '\'') return Fail("attribute name expected"), false;
        const std::size_t length = NameLength();
        if (length == 0) return Fail("attribute name expected"), false;
        Pending& pending = m_pending.emplace_back();
        pending.name = m_at - m_tagStart;
        pending.nameLength = length;
        m_at += length;
        SkipSpaces();
        if (!SkippedByte('=')) return Fail("equal sign expected"), false;
        SkipSpaces();
        const std::string_view name(
            reinterpret_cast<const char*>(Data()) + m_tagStart + pending.name, length);
        pending.hash = HashOf(name);
        for (std::size_t i = 0; i + 1 < m_pending.size(); ++i) {
            const Pending& other = m_pending[i];
            if (other.hash == pending.hash && other.nameLength == length &&
                std::memcmp(Data() + m_tagStart + other.name, name.data(), length) == 0)
                return Fail("attribute " + Quoted(name) + " is already specified for element " +
                            Quoted(elementName())),
                       false;
        }
        SkipSpaces();
        if (!AttributeValue(pending.name, length, m_pending.back())) return false;
    }
}

// A quoted value, as the parser normalises it: white space as spaces, references expanded.
bool Scanner::AttributeValue(std::size_t nameAt, std::size_t nameLength, Pending& pending) {
    const int quote = Peek();
    if (quote != '"' && quote != '\'') return Fail("attribute value expected"), false;
    ++m_at;
    const auto attributeName = [&] {
        return std::string(reinterpret_cast<const char*>(Data()) + m_tagStart + nameAt, nameLength);
    };
    const std::size_t start = m_at - m_tagStart;
    bool copied = false; // else the value is the window's bytes from `start`
    std::size_t copyStart = m_values.size();
    const auto toCopy = [&] {
        if (copied) return;
        m_values.append(reinterpret_cast<const char*>(Data()) + m_tagStart + start,
                        m_at - m_tagStart - start);
        copied = true;
    };
    bool leading = false;
    for (;;) {
        if (!leading) {
            const std::size_t at =
                RunEnd([](unsigned char byte) { return kValue[byte] == kPlain; });
            if (copied) m_values.append(reinterpret_cast<const char*>(Data()) + m_at, at - m_at);
            m_at = at;
        }
        if (m_at == End() && !Have(1)) return Fail("unexpected end of input"), false;
        const unsigned char byte = Data()[m_at];
        if (byte == quote) { // ends the value before any check, a surrogate waiting or not
            pending.copied = copied;
            pending.value = copied ? copyStart : start;
            pending.valueLength = copied ? m_values.size() - copyStart : m_at - m_tagStart - start;
            ++m_at;
            return true;
        }
        if (byte == '&') {
            toCopy();
            ++m_at;
            char32_t first = 0, second = 0;
            if (!Reference(first, second)) return false;
            AppendUtf8(m_values,
                       second ? 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00) : first);
            continue;
        }
        if (byte == 0) {
            ++m_at;
            return Fail("unexpected end of input"), false;
        }
        if (byte == '\t' || byte == '\n' || byte == '\r') { // white space as a space
            toCopy();
            ++m_at;
            if (byte == '\r' && Have(1) && Data()[m_at] == '\n') ++m_at;
            if (leading) return Fail(kExpectedSecondSurrogate), false;
            m_values += ' ';
            continue;
        }
        std::size_t length = 0;
        const char32_t character = CharacterAt(0, length);
        if (CountsNoColumn(character)) m_input.CountNoColumn(m_at);
        m_at += length;
        if (!CheckCharacter(character, leading, attributeName(), true)) return false;
        if (character == '<')
            return Fail("'<' character cannot be used in attribute value " +
                        Quoted(attributeName()) + "; use &lt; instead"),
                   false;
        if (copied) m_values.append(reinterpret_cast<const char*>(Data()) + m_at - length, length);
    }
}

// After "</": the name of the element last started, white space, ">".
Token Scanner::EndTag() {
    if (PlainEndTag()) return Token::EndTag;
    const std::string_view name = OpenName(m_depth - 1);
    if (!LookingAt(name)) return Fail("expected end of tag " + Quoted(name));
    m_at += name.size();
    SkipSpaces();
    if (!SkippedByte('>')) return Fail("unterminated end tag " + Quoted(name));
    m_name = name; // stays in m_openNames until another element starts
    --m_depth;
    if (m_depth == 0) m_where = Place_::Misc;
    return Token::EndTag;
}

} // namespace classxml::scanner
