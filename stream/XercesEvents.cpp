#include "classxml/stream/XercesEvents.h"

#include <algorithm>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "classxml/platform/Utf.h"
#include "classxml/xmlio/DOMTreeErrorReporter.h"
#include "classxml/xmlio/DiagnosticLog.h"
#include "classxml/xmlio/EntityPolicy.h"
#include "classxml/xmlio/XercesIO.h"
#include "classxml/xmlio/XercesText.h"

namespace classxml::stream_detail {

using namespace xercesc;
using parse_limits::LimitExceeded;
using Kind = stream_detail::Event::Kind;

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

namespace {

// UTF-8 of UTF-16, converted into `into`.
std::string_view Converted(StreamReader::View text, std::string& into) {
    into.clear();
    platform::AppendUtf16ToUtf8(text, into);
    return into;
}

// The index of the attribute `name` (UTF-16 or ASCII-compatible UTF-8), or the count when there
// is none. Most candidates differ in their first unit.
template <class Name>
std::size_t IndexIn(const Event& event, Name name) {
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

XercesEvents::XercesEvents(ParserInput input) : m_input(std::move(input)) {
    const auto missing =
        m_input.file ? entity_policy::Missing::Reported : entity_policy::Missing::ReadsEmpty;
    if (m_input.file)
        m_fileErrors = std::make_unique<DOMTreeErrorReporter>();
    else
        m_memoryErrors = std::make_unique<MemoryParseErrors>();
    m_resolver = std::make_unique<entity_policy::Resolver>(m_input.dtdDirectory, missing);
    const bool started = Stepped([&] {
        m_parser = std::make_unique<Parser>(*m_input.budget, m_input.memory.get());
        // A document that names no DTD has nothing to validate and no entities: the scanner
        // for well-formedness alone reads it the same, faster.
        m_parser->ChooseScanner(m_input.namesNoDtd);
        m_parser->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
        m_parser->setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
        m_parser->setFeature(XMLUni::fgSAX2CoreValidation, m_input.file);
        m_parser->setFeature(XMLUni::fgXercesDynamic, true); // only what names a DTD
        m_parser->setFeature(XMLUni::fgXercesSchema, false);
        m_parser->setFeature(XMLUni::fgXercesSchemaFullChecking, false);
        m_parser->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
        m_parser->setProperty(XMLUni::fgXercesSecurityManager, entity_policy::ExpansionLimit());
        m_parser->setErrorHandler(m_fileErrors ? static_cast<ErrorHandler*>(m_fileErrors.get())
                                               : m_memoryErrors.get());
        m_parser->setEntityResolver(m_resolver.get());
        return m_parser->parseFirst(*m_input.source, m_token);
    });
    m_stopped = !started;
}

XercesEvents::~XercesEvents() = default;

EventSource::Step XercesEvents::Next() {
    if (m_done) return m_final;
    if (m_repeat) { // the current event once more, its text already taken
        m_repeat = false;
        const Kind kind = m_parser->Front().kind;
        return kind == Kind::StartElement ? Step::StartElement
               : kind == Kind::EndElement ? Step::EndElement
                                          : Step::Text;
    }
    {
        if (m_current) m_parser->PopFront();
        m_current = false;
        while (!m_parser->HasReady()) {
            if (m_stopped || m_parser->Ended()) {
                m_parser->MakeReady(); // a text cut off where the scan stopped
                if (!m_parser->HasReady()) {
                    m_done = true;
                    return m_final = Verdict();
                }
                break;
            }
            m_stopped = !StepParser();
        }
        m_current = true;
        ++m_serial;
    }
    Event& event = m_parser->Front();
    switch (event.kind) {
    case Kind::StartElement:
        return Step::StartElement;
    case Kind::EndElement:
        return Step::EndElement;
    default:
        m_text.swap(event.text); // lives on until the next text
        return Step::Text;
    }
}

void XercesEvents::DropTextPrefix(std::size_t units) {
    m_text.erase(m_text.begin(), m_text.begin() + std::ptrdiff_t(std::min(units, m_text.size())));
    ++m_serial;
}

// One step of the scanner; false when it stopped.
bool XercesEvents::StepParser() {
    return Stepped([&] { return m_parser->parseNext(m_token); });
}

// Runs a part of the parse; false when it ended in an error, which is then among the
// diagnostics (and, for files, on standard error). The parse's memory counts against its
// budget through its own memory manager.
template <class Part>
bool XercesEvents::Stepped(Part part) {
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
            diagnostics::Record(Diagnostic::Severity::FatalError, m_input.sourceId.c_str(), 0, 0,
                                exception.getMessage());
    } catch (const OutOfMemoryException&) {
        if (m_parser && m_input.budget->MemoryExceeded()) {
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
void XercesEvents::ReportStop() {
    const SAXParseException stop = m_parser->StopReport();
    if (m_fileErrors)
        m_fileErrors->fatalError(stop);
    else
        m_memoryErrors->fatalError(stop);
}

// Accepted when the scanner reached the end without an error; a file's validity errors let it
// go on to the end, as they do in ReadFromFile.
EventSource::Step XercesEvents::Verdict() const {
    if (m_failed || !m_parser || !m_parser->Ended() ||
        (m_fileErrors && m_fileErrors->getSawErrors()))
        return Step::Error;
    return Step::End;
}

StreamReader::View XercesEvents::Name() {
    const auto& known = m_parser->NameOf(*m_parser->Front().element);
    return View(reinterpret_cast<const WideChar*>(known.name), known.length);
}

std::string_view XercesEvents::NameUtf8() {
    auto& known = m_parser->NameOf(*m_parser->Front().element);
    if (!known.converted)
        Converted(View(reinterpret_cast<const WideChar*>(known.name), known.length), known.utf8);
    known.converted = true;
    return known.utf8;
}

StreamReader::View XercesEvents::DocTypeName() const {
    return xerces_text::ViewOf(m_parser ? m_parser->DocTypeName() : nullptr);
}

std::size_t XercesEvents::AttributeCount() { return m_parser->Front().attributeCount; }

StreamReader::View XercesEvents::AttributeName(std::size_t index) {
    return xerces_text::ViewOf(m_parser->Front().AttributeAt(index).name);
}

StreamReader::View XercesEvents::AttributeValue(std::size_t index) {
    return xerces_text::ViewOf(m_parser->Front().AttributeAt(index).value);
}

std::string_view XercesEvents::AttributeValueUtf8(std::size_t index) {
    if (m_attributes.size() <= index) {
        m_attributes.resize(index + 1);
        m_attributesSerial.resize(index + 1, 0);
    }
    if (m_attributesSerial[index] != m_serial)
        Converted(AttributeValue(index), m_attributes[index]);
    m_attributesSerial[index] = m_serial;
    return m_attributes[index];
}

std::string_view XercesEvents::AttributeNameUtf8(std::size_t index) {
    if (m_attributeNames.size() <= index) {
        m_attributeNames.resize(index + 1);
        m_attributeNamesSerial.resize(index + 1, 0);
    }
    if (m_attributeNamesSerial[index] != m_serial)
        Converted(AttributeName(index), m_attributeNames[index]);
    m_attributeNamesSerial[index] = m_serial;
    return m_attributeNames[index];
}

std::size_t XercesEvents::IndexOf(View name) { return IndexIn(m_parser->Front(), name); }

std::optional<std::string_view> XercesEvents::AttributeUtf8(std::string_view name) {
    const bool ascii = std::all_of(name.begin(), name.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    const std::size_t index = ascii ? IndexIn(m_parser->Front(), name)
                                    : IndexIn(m_parser->Front(), View(platform::Utf8ToUtf16(name)));
    if (index == AttributeCount()) return std::nullopt;
    return AttributeValueUtf8(index);
}

std::string_view XercesEvents::TextUtf8() {
    if (m_textSerial != m_serial) Converted(Text(), m_textUtf8);
    m_textSerial = m_serial;
    return m_textUtf8;
}

} // namespace classxml::stream_detail
