#include "classxml/scanner/Scanner.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "classxml/platform/SameBytes.h"
#include "classxml/scanner/ScannerText.h"
#include "classxml/xmlio/ParseLimits.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::scanner {

using Token = Scanner::Token;
using namespace text;

Scanner::Scanner(ByteSource& source, Encoding encoding, std::size_t byteOrderMark,
                 std::size_t declaration)
    : m_input(source, encoding, byteOrderMark), m_at(declaration) {
    m_input.Refill(0);
    if (declaration > 5) TakeDeclarationStart(0);
}

// The parser matches "<?xml" and the white space after it at once, and counts a line end
// there as a character of the line.
void Scanner::TakeDeclarationStart(std::size_t at) {
    const unsigned char space = Data()[at + 5];
    if (space == '\r' || space == '\n') m_input.LineEndAsCharacter(at + 5);
}

// The window may move down as it is refilled: every offset into it moves with it. What is
// kept is the text being gathered and the tag being scanned, or else from m_at on.
bool Scanner::Refill(std::size_t count) {
    while (m_at + count > End()) {
        std::size_t keep = m_at;
        if (m_textInWindow && m_textLength > 0) keep = std::min(keep, m_textStart);
        if (m_inTag) keep = std::min(keep, m_tagStart);
        const std::size_t before = End();
        const std::size_t moved = m_input.Refill(keep);
        m_at -= moved;
        m_textStart -= std::min(m_textStart, moved);
        m_tagStart -= std::min(m_tagStart, moved);
        if (End() == before - moved) return false;
    }
    return true;
}

// The window ends only between characters.
char32_t Scanner::CharacterAt(std::size_t offset, std::size_t& length) const {
    const unsigned char* at = Data() + m_at + offset;
    const unsigned char lead = at[0];
    if (lead < 0x80) return length = 1, lead;
    length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    char32_t c = lead & (0x3F >> (length - 1));
    for (std::size_t i = 1; i < length; ++i)
        c = c << 6 | (at[i] & 0x3F);
    return c;
}

// As the parser: the first character must start a name, the others continue it.
std::size_t Scanner::NameLength() {
    std::size_t length = 0;
    for (bool first = true;; first = false) {
        if (m_at + length == End() && !Have(length + 1)) break;
        const unsigned char byte = Data()[m_at + length];
        if (byte < 0x80) {
            if (!(first ? kNames.start[byte] : kNames.name[byte])) break;
            ++length;
            continue;
        }
        std::size_t bytes = 0;
        const char32_t character = CharacterAt(length, bytes);
        if (!(first ? xml_text::IsNameStartCharacter(character)
                    : xml_text::IsNameCharacter(character)))
            break;
        length += bytes;
    }
    return length;
}

void Scanner::GrowAttributes() {
    m_attributes.resize(std::max<std::size_t>(8, 2 * m_attributes.size()));
}

void Scanner::GrowOpen(std::size_t names) {
    if (m_openNames.size() < names) m_openNames.resize(2 * names);
    if (m_open.size() == m_depth) m_open.resize(std::max<std::size_t>(16, 2 * m_open.size()));
}

Token Scanner::Fail(std::string message, unsigned unitsBack) {
    if (m_input.Broken()) return Stop(); // the parser would fail before it gets here
    // The parser's messages hold at most 2047 UTF-16 units, a long name cut short.
    constexpr std::size_t kMostUnits = 2047;
    std::size_t units = 0, cut = 0;
    while (cut < message.size() && units < kMostUnits) {
        const auto byte = static_cast<unsigned char>(message[cut]);
        const std::size_t length = byte < 0x80 ? 1 : byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
        if (units + (length == 4 ? 2 : 1) > kMostUnits) break;
        units += length == 4 ? 2 : 1;
        cut += length;
    }
    message.resize(std::min(cut, message.size()));
    m_failure = {m_input.PlaceOf(m_at), std::move(message)};
    m_failure.place.column -= unitsBack;
    m_where = Place_::Done;
    return m_final = Token::Error;
}

Scanner::Failure Scanner::BrokenFailure() const {
    return {m_input.PlaceOf(std::size_t(m_input.BrokenAt() - m_input.OffsetOf(0))),
            "invalid byte sequence: the document is not UTF-8 from here on"};
}

Token Scanner::Stop() {
    m_where = Place_::Done;
    return m_final = m_input.Broken() ? Token::Broken : Token::End;
}

Token Scanner::Next() {
    m_attributeCount = 0;
    if (m_endPending) {
        m_endPending = false;
        if (m_depth == 0) m_where = Place_::Misc;
        return Token::EndTag;
    }
    switch (m_where) {
    case Place_::Prolog:
        return Prolog();
    case Place_::Content:
        return Content();
    case Place_::Misc:
        return Misc();
    default:
        return m_final;
    }
}

