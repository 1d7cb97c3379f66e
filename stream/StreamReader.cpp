// A pull reader over Xerces' SAX2 scanner, parsing progressively, with the DOM readers' rules.
#include "classxml/stream/StreamReader.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "classxml/platform/Utf.h"
#include "classxml/stream/EventReader.h"
#include "classxml/stream/TextCollectors.h"
#include "classxml/valuetext/Families.h"
#include "classxml/xmlio/DOMTreeErrorReporter.h"
#include "classxml/xmlio/DiagnosticLog.h"
#include "classxml/xmlio/DocumentInput.h"
#include "classxml/xmlio/DocumentMemory.h"
#include "classxml/xmlio/EntityPolicy.h"
#include "classxml/xmlio/LimitedParser.h"
#include "classxml/xmlio/Prolog.h"
#include "classxml/xmlio/XercesIO.h"
#include "classxml/xmlio/XercesText.h"

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

// UTF-8 of the current event's parts, converted when first asked for.
std::string_view Converted(View text, std::string& into) {
    into.clear();
    platform::AppendUtf16ToUtf8(text, into);
    return into;
}

} // namespace

class StreamReader::Impl {
    using Kind = stream_detail::Event::Kind;

public:
    Impl() { CXercesIO::StartEngine(); }

    // A file or standard input: validated against its DTD, complaints to standard error, as
    // ReadFromFile.
    bool OpenInput(const CBasicString<WideChar>* path) {
        if (m_state != State::New || (path && path->empty())) return Refuse();
        Begin(0); // the limits grow as the input is read
        auto source =
            path ? std::make_unique<document_input::Source>(*path, *m_budget, m_memory.get())
                 : std::make_unique<document_input::Source>(*m_budget, m_memory.get());
        m_openError = source->OpenError();
        m_sourceId = path ? *path : CBasicString<WideChar>(WIDE("standard input"));
        CBasicString<WideChar> dtdDirectory = CXercesIO::GetDtdDirectory();
        if (m_dtdFile && m_openError == 0) { // named by its file name, found in its folder
            const std::size_t slash = m_dtdFile->find_last_of(WIDE("/\\"));
            dtdDirectory =
                slash == View::npos ? CBasicString<WideChar>() : m_dtdFile->substr(0, slash + 1);
            const auto name = platform::Utf16ToUtf8(View(*m_dtdFile).substr(slash + 1));
            if (!source->NameDtd(
                    std::string_view(reinterpret_cast<const char*>(name.data()), name.size()))) {
                diagnostics::Record(Diagnostic::Severity::FatalError,
                                    xerces_text::Terminated(m_sourceId), 0, 0,
                                    reinterpret_cast<const XMLCh*>(WIDE(
                                        "no DTD can be named for the document: its prolog is not "
                                        "well-formed, or longer than 1 MiB")));
                return Refuse();
            }
        }
        const std::vector<unsigned char>& head = source->Head(prolog::kPrologBytes);
        const bool namesNoDtd =
            !m_dtdFile && prolog::NamesNoDtd(prolog::Units::Sniffed(head.data(), head.size()));
        m_fileErrors = std::make_unique<DOMTreeErrorReporter>();
        m_resolver = std::make_unique<entity_policy::Resolver>(std::move(dtdDirectory),
                                                               entity_policy::Missing::Reported);
        return Start(true, namesNoDtd, std::move(source));
    }

    // Text: not validated, complaints among the diagnostics only, as ReadFromString.
    bool OpenMemory(const void* bytes, std::size_t byteCount, const XMLCh* encoding,
                    bool namesNoDtd) {
        if (m_state != State::New || byteCount == 0) return Refuse();
        Begin(byteCount);
        m_memoryErrors = std::make_unique<MemoryParseErrors>();
        m_resolver = std::make_unique<entity_policy::Resolver>(CXercesIO::GetDtdDirectory(),
                                                               entity_policy::Missing::ReadsEmpty);
        m_sourceId = CXercesIO::kMemoryBufferId;
        auto source =
            std::make_unique<MemBufInputSource>(static_cast<const XMLByte*>(bytes), byteCount,
                                                CXercesIO::kMemoryBufferId, false, m_memory.get());
        source->setEncoding(encoding);
        source->setCopyBufToStream(false); // the caller keeps the text until the end
        return Start(false, namesNoDtd, std::move(source));
    }

