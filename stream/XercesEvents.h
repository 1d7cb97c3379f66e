#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/sax/InputSource.hpp>

#include "classxml/stream/EventReader.h"
#include "classxml/stream/EventSource.h"
#include "classxml/xmlio/DocumentMemory.h"
#include "classxml/xmlio/LimitedParser.h"
#include "classxml/xmlio/ParseLimits.h"

class DOMTreeErrorReporter;

namespace classxml::stream_detail {

class MemoryParseErrors;

// A document for the parser: where its bytes come from, and how it is read.
struct ParserInput {
    std::unique_ptr<parse_limits::Budget> budget;
    std::unique_ptr<document_memory::CountedMemory> memory; // of everything the parse makes
    std::unique_ptr<xercesc::InputSource> source;
    CBasicString<WideChar> sourceId; // the file's path, or the buffer id
    // A file: validated against its DTD, complaints to standard error, as ReadFromFile; a
    // memory buffer: not validated, complaints among the diagnostics only, as ReadFromString.
    bool file = false;
    bool namesNoDtd = false; // read with the scanner for well-formedness alone
    CBasicString<WideChar> dtdDirectory;
};

// The parser's SAX2 scanner, stepped as the events are asked for, with the DOM readers' rules.
class XercesEvents final : public EventSource {
public:
    explicit XercesEvents(ParserInput input);
    ~XercesEvents() override;

    // False when the parse could not start; Next then answers Error.
    bool Started() const { return !m_stopped; }
    // The next Next answers the current event again (to resume a document part-way).
    void RepeatCurrent() { m_repeat = m_current; }
    // Drops the first `units` units of the current text.
    void DropTextPrefix(std::size_t units);

    Step Next() override;
    void SendText(TextPieces* pieces, std::size_t depth) override {
        m_parser->SendText(pieces, depth);
    }
    void QueueText() override { m_parser->QueueText(); }
    View Name() override;
    std::string_view NameUtf8() override;
    std::size_t AttributeCount() override;
    View AttributeName(std::size_t index) override;
    View AttributeValue(std::size_t index) override;
    std::string_view AttributeValueUtf8(std::size_t index) override;
    std::string_view AttributeNameUtf8(std::size_t index) override;
    std::size_t IndexOf(View name) override;
    std::optional<std::string_view> AttributeUtf8(std::string_view name) override;
    View Text() override { return View(m_text.data(), m_text.size()); }
    std::string_view TextUtf8() override;
    View DocTypeName() const override;
    View DocTypePublicId() const override { return m_parser->DocType().publicId; }
    View DocTypeSystemId() const override { return m_parser->DocType().systemId; }
    bool DocTypeHasInternalSubset() const override { return m_parser->DocType().internalSubset; }

private:
    using Parser = parse_limits::Limited<EventReader>;

    bool StepParser();
    template <class Part>
    bool Stepped(Part part);
    void ReportStop();
    Step Verdict() const;

    ParserInput m_input;
    std::unique_ptr<DOMTreeErrorReporter> m_fileErrors;
    std::unique_ptr<MemoryParseErrors> m_memoryErrors;
    std::unique_ptr<xercesc::EntityResolver> m_resolver;
    std::unique_ptr<Parser> m_parser;
    xercesc::XMLPScanToken m_token;
    bool m_current = false; // the front event is the current one
    bool m_repeat = false;
    bool m_failed = false;
    bool m_stopped = false; // the scanner stopped: it must not be stepped again
    Step m_final = Step::Error;
    bool m_done = false;
    std::vector<WideChar> m_text; // of the last Text event
    // UTF-8 forms, converted when first asked for: an element's name by its declaration, the
    // rest by event.
    std::uint64_t m_serial = 0; // of the current event
    std::vector<std::string> m_attributes, m_attributeNames;
    std::vector<std::uint64_t> m_attributesSerial, m_attributeNamesSerial;
    std::string m_textUtf8;
    std::uint64_t m_textSerial = 0;
};

} // namespace classxml::stream_detail