// "<?xml" and a space where a declaration would begin: true when there is one, after reporting
// it where it may not stand.
bool Scanner::XmlDeclarationHere(bool& isDeclaration) {
    isDeclaration = false;
    for (const std::string_view start : {"<?xml", "<?XML"}) {
        if (!LookingAt(start) || !Have(6) || !IsSpace(Data()[m_at + 5])) continue;
        TakeDeclarationStart(m_at);
        m_at += 6;
        isDeclaration = true;
        if (start == "<?XML")
            return Fail("XML or TEXT declaration must start with '<?xml ', not '<?XML '"), false;
        return true;
    }
    return true;
}

Token Scanner::Prolog() {
    for (;;) {
        const int c = Peek();
        if (c == '<') {
            bool declaration = false;
            if (!XmlDeclarationHere(declaration)) return m_final;
            if (declaration) return Fail("XML or TEXT declaration must start at line 1, column 1");
            if (Skipped("<?")) {
                if (!ProcessingInstruction()) return m_final;
            } else if (Skipped("<!--")) {
                if (!Comment()) return m_final;
            } else {
                m_where = Place_::Content;
                return Content();
            }
        } else if (IsSpace(c)) {
            SkipSpaces();
        } else {
            if (c < 0 && m_input.Broken()) return Stop();
            return Fail("invalid document structure");
        }
    }
}

Token Scanner::Misc() {
    for (;;) {
        const int c = Peek();
        if (c <= 0) { // the end, or a zero byte, which the parser takes for it
            if (c == 0) return Fail(parse_limits::kTrailingContent);
            return Stop();
        }
        if (c == '<') {
            bool declaration = false;
            if (!XmlDeclarationHere(declaration)) return m_final;
            if (declaration) return Fail("invalid content after root element's end tag");
            if (Skipped("<?")) {
                if (!ProcessingInstruction()) return m_final;
            } else if (Skipped("<!--")) {
                if (!Comment()) return m_final;
            } else {
                return Fail("comment or processing instruction expected");
            }
        } else if (IsSpace(c)) {
            SkipSpaces();
        } else {
            return Fail("comment or processing instruction expected");
        }
    }
}

// Between tags: character data, references, CDATA sections, comments and processing
// instructions make one text, which ends at the next tag.
Token Scanner::Content() {
    for (;;) {
        const int c = Peek();
        if (c <= 0) {
            if (c < 0 && m_input.Broken()) return Stop();
            return Fail("input ended before all started tags were ended; last tag started is " +
                        Quoted(OpenName(m_depth - 1)));
        }
        if (c != '<') {
            if (TextLength() == 0 && m_textInWindow && m_at < LastTagOpen()) {
                // plain text and a tag after it, at once; the text ends at the last '<' at most
                const unsigned char* const data = Data();
                std::size_t at = m_at;
                const std::size_t end = End();
                while (kContent[data[at]] == kPlain)
                    ++at;
                if (at + 1 < end && data[at] == '<' && data[at + 1] != '!' && data[at + 1] != '?') {
                    m_textView =
                        std::string_view(reinterpret_cast<const char*>(data) + m_at, at - m_at);
                    m_at = at;
                    return Token::Text;
                }
            }
            if (!CharacterData()) return m_final;
            if (TextLength() >= kTextPiece) return TakeText();
            continue;
        }
        const int next = Have(2) ? Data()[m_at + 1] : -1;
        if (next == '!') {
            ++m_at;
            if (Skipped("![CDATA")) {
                if (!CData()) return m_final;
                continue; // its text joins the text around it
            }
            if (Skipped("!--")) {
                if (!Comment()) return m_final;
                continue;
            }
            return Fail("expected comment or CDATA section");
        }
        if (next == '?') {
            m_at += 2;
            if (!ProcessingInstruction()) return m_final;
            continue;
        }
        if (TextLength() > 0) return TakeText(); // the tag comes next time
        m_at += next == '/' ? 2 : 1;
        return next == '/' ? EndTag() : StartTag();
    }
}

Token Scanner::TakeText() {
    m_textView =
        m_textInWindow
            ? std::string_view(reinterpret_cast<const char*>(Data()) + m_textStart, m_textLength)
            : std::string_view(m_text);
    m_textInWindow = true;
    m_textLength = 0;
    m_pendingTextReset = true; // m_text is reused from the next text on
    return Token::Text;
}

