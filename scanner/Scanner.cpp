#include "classxml/scanner/Scanner.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <xercesc/util/XMLChar.hpp>

#include "classxml/platform/SameBytes.h"
#include "classxml/xmlio/ParseLimits.h"
#include "classxml/xmlio/XmlText.h"

namespace classxml::scanner {
namespace {

using Token = Scanner::Token;

// Byte classes of content: what the text loop stops at.
enum : unsigned char {
    kPlain = 0,
    kStop = 1,      // '<', '&', ']', '\r', and bytes that start characters to look at
    kForbidden = 2, // a control character XML 1.0 does not allow (a zero byte among them)
};

constexpr std::array<unsigned char, 256> kContent = [] {
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
constexpr std::array<unsigned char, 256> kMarkup = [] {
    std::array<unsigned char, 256> table = kContent;
    table[0xC2] = table[0xE2] = kStop;
    return table;
}();

// Attribute values stop at the quotes too, and at white space to normalise.
constexpr std::array<unsigned char, 256> kValue = [] {
    std::array<unsigned char, 256> table = kMarkup;
    table['"'] = table['\''] = table['\t'] = table['\n'] = kStop;
    table[']'] = kPlain;
    return table;
}();

// U+0085 and U+2028, which the parser takes for line ends in XML 1.1 only; in XML 1.0, where it
// reads a character at a time, it counts no column for them (where it reads runs of text, it
// does).
bool CountsNoColumn(char32_t character) { return character == 0x85 || character == 0x2028; }

// The characters of names that need no looking at: ASCII letters, digits, "_", ":", "-", ".";
// a name starts with none of the last three or a digit.
constexpr std::array<bool, 256> kPlainName = [] {
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

std::string Hex(char32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%X", unsigned(value));
    return text;
}

std::string Quoted(std::string_view name) { return "'" + std::string(name) + "'"; }

bool IsHighSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// Appends a code point as UTF-8 (a surrogate as its three-byte form, as the window holds it).
void AppendUtf8(std::string& out, char32_t c) {
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

constexpr const char* kExpectedSecondSurrogate =
    "leading surrogate character is not followed by a legal second character";
constexpr const char* kUnexpectedSecondSurrogate = "unexpected trailing surrogate character";
// What the parser's security manager allows of references to the predefined entities.
constexpr std::uint64_t kMostExpansions = 50000;

constexpr std::string_view kEntities[][2] = {
    {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};

// The parser's hash of a name, which it compares before the names themselves; any hash would
// do as well, but the names are compared in the same order.
std::uint64_t HashOf(std::string_view name) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    return hash;
}

} // namespace

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
            const unsigned char* data = Data();
            std::size_t at = m_at;
            const std::size_t end = End();
            while (at < end && kContent[data[at]] == kPlain)
                ++at;
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
        if (!leading) {
            const unsigned char* data = Data();
            std::size_t at = m_at;
            const std::size_t end = End();
            while (at < end && (kMarkup[data[at]] == kPlain || data[at] == '<' || data[at] == '&'))
                ++at;
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
            const unsigned char* data = Data();
            std::size_t at = m_at;
            const std::size_t end = End();
            while (at < end && kValue[data[at]] == kPlain)
                ++at;
            if (copied) m_values.append(reinterpret_cast<const char*>(data) + m_at, at - m_at);
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
