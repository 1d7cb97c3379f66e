// A pull reader over Xerces' SAX2 scanner, parsing progressively, with the DOM readers' rules.
#include "stream/StreamReader.h"

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "platform/FileIO.h"
#include "stream/EventReader.h"
#include "stream/Prolog.h"
#include "xmlio/DOMTreeErrorReporter.h"
#include "xmlio/DiagnosticLog.h"
#include "xmlio/DocumentMemory.h"
#include "xmlio/EntityPolicy.h"
#include "xmlio/LimitedParser.h"
#include "xmlio/XercesIO.h"
#include "xmlio/XercesText.h"

namespace classxml {
namespace {

using namespace xercesc;
using parse_limits::Budget;
using parse_limits::LimitExceeded;
using stream_detail::EventReader;
using Parser = parse_limits::Limited<EventReader>;
using View = StreamReader::View;

// The complaints of a memory parse, among the diagnostics only (a memory parse writes nothing to
// standard error), as the DOM's memory parse records them: up to its first error, where the
// DOM's stops. The reader stops there too, after the scanner's step, rather than throwing out
// of Xerces, whose DTD scanner leaks what it holds when a handler throws.
class MemoryParseErrors : public ErrorHandler {
public:
    void warning(const SAXParseException& exception) override {
        Keep(Diagnostic::Severity::Warning, exception);
    }
    void error(const SAXParseException& exception) override {
        Keep(Diagnostic::Severity::Error, exception);
    }
    void fatalError(const SAXParseException& exception) override {
        Keep(Diagnostic::Severity::FatalError, exception);
    }
    void resetErrors() override {}
    bool Failed() const { return m_failed; }

private:
    void Keep(Diagnostic::Severity severity, const SAXParseException& exception) {
        if (m_failed) return;
        const XMLCh* source = exception.getSystemId();
        diagnostics::Record(severity, source && *source ? source : CXercesIO::kMemoryBufferId,
                            exception.getLineNumber(), exception.getColumnNumber(),
                            exception.getMessage());
        m_failed = severity != Diagnostic::Severity::Warning;
    }

    bool m_failed = false;
};

// What the reader needs to know of a file before it parses it: its length, for the limits,
// and whether its first bytes show that it names no DTD. A file that cannot be read is left to
// the full scanner, which reports why.
struct FileHead {
    std::uint64_t length = 0;
    bool namesNoDtd = false;
};

FileHead LookAt(const CBasicString<WideChar>& path) {
    FileHead head;
    int error = 0;
    const int descriptor = platform::OpenFile(path, platform::OpenOptions(), error);
    if (descriptor < 0) return head;
    head.length = std::uint64_t(std::max<std::int64_t>(0, platform::FileLength(descriptor, error)));
    unsigned char bytes[stream_detail::kPrologBytes];
    const std::int64_t read = platform::ReadFileAt(descriptor, 0, bytes, sizeof bytes, error);
    platform::CloseFile(descriptor);
    head.namesNoDtd = read > 0 && stream_detail::NamesNoDtd(bytes, std::size_t(read));
    return head;
}

} // namespace

class StreamReader::Impl {
public:
    Impl() { CXercesIO::StartEngine(); }

    // A file: validated against its DTD, complaints to standard error, as ReadFromFile.
    bool OpenFile(View path) {
        if (m_state != State::New || path.empty()) return Refuse();
        const CBasicString<WideChar> file(path);
        const FileHead head = LookAt(file);
        m_fileErrors = std::make_unique<DOMTreeErrorReporter>();
        m_resolver = std::make_unique<entity_policy::Resolver>(CXercesIO::GetDtdDirectory(),
                                                               entity_policy::Missing::Reported);
        m_sourceId = file;
        return Start(head.length, true, head.namesNoDtd, [&] {
            return std::make_unique<LocalFileInputSource>(xerces_text::Terminated(file),
                                                          m_memory.get());
        });
    }

    // Text: not validated, complaints among the diagnostics only, as ReadFromString.
    bool OpenMemory(const void* bytes, std::size_t byteCount, const XMLCh* encoding,
                    bool namesNoDtd) {
        if (m_state != State::New || byteCount == 0) return Refuse();
        m_memoryErrors = std::make_unique<MemoryParseErrors>();
        m_resolver = std::make_unique<entity_policy::Resolver>(CXercesIO::GetDtdDirectory(),
                                                               entity_policy::Missing::ReadsEmpty);
        m_sourceId = CXercesIO::kMemoryBufferId;
        return Start(byteCount, false, namesNoDtd, [&] {
            auto source = std::make_unique<MemBufInputSource>(static_cast<const XMLByte*>(bytes),
                                                              byteCount, CXercesIO::kMemoryBufferId,
                                                              false, m_memory.get());
            source->setEncoding(encoding);
            source->setCopyBufToStream(false); // the caller keeps the text until the end
            return source;
        });
    }