    Event Next() {
        if (m_current)
            m_parser->PopFront();
        else if (m_state != State::Reading) // not yet opened, or done
            return m_state == State::Done ? m_final : Finish(Event::Error);
        m_current = false;
        while (!m_parser->HasReady()) {
            if (m_stopped || m_parser->Ended()) {
                m_parser->MakeReady(); // a text cut off where the scan stopped
                if (!m_parser->HasReady()) return Finish(Verdict());
                break;
            }
            m_stopped = !Step();
        }
        m_current = true;
        ++m_serial;
        stream_detail::Event& event = m_parser->Front();
        switch (event.kind) {
        case Kind::StartElement:
            ++m_depth;
            return Event::StartElement;
        case Kind::EndElement:
            --m_depth;
            return Event::EndElement;
        default:
            m_text.swap(event.text); // lives on until the next text
            return Event::Text;
        }
    }

    // Passes over text, holding none of it.
    Event NextTag() {
        if (!m_parser) return Next(); // not reading: answers as Next does
        m_parser->SendText(nullptr, 0);
        Event event;
        while ((event = Next()) == Event::Text) {
        }
        RestoreText();
        return event;
    }

    // From a start tag to its end tag; the element's own text goes to `pieces` (null: dropped).
    bool ReadToEnd(TextPieces* pieces) {
        if (!m_current || m_parser->Front().kind != Kind::StartElement) return false;
        const std::size_t inside = m_depth;
        m_parser->SendText(pieces, inside);
        bool ended = false;
        for (bool reading = true; reading;) {
            switch (Next()) {
            case Event::Text: // queued before the text went to `pieces`
                if (pieces && m_depth == inside) pieces->Take(TextView());
                break;
            case Event::EndElement:
                ended = m_depth == inside - 1;
                reading = !ended;
                break;
            case Event::StartElement:
                break;
            default:
                reading = false;
            }
        }
        RestoreText();
        return ended;
    }

    template <class Collector, class Text>
    bool ReadTextInto(Text& text) {
        Collector collector(text);
        const bool ended = ReadToEnd(&collector);
        collector.Finish();
        return ended;
    }

    template <class Value>
    bool ReadValue(Value& value, const char* type) {
        m_valueProblem.clear();
        stream_detail::ValueText text;
        if (!ReadToEnd(&text)) {
            m_valueProblem = "expected " + std::string(type) + ", found the document ending";
            return false;
        }
        const std::optional<Value> parsed = text.Parse<Value>();
        if (!parsed) {
            m_valueProblem = "expected " + std::string(type) + ", found " + text.Quoted();
            return false;
        }
        value = *parsed;
        return true;
    }

    void SetTextPieces(TextPieces* pieces) {
        m_userPieces = pieces;
        RestoreText();
    }

    stream_detail::Event* Current() const { return m_current ? &m_parser->Front() : nullptr; }
    const stream_detail::Event* CurrentOf(Kind kind) const {
        const stream_detail::Event* event = Current();
        return event && event->kind == kind ? event : nullptr;
    }
    // The current start or end tag's name.
    const stream_detail::EventReader::KnownName* ElementName() const {
        const stream_detail::Event* event = Current();
        return event && event->kind != Kind::Text ? &m_parser->NameOf(*event->element) : nullptr;
    }
    std::size_t Depth() const { return m_depth; }
    const XMLCh* DocTypeName() const { return m_parser ? m_parser->DocTypeName() : nullptr; }
    const stream_detail::DocType* DocType() const {
        return m_parser ? &m_parser->DocType() : nullptr;
    }
    void ValidateAgainst(View dtdFile) { m_dtdFile.emplace(dtdFile); }
    int OpenError() const { return m_openError; }
    const std::string& ValueProblem() const { return m_valueProblem; }
    View TextView() const { return View(m_text.data(), m_text.size()); }

    std::string_view NameUtf8(const XMLCh* name) {
        auto [entry, added] = m_names.try_emplace(name);
        if (added) Converted(xerces_text::ViewOf(name), entry->second);
        return entry->second;
    }
    std::string_view AttributeUtf8(std::size_t index, View value) {
        if (m_attributesSerial != m_serial) m_attributesConverted.clear();
        m_attributesSerial = m_serial;
        if (m_attributes.size() <= index) m_attributes.resize(index + 1);
        if (m_attributesConverted.size() <= index) m_attributesConverted.resize(index + 1, false);
        if (!m_attributesConverted[index]) Converted(value, m_attributes[index]);
        m_attributesConverted[index] = true;
        return m_attributes[index];
    }
    std::string_view TextUtf8() {
        if (m_textSerial != m_serial) Converted(TextView(), m_textUtf8);
        m_textSerial = m_serial;
        return m_textUtf8;
    }

private:
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

