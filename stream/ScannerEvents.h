#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "classxml/scanner/Route.h"
#include "classxml/scanner/Scanner.h"
#include "classxml/stream/EventSource.h"

namespace classxml::stream_detail {

// The library's own scanner (scanner/Scanner.h) as the stream reader's source of events, for
// documents without a DOCTYPE: names, attributes and text in UTF-8 as the scanner gives them,
// in UTF-16 when asked.
class ScannerEvents final : public EventSource {
public:
    // Reports the first error as the parser reports its own.
    using Report = std::function<void(const scanner::Scanner::Failure&)>;

    ScannerEvents(std::unique_ptr<scanner::ByteSource> bytes, const scanner::Route& route,
                  Report report);
    ~ScannerEvents() override;

    Step Next() override;
    void SendText(TextPieces* pieces, std::size_t depth) override {
        m_sending = true;
        m_pieces = pieces;
        m_piecesDepth = depth;
    }
    void QueueText() override { m_sending = false; }

    View Name() override;
    std::string_view NameUtf8() override { return Utf8(m_scanner.Name(), m_nameUtf8); }
    std::size_t AttributeCount() override { return m_scanner.AttributeCount(); }
    View AttributeName(std::size_t index) override;
    View AttributeValue(std::size_t index) override;
    std::string_view AttributeValueUtf8(std::size_t index) override;
    std::string_view AttributeNameUtf8(std::size_t index) override;
    std::size_t IndexOf(View name) override;
    std::optional<std::string_view> AttributeUtf8(std::string_view name) override;
    View Text() override { return Wide(m_scanner.Text(), m_textWide, m_textSerial); }
    std::string_view TextUtf8() override { return Utf8(m_scanner.Text(), m_textUtf8); }
    void HandText(TextPieces& pieces) override;

    // After Broken: what was delivered, for the parser to go on from: the start and end tags,
    // and the bytes of text after the last of them, in the scanner's UTF-8 (where an unpaired
    // surrogate of a UTF-16 document takes three bytes, as it would in UTF-8).
    std::uint64_t TagsDelivered() const { return m_tags; }
    std::uint64_t TextBytesSinceTag() const { return m_textBytes; }
    // Where the bytes stop being UTF-8, for a document the parser cannot read again.
    const scanner::Scanner::Failure& BrokenHere();

private:
    // The scanner's UTF-8 as UTF-16, once an event; in a UTF-16 document an unpaired surrogate
    // is its own code unit again.
    View Wide(std::string_view utf8, CBasicString<WideChar>& into, std::uint64_t& serial);
    // The scanner's UTF-8 as it is, but for an unpaired surrogate of a UTF-16 document, which
    // is U+FFFD in UTF-8 (as the parser's text gives it).
    // The scanner's text of a UTF-8 document is the document's; only UTF-16 needs converting.
    std::string_view Utf8(std::string_view internal, std::string& into) {
        return m_utf16 ? Utf8OfUtf16(internal, into) : internal;
    }
    std::string_view Utf8OfUtf16(std::string_view internal, std::string& into);
    void Hand(std::string_view text); // text to the pieces it is sent to
    void HandTo(std::string_view text, TextPieces& pieces);

    std::unique_ptr<scanner::ByteSource> m_bytes;
    scanner::Scanner m_scanner;
    bool m_utf16;
    Report m_report;
    bool m_sending = false;
    TextPieces* m_pieces = nullptr;
    std::size_t m_piecesDepth = 0;
    std::uint64_t m_serial = 0; // of the current event
    CBasicString<WideChar> m_textWide;
    std::uint64_t m_textSerial = 0;
    // The UTF-16 names, which last as long as the reader, as the parser's do: each distinct
    // name once, and the one asked for last.
    std::unordered_map<std::string, CBasicString<WideChar>> m_names;
    const CBasicString<WideChar>* m_lastName = nullptr;
    std::uint64_t m_lastNameSerial = 0;
    std::string m_nameUtf8, m_textUtf8;
    // Of the current start tag's attributes, as they are asked for.
    std::vector<CBasicString<WideChar>> m_attributeNames, m_attributeValues;
    std::vector<std::uint64_t> m_attributeNamesSerial, m_attributeValuesSerial;
    std::vector<std::string> m_attributeValuesUtf8, m_attributeNamesUtf8;
    std::uint64_t m_tags = 0, m_textBytes = 0;
    scanner::Scanner::Failure m_broken;
    bool m_reported = false;
};

} // namespace classxml::stream_detail