void Scanner::GatherWindow(std::size_t from, std::size_t to) {
    if (from == to) return;
    if (m_pendingTextReset) m_text.clear(), m_pendingTextReset = false;
    if (m_textInWindow) {
        if (m_textLength == 0) {
            m_textStart = from;
            m_textLength = to - from;
            return;
        }
        if (m_textStart + m_textLength == from) {
            m_textLength += to - from;
            return;
        }
        m_text.assign(reinterpret_cast<const char*>(Data()) + m_textStart, m_textLength);
        m_textInWindow = false;
    }
    m_text.append(reinterpret_cast<const char*>(Data()) + from, to - from);
}

void Scanner::Gather(std::string_view bytes) {
    if (m_pendingTextReset) m_text.clear(), m_pendingTextReset = false;
    if (m_textInWindow) {
        m_text.assign(reinterpret_cast<const char*>(Data()) + m_textStart, m_textLength);
        m_textInWindow = false;
        m_textLength = 0;
    }
    m_text.append(bytes);
}

// What the parser checks of each character it takes one at a time, after taking it: in
// content, attribute values and CDATA sections a surrogate must be one of a pair, and every
// other character one XML 1.0 allows. A character of four bytes is the pair the parser sees.
bool Scanner::CheckCharacter(char32_t character, bool& leadingSurrogate, std::string_view attribute,
                             bool inAttribute) {
    if (character >= 0x10000) { // a high surrogate and a low one
        if (leadingSurrogate) return Fail(kExpectedSecondSurrogate, 1), false;
        leadingSurrogate = false;
        return true;
    }
    if (IsHighSurrogate(character)) {
        if (leadingSurrogate) return Fail(kExpectedSecondSurrogate), false;
        leadingSurrogate = true;
        return true;
    }
    if (IsLowSurrogate(character)) {
        if (!leadingSurrogate) return Fail(kUnexpectedSecondSurrogate), false;
    } else if (leadingSurrogate) {
        return Fail(kExpectedSecondSurrogate), false;
    } else if (!xercesc::XMLChar1_0::isXMLChar(XMLCh(character))) {
        if (inAttribute)
            return Fail("invalid character 0x" + Hex(character) + " in attribute value " +
                        Quoted(attribute)),
                   false;
        return Fail("invalid character 0x" + Hex(character)), false;
    }
    leadingSurrogate = false;
    return true;
}

// Character data up to the next markup (which is left to the caller), the end, or a full
// piece, as the parser takes it: runs of plain characters, and the rest one at a time.
bool Scanner::CharacterData() {
    bool leading = false; // a surrogate waits for its pair (UTF-16 documents only)
    for (;;) {
        if (!leading) {
            const std::size_t at =
                RunEnd([](unsigned char byte) { return kContent[byte] == kPlain; });
            GatherWindow(m_at, at);
            m_at = at;
            if (TextLength() >= kTextPiece) return true;
        }
        if (m_at == End() && !Have(1))
            return leading ? (Fail(kExpectedSecondSurrogate), false) : true;
        const unsigned char byte = Data()[m_at];
        if (byte == '<') return leading ? (Fail(kExpectedSecondSurrogate), false) : true;
        if (byte == '&') { // a reference is taken as it is, past the checks of characters
            ++m_at;
            char32_t first = 0, second = 0;
            if (!Reference(first, second)) return false;
            std::string expanded;
            AppendUtf8(expanded,
                       second ? 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00) : first);
            Gather(expanded);
            continue;
        }
        if (byte == ']' && !leading) {
            std::size_t brackets = 1;
            while (Have(brackets + 1) && Data()[m_at + brackets] == ']')
                ++brackets;
            const bool closes = Have(brackets + 1) && Data()[m_at + brackets] == '>';
            if (brackets >= 2 && closes) {
                m_at += brackets + 1;
                return Fail("']]>' sequence is not allowed in character data"), false;
            }
            GatherWindow(m_at, m_at + brackets);
            m_at += brackets;
            // The parser reads the character after a ']' on its own.
            std::size_t length = 0;
            if (Have(1) && CountsNoColumn(CharacterAt(0, length))) m_input.CountNoColumn(m_at);
            continue;
        }
        if (byte == '\r') { // a line end, as a line feed
            ++m_at;
            if (Have(1) && Data()[m_at] == '\n') ++m_at;
            if (leading) return Fail(kExpectedSecondSurrogate), false;
            Gather("\n");
            continue;
        }
        std::size_t length = 0;
        const char32_t character = CharacterAt(0, length);
        if (leading && CountsNoColumn(character)) m_input.CountNoColumn(m_at);
        m_at += length;
        if (!CheckCharacter(character, leading, {}, false)) return false;
        GatherWindow(m_at - length, m_at);
    }
}

} // namespace classxml::scanner