    Event Next() {
        if (m_state == State::Done) return m_final;
        if (m_state == State::New) return Finish(Event::Error);
        if (m_current) m_parser->PopFront();
        m_current = false;
        // A text event is complete once something else follows it.
        while (!m_parser->HasEvents() ||
               (m_parser->Queued() == 1 && m_parser->Front().kind == Kind::Text)) {
            if (m_stopped || m_parser->Ended()) break;
            m_stopped = !Step();
        }
        if (!m_parser->HasEvents()) return Finish(Verdict());
        m_current = true;
        const stream_detail::Event& event = m_parser->Front();
        switch (event.kind) {
        case Kind::StartElement:
            ++m_depth;
            return Event::StartElement;
        case Kind::EndElement:
            --m_depth;
            return Event::EndElement;
        default:
            return Event::Text;
        }
    }

    Event NextTag() {
        Event event;
        while ((event = Next()) == Event::Text) {
        }
        return event;
    }

    // From a start tag to its end tag; `text`, when given, takes the element's own text.
    bool ReadToEnd(CBasicString<WideChar>* text) {
        if (text) text->clear();
        if (!m_current || m_parser->Front().kind != Kind::StartElement) return false;
        const std::size_t inside = m_depth;
        for (;;) {
            switch (Next()) {
            case Event::Text:
                if (text && m_depth == inside) Take(*text);
                break;
            case Event::EndElement:
                if (m_depth == inside - 1) return true;
                break;
            case Event::StartElement:
                break;
            default:
                return false;
            }
        }
    }

    // The current text joins `text`: moved there when it is the first.
    void Take(CBasicString<WideChar>& text) {
        CBasicString<WideChar>& current = m_parser->Front().text;
        if (text.empty()) {
            current.swap(text);
            current.clear();
        } else {
            text += current;
        }
    }

    stream_detail::Event* Current() const { return m_current ? &m_parser->Front() : nullptr; }
    std::size_t Depth() const { return m_depth; }

private:
    using Kind = stream_detail::Event::Kind;
    enum class State { New, Reading, Done };

    bool Refuse() {
        Finish(Event::Error);
        return false;
    }

    Event Finish(Event final) {
        m_state = State::Done;
        m_final = final;
        m_current = false;
        return final;
    }

    template <class MakeSource>
    bool Start(std::uint64_t inputBytes, bool validate, bool namesNoDtd, MakeSource makeSource) {
        diagnostics::Begin();
        m_state = State::Reading;
        m_budget = std::make_unique<Budget>(inputBytes);
        m_memory = std::make_unique<document_memory::CountedMemory>(*m_budget);
        const bool started = Guarded([&] {
            m_parser = std::make_unique<Parser>(*m_budget, m_memory.get());
            // A document that names no DTD has nothing to validate and no entities: the scanner
            // for well-formedness alone reads it the same, faster.
            if (namesNoDtd)
                m_parser->setProperty(XMLUni::fgXercesScannerName,
                                      const_cast<XMLCh*>(XMLUni::fgWFXMLScanner));
            m_parser->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
            m_parser->setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
            m_parser->setFeature(XMLUni::fgSAX2CoreValidation, validate);
            m_parser->setFeature(XMLUni::fgXercesDynamic, true); // only what names a DTD
            m_parser->setFeature(XMLUni::fgXercesSchema, false);
            m_parser->setFeature(XMLUni::fgXercesSchemaFullChecking, false);
            m_parser->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
            m_parser->setProperty(XMLUni::fgXercesSecurityManager, entity_policy::ExpansionLimit());
            m_parser->setErrorHandler(m_fileErrors ? static_cast<ErrorHandler*>(m_fileErrors.get())
                                                   : m_memoryErrors.get());
            m_parser->setEntityResolver(m_resolver.get());
            m_source = makeSource();
            return m_parser->parseFirst(*m_source, m_token);
        });
        m_stopped = !started;
        return started;
    }

    // One step of the scanner; false when it stopped.
    bool Step() {
        return Guarded([&] { return m_parser->parseNext(m_token); });
    }

    // Runs a part of the parse; false when it ended in an error, which is then among the
    // diagnostics (and, for files, on standard error). The parse's memory counts against its
    // budget through its own memory manager.
    template <class Part>
    bool Guarded(Part part) {
        try {
            const bool going = part();
            if (m_memoryErrors && m_memoryErrors->Failed()) { // stops at its first error
                m_failed = true;
                return false;
            }
            if (going) return true;
            m_failed = m_failed || !m_parser->Ended(); // the scanner stopped at a fatal error
            return false;
        } catch (const LimitExceeded&) {
            ReportStop();
        } catch (const DOMException& exception) { // what the DOM readers refuse, see EventReader
            if (!m_memoryErrors || !m_memoryErrors->Failed())
                diagnostics::Record(Diagnostic::Severity::FatalError, m_sourceId.c_str(), 0, 0,
                                    exception.getMessage());
        } catch (const OutOfMemoryException&) {
            if (m_parser && m_budget->MemoryExceeded()) {
                m_parser->StopHere(parse_limits::kTooLarge);
                ReportStop();
            }
        } catch (...) {
        }
        m_failed = true;
        return false;
    }

