#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "classxml/scanner/Input.h"

// The library's own XML scanner for documents without a DOCTYPE: a pull scanner over UTF-8 (or
// UTF-16, converted as it is read) that gives start tags with their attributes, end tags and
// character data, and judges a document exactly as the parser's well-formedness scanner does,
// with the same limits: the same verdict on every document, the first error at the same line
// and column, with the parser's own words. It scans in a window of fixed size (Input.h), so a
// document of any size takes the same memory, and gives names, attribute values and text as
// UTF-8 views into that window where it can, copies only what references and line ends change.
namespace classxml::scanner {

class Scanner {
public:
    // In the order of the stream reader's events.
    enum class Token {
        StartTag, // Name, the attributes (an empty-element tag is followed by its EndTag)
        Text,     // Text: character data between tags, in pieces of up to kTextPiece bytes
        EndTag,   // Name
        End,      // the whole document was read and is well-formed
        Error,    // the first error: Failure says what and where
        Broken,   // the bytes are not well-formed UTF-8 from some point on (see Input.h)
    };
    // A text longer than this comes as several Text tokens.
    static constexpr std::size_t kTextPiece = 64 * 1024;

    // `skip`: the byte-order mark and the XML declaration, which the caller has checked.
    Scanner(ByteSource& source, Encoding encoding, std::size_t byteOrderMark,
            std::size_t declaration);

    Token Next();

    std::string_view Name() const { return m_name; }
    std::size_t AttributeCount() const { return m_attributeCount; }
    std::string_view AttributeName(std::size_t index) const { return m_attributes[index].name; }
    std::string_view AttributeValue(std::size_t index) const { return m_attributes[index].value; }
    std::string_view Text() const { return m_textView; }
    // The elements open after the current token.
    std::size_t Depth() const { return m_depth; }

    struct Failure {
        Place place;
        std::string message;
    };
    const Failure& Failed() const { return m_failure; }
    // Where the bytes of a Broken document stop being UTF-8, as an error there.
    Failure BrokenFailure() const;

private:
    struct Attribute {
        std::string_view name, value;
    };
    // An attribute while its start tag is scanned: offsets, in the window or in m_values.
    struct Pending {
        std::size_t name = 0, nameLength = 0;
        std::size_t value = 0, valueLength = 0;
        bool copied = false; // the value is in m_values
        std::uint64_t hash = 0;
    };
    enum class Place_ { Prolog, Content, Misc, Done };

    // The window.
    const unsigned char* Data() const { return m_input.Data(); }
    std::size_t End() const { return m_input.End(); }
    // Makes `count` bytes available from m_at: false at the end of the document (or where it
    // is broken).
    bool Have(std::size_t count) { return m_at + count <= End() || Refill(count); }
    bool Refill(std::size_t count);
    // The next byte, or -1 at the end.
    [[gnu::always_inline]] int Peek() { return m_at < End() || Have(1) ? Data()[m_at] : -1; }
    // Where the run of bytes from m_at that `plain` passes ends, within the window: the loops
    // of text, CDATA and attribute values take such runs whole.
    template <class Plain>
    [[gnu::always_inline]] std::size_t RunEnd(Plain plain) const {
        const unsigned char* data = Data();
        std::size_t at = m_at;
        const std::size_t end = End();
        while (at < end && plain(data[at]))
            ++at;
        return at;
    }
    std::size_t LastTagOpen();
    void TakeDeclarationStart(std::size_t at);
    bool LookingAt(std::string_view text) {
        return Have(text.size()) && std::memcmp(Data() + m_at, text.data(), text.size()) == 0;
    }
    bool Skipped(std::string_view text) {
        if (!LookingAt(text)) return false;
        m_at += text.size();
        return true;
    }
    bool SkippedByte(unsigned char byte) {
        if (Peek() != byte) return false;
        ++m_at;
        return true;
    }
    static bool IsSpace(int byte) {
        return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
    }
    void SkipSpaces() {
        while (IsSpace(Peek()))
            ++m_at;
    }
    // The character `offset` bytes from m_at: its code point and its bytes (1 to 4).
    char32_t CharacterAt(std::size_t offset, std::size_t& length) const;
    // A name at m_at, as the parser takes one: its length in bytes (0 when there is none).
    std::size_t NameLength();