    // Character data goes where the application asked for it.
    void RestoreText() {
        if (!m_parser) return; // not reading: set when it starts
        if (m_userPieces)
            m_parser->SendText(m_userPieces, 0);
        else
            m_parser->QueueText();
    }

    void Begin(std::uint64_t inputBytes) {
        diagnostics::Begin();
        m_state = State::Reading;
        m_budget = std::make_unique<Budget>(inputBytes);
        m_memory = std::make_unique<document_memory::CountedMemory>(*m_budget);
    }

    bool Start(bool validate, bool namesNoDtd, std::unique_ptr<InputSource> source) {
        m_source = std::move(source);
        const bool started = Stepped([&] {
            m_parser = std::make_unique<Parser>(*m_budget, m_memory.get());
            RestoreText(); // where SetTextPieces sent it before the reading started
            // A document that names no DTD has nothing to validate and no entities: the scanner
            // for well-formedness alone reads it the same, faster.
            m_parser->ChooseScanner(namesNoDtd);
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
            return m_parser->parseFirst(*m_source, m_token);
        });
        m_stopped = !started;
        return started;
    }

    // One step of the scanner; false when it stopped.
    bool Step() {
        return Stepped([&] { return m_parser->parseNext(m_token); });
    }

    // Runs a part of the parse; false when it ended in an error, which is then among the
    // diagnostics (and, for files, on standard error). The parse's memory counts against its
    // budget through its own memory manager.
    template <class Part>
    bool Stepped(Part part) {
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
    std::unique_ptr<InputSource> m_source;
    std::unique_ptr<Parser> m_parser;
    CBasicString<WideChar> m_sourceId; // the file's path, or the buffer id
    XMLPScanToken m_token;
    int m_openError = 0;
    std::optional<CBasicString<WideChar>> m_dtdFile; // validate against it, not the named one
    bool m_current = false;                          // the front event is the current one
    bool m_failed = false;
    bool m_stopped = false; // the scanner stopped: it must not be stepped again
    std::size_t m_depth = 0;
    TextPieces* m_userPieces = nullptr;
    std::vector<WideChar> m_text; // of the last Text event
    std::string m_valueProblem;
    // UTF-8 forms: names by their declaration, which lasts the document; the rest by event.
    std::uint64_t m_serial = 0; // of the current event
    std::unordered_map<const XMLCh*, std::string> m_names;
    std::vector<std::string> m_attributes;
    std::vector<bool> m_attributesConverted;
    std::uint64_t m_attributesSerial = 0;
    std::string m_textUtf8;
    std::uint64_t m_textSerial = 0;
};

StreamReader::StreamReader() : m_impl(std::make_unique<Impl>()) {}

StreamReader::~StreamReader() = default;

bool StreamReader::OpenFile(View path) {
    const CBasicString<WideChar> file(path);
    return m_impl->OpenInput(&file);
}

bool StreamReader::OpenStandardInput() { return m_impl->OpenInput(nullptr); }

bool StreamReader::OpenString(std::string_view utf8) { return OpenString(platform::AsUtf8(utf8)); }

bool StreamReader::OpenString(CBasicStringView<char8_t> utf8) {
    return m_impl->OpenMemory(utf8.data(), utf8.size(), XMLUni::fgUTF8EncodingString,
                              prolog::NamesNoDtd(prolog::Units::Utf8(utf8)));
}

bool StreamReader::OpenString(View utf16) {
    return m_impl->OpenMemory(utf16.data(), 2 * utf16.size(), XMLUni::fgUTF16EncodingString,
                              prolog::NamesNoDtd(prolog::Units::Utf16(utf16)));
}

int StreamReader::OpenError() const { return m_impl->OpenError(); }

StreamReader::Event StreamReader::Next() { return m_impl->Next(); }

StreamReader::Event StreamReader::NextTag() { return m_impl->NextTag(); }

bool StreamReader::Skip() { return m_impl->ReadToEnd(nullptr); }

bool StreamReader::ReadText(CBasicString<WideChar>& text) {
    return m_impl->ReadTextInto<stream_detail::Utf16Text<CBasicString<WideChar>>>(text);
}

bool StreamReader::ReadText(std::string& utf8) {
    return m_impl->ReadTextInto<stream_detail::Utf8Text>(utf8);
}

bool StreamReader::ReadText(TextPieces& pieces) { return m_impl->ReadToEnd(&pieces); }

// One line per value family: each goes through the one strict conversion of its type.
#define CLASSXML_READ_VALUE(Type, Text)                                                            \
    bool StreamReader::ReadValue(Type& value) { return m_impl->ReadValue(value, Text); }
CLASSXML_VALUE_FAMILIES(CLASSXML_READ_VALUE)
#undef CLASSXML_READ_VALUE

const std::string& StreamReader::ValueProblem() const { return m_impl->ValueProblem(); }

void StreamReader::SetTextPieces(TextPieces* pieces) { m_impl->SetTextPieces(pieces); }

View StreamReader::Name() const {
    const auto* name = m_impl->ElementName();
    return name ? View(reinterpret_cast<const WideChar*>(name->name), name->length) : View();
}

std::string_view StreamReader::NameUtf8() const {
    const auto* name = m_impl->ElementName();
    return name ? m_impl->NameUtf8(name->name) : std::string_view();
}

std::size_t StreamReader::AttributeCount() const {
    const auto* event = m_impl->CurrentOf(stream_detail::Event::Kind::StartElement);
    return event ? event->attributeCount : 0;
}

View StreamReader::AttributeName(std::size_t index) const {
    if (index >= AttributeCount()) return {};
    return xerces_text::ViewOf(m_impl->Current()->AttributeAt(index).name);
}

View StreamReader::AttributeValue(std::size_t index) const {
    if (index >= AttributeCount()) return {};
    return xerces_text::ViewOf(m_impl->Current()->AttributeAt(index).value);
}

namespace {

// The index of the attribute `name` (UTF-16 or ASCII-compatible UTF-8), or the count when there
// is none. Most candidates differ in their first unit.
template <class Name>
std::size_t IndexOf(const stream_detail::Event& event, Name name) {
    using Unit = std::make_unsigned_t<typename Name::value_type>;
    if (name.empty()) return event.attributeCount; // no attribute is unnamed
    const auto unitAt = [&](std::size_t i) { return XMLCh(static_cast<Unit>(name[i])); };
    for (std::size_t i = 0; i < event.attributeCount; ++i) {
        const XMLCh* candidate = event.AttributeAt(i).name;
        if (candidate[0] != unitAt(0)) continue;
        std::size_t same = 1;
        while (same < name.size() && candidate[same] == unitAt(same) && candidate[same] != 0)
            ++same;
        if (same == name.size() && candidate[same] == 0) return i;
    }
    return event.attributeCount;
}

} // namespace

std::optional<View> StreamReader::Attribute(View name) const {
    const auto* event = m_impl->CurrentOf(stream_detail::Event::Kind::StartElement);
    if (!event) return std::nullopt;
    const std::size_t index = IndexOf(*event, name);
    if (index == event->attributeCount) return std::nullopt;
    return xerces_text::ViewOf(event->AttributeAt(index).value);
}

std::optional<std::string_view> StreamReader::AttributeUtf8(std::string_view name) const {
    const auto* event = m_impl->CurrentOf(stream_detail::Event::Kind::StartElement);
    if (!event) return std::nullopt;
    const bool ascii = std::all_of(name.begin(), name.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    const std::size_t index =
        ascii ? IndexOf(*event, name) : IndexOf(*event, View(platform::Utf8ToUtf16(name)));
    if (index == event->attributeCount) return std::nullopt;
    return m_impl->AttributeUtf8(index, xerces_text::ViewOf(event->AttributeAt(index).value));
}

View StreamReader::Text() const {
    return m_impl->CurrentOf(stream_detail::Event::Kind::Text) ? m_impl->TextView() : View();
}

std::string_view StreamReader::TextUtf8() const {
    return m_impl->CurrentOf(stream_detail::Event::Kind::Text) ? m_impl->TextUtf8()
                                                               : std::string_view();
}

std::size_t StreamReader::Depth() const { return m_impl->Depth(); }

View StreamReader::DocTypeName() const { return xerces_text::ViewOf(m_impl->DocTypeName()); }

View StreamReader::DocTypePublicId() const {
    return m_impl->DocType() ? View(m_impl->DocType()->publicId) : View();
}

View StreamReader::DocTypeSystemId() const {
    return m_impl->DocType() ? View(m_impl->DocType()->systemId) : View();
}

bool StreamReader::DocTypeHasInternalSubset() const {
    return m_impl->DocType() && m_impl->DocType()->internalSubset;
}

void StreamReader::ValidateAgainst(View dtdFile) { m_impl->ValidateAgainst(dtdFile); }

} // namespace classxml