    // Where and why a limit stopped the parse, as the parser reports its own errors; a memory
    // parse reports nothing after its first error.
    void ReportStop() {
        const SAXParseException stop = m_parser->StopReport();
        if (m_fileErrors)
            m_fileErrors->fatalError(stop);
        else
            m_memoryErrors->fatalError(stop);
    }

    // Accepted when the scanner reached the end without an error; a file's validity errors
    // let it go on to the end, as they do in ReadFromFile.
    Event Verdict() const {
        if (m_failed || !m_parser->Ended() || (m_fileErrors && m_fileErrors->getSawErrors()))
            return Event::Error;
        return Event::End;
    }

    State m_state = State::New;
    Event m_final = Event::Error;
    std::unique_ptr<Budget> m_budget;
    std::unique_ptr<document_memory::CountedMemory> m_memory; // of everything the parse makes
    std::unique_ptr<DOMTreeErrorReporter> m_fileErrors;       // when reading a file
    std::unique_ptr<MemoryParseErrors> m_memoryErrors;        // when reading text
    std::unique_ptr<EntityResolver> m_resolver;
    std::unique_ptr<Parser> m_parser;
    std::unique_ptr<InputSource> m_source;
    CBasicString<WideChar> m_sourceId; // the file's path, or the buffer id
    XMLPScanToken m_token;
    bool m_current = false; // the front event is the current one
    bool m_failed = false;
    bool m_stopped = false; // the scanner stopped: it must not be stepped again
    std::size_t m_depth = 0;
};

StreamReader::StreamReader() : m_impl(std::make_unique<Impl>()) {}

StreamReader::~StreamReader() = default;

bool StreamReader::OpenFile(View path) { return m_impl->OpenFile(path); }

bool StreamReader::OpenString(CBasicStringView<char8_t> utf8) {
    return m_impl->OpenMemory(utf8.data(), utf8.size(), XMLUni::fgUTF8EncodingString,
                              stream_detail::NamesNoDtd(utf8));
}

bool StreamReader::OpenString(View utf16) {
    return m_impl->OpenMemory(utf16.data(), 2 * utf16.size(), XMLUni::fgUTF16EncodingString,
                              stream_detail::NamesNoDtd(utf16));
}

StreamReader::Event StreamReader::Next() { return m_impl->Next(); }

StreamReader::Event StreamReader::NextTag() { return m_impl->NextTag(); }

bool StreamReader::Skip() { return m_impl->ReadToEnd(nullptr); }

bool StreamReader::ReadText(CBasicString<WideChar>& text) { return m_impl->ReadToEnd(&text); }

View StreamReader::Name() const {
    const auto* event = m_impl->Current();
    return event && event->kind != stream_detail::Event::Kind::Text
               ? View(reinterpret_cast<const WideChar*>(event->name), event->nameLength)
               : View();
}

std::size_t StreamReader::AttributeCount() const {
    const auto* event = m_impl->Current();
    return event && event->kind == stream_detail::Event::Kind::StartElement ? event->attributeCount
                                                                            : 0;
}

View StreamReader::AttributeName(std::size_t index) const {
    if (index >= AttributeCount()) return {};
    return xerces_text::ViewOf(m_impl->Current()->AttributeAt(index).name);
}

View StreamReader::AttributeValue(std::size_t index) const {
    if (index >= AttributeCount()) return {};
    return xerces_text::ViewOf(m_impl->Current()->AttributeAt(index).value);
}

std::optional<View> StreamReader::Attribute(View name) const {
    const stream_detail::Event* event = m_impl->Current();
    if (!event || event->kind != stream_detail::Event::Kind::StartElement) return std::nullopt;
    for (std::size_t i = 0; i < event->attributeCount; ++i) {
        const stream_detail::Event::Attribute attribute = event->AttributeAt(i);
        std::size_t same = 0;
        while (same < name.size() && attribute.name[same] == XMLCh(name[same]))
            ++same;
        if (same == name.size() && attribute.name[same] == 0)
            return xerces_text::ViewOf(attribute.value);
    }
    return std::nullopt;
}

View StreamReader::Text() const {
    const auto* event = m_impl->Current();
    return event && event->kind == stream_detail::Event::Kind::Text ? View(event->text) : View();
}

std::size_t StreamReader::Depth() const { return m_impl->Depth(); }

} // namespace classxml