    // What the parser does at each kind of markup.
    Token Prolog();
    Token Content();
    Token Misc();
    bool PlainStartTag();
    bool PlainEndTag();
    Token StartTag();
    Token EndTag();
    bool Attributes(std::size_t nameLength, bool& empty);
    bool AttributeValue(std::size_t nameAt, std::size_t nameLength, Pending& pending);
    bool CharacterData();
    // The text gathered so far: its length, and the token that hands it over.
    std::size_t TextLength() const { return m_textInWindow ? m_textLength : m_text.size(); }
    Token TakeText();
    // Text into the gathered text: bytes of the window, which are kept there while they follow
    // on from what is gathered, or bytes elsewhere (references, normalised line ends).
    void GatherWindow(std::size_t from, std::size_t to);
    void Gather(std::string_view bytes);
    bool Reference(char32_t& first, char32_t& second);
    bool CharacterReference(char32_t& first, char32_t& second);
    std::int32_t NextCharacter(std::size_t& length);
    bool CheckMarkupCharacter(char32_t character, bool& leading);
    bool Comment();
    bool ProcessingInstruction();
    bool CData();
    bool XmlDeclarationHere(bool& isDeclaration);
    // A character of text or of an attribute value that XML 1.0 does not allow, or a surrogate
    // out of place: reports it (false), as the parser does at that character.
    bool CheckCharacter(char32_t character, bool& leadingSurrogate, std::string_view attribute,
                        bool inAttribute);

    // The first error, at m_at (`unitsBack` UTF-16 units before it).
    Token Fail(std::string message, unsigned unitsBack = 0);
    std::string_view OpenName(std::size_t index) const {
        return {m_openNames.data() + m_open[index].start, m_open[index].length};
    }
    Token Stop(); // the end, the window's end where the document is broken

    Input m_input;
    std::size_t m_at;
    Place_ m_where = Place_::Prolog;
    bool m_endPending = false; // an empty-element tag's end is the next token
    std::string_view m_name;   // the current tag's: in the window, or in m_openNames
    // The current start tag's attributes: the first m_attributeCount (the rest are kept, so that
    // a tag takes no allocation once one as long has been read).
    std::vector<Attribute> m_attributes;
    std::size_t m_attributeCount = 0;
    void AddAttribute(std::string_view name, std::string_view value) {
        if (m_attributeCount == m_attributes.size()) GrowAttributes();
        m_attributes[m_attributeCount++] = {name, value};
    }
    void GrowAttributes();
    std::vector<Pending> m_pending;
    std::string m_values;       // attribute values that references or white space changed
    std::string m_text;         // text that references or line ends changed
    bool m_textInWindow = true; // else in m_text
    const unsigned char* m_lastTagOpenData = nullptr; // the window LastTagOpen looked at
    std::uint64_t m_lastTagOpenStart = 0;
    std::size_t m_lastTagOpenEnd = 0, m_lastTagOpen = 0;
    std::size_t m_textStart = 0, m_textLength = 0;
    std::string_view m_textView;
    bool m_pendingTextReset = false; // m_text still holds the text last taken
    bool m_inTag = false;            // a start tag is being scanned from m_tagStart
    std::size_t m_tagStart = 0;
    struct Open {
        std::size_t start, length; // in m_openNames
    };
    // The names of the open elements, one after another; the last one ended stays until another
    // element starts.
    std::vector<char> m_openNames;
    void PushOpen(const char* name, std::size_t length) {
        const std::size_t start =
            m_depth == 0 ? 0 : m_open[m_depth - 1].start + m_open[m_depth - 1].length;
        if (m_openNames.size() < start + length || m_open.size() == m_depth)
            GrowOpen(start + length);
        std::memcpy(m_openNames.data() + start, name, length);
        m_open[m_depth++] = {start, length};
    }
    void GrowOpen(std::size_t names);
    std::vector<Open> m_open; // the first m_depth are open
    std::size_t m_depth = 0;
    std::uint64_t m_expansions = 0; // references to the predefined entities, which count
    Failure m_failure;
    Token m_final = Token::Error;
};

} // namespace classxml::scanner
