// Parsing documents from files (validated against their DTD) and from memory, within the
// parse limits.
#include <memory>

#include <boost/make_shared.hpp>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/Wrapper4InputSource.hpp>
#include <xercesc/parsers/DOMLSParserImpl.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "classxml/platform/Utf.h"
#include "classxml/xmlio/DiagnosticLog.h"
#include "classxml/xmlio/DocumentInput.h"
#include "classxml/xmlio/DocumentMemory.h"
#include "classxml/xmlio/DocumentRegistry.h"
#include "classxml/xmlio/EntityPolicy.h"
#include "classxml/xmlio/LimitedParser.h"
#include "classxml/xmlio/XercesPlatform.h"
#include "classxml/xmlio/XercesText.h"

using namespace xercesc;
using classxml::parse_limits::ActiveBudget;
using classxml::parse_limits::Budget;
using classxml::parse_limits::Limited;
using classxml::parse_limits::LimitExceeded;
using classxml::xerces_text::Terminated;

namespace {

// The system id of every memory document.

// Notes that a memory parse met an error or a fatal error, among the diagnostics only (a
// memory parse writes nothing to standard error). Without it the load-and-save parser hands
// back whatever it built before the error, and a truncated or malformed buffer would pass for
// a good document.
class MemoryParseErrors : public DOMErrorHandler {
public:
    bool handleError(const DOMError& error) override {
        using Severity = classxml::Diagnostic::Severity;
        const Severity severity =
            error.getSeverity() == DOMError::DOM_SEVERITY_WARNING ? Severity::Warning
            : error.getSeverity() == DOMError::DOM_SEVERITY_ERROR ? Severity::Error
                                                                  : Severity::FatalError;
        const DOMLocator* where = error.getLocation();
        const XMLCh* source = where && where->getURI() && *where->getURI()
                                  ? where->getURI()
                                  : CXercesIO::kMemoryBufferId;
        classxml::diagnostics::Record(severity, source, where ? where->getLineNumber() : 0,
                                      where ? where->getColumnNumber() : 0, error.getMessage());
        if (severity == Severity::Warning) return true;
        sawErrors = true;
        return false;
    }
    bool sawErrors = false;
};

// The external entities of a memory document, as the entity policy serves them; one that is
// allowed but not there reads as empty.
class MemoryEntityResolver : public DOMLSResourceResolver {
public:
    explicit MemoryEntityResolver(CBasicString<WideChar> dtdDirectory)
        : m_dtdDirectory(std::move(dtdDirectory)) {}

    DOMLSInput* resolveResource(const XMLCh* const, const XMLCh* const, const XMLCh* const,
                                const XMLCh* const systemId, const XMLCh* const) override {
        InputSource* source = classxml::entity_policy::OpenEntity(
            systemId, m_dtdDirectory, classxml::entity_policy::Missing::ReadsEmpty);
        return source ? new Wrapper4InputSource(source) : nullptr;
    }

private:
    CBasicString<WideChar> m_dtdDirectory;
};

using MemoryParser = Limited<DOMLSParserImpl>;
using FileParser = Limited<XercesDOMParser>;

struct LSParserRelease {
    void operator()(DOMLSParser* parser) const { parser->release(); }
};
struct LSInputRelease {
    void operator()(DOMLSInput* input) const { input->release(); }
};

// The parser of one memory document, configured: no validation, no namespaces (names with a
// colon read back as they were written, and deep or attribute-rich documents take linear time),
// entities only as the entity policy allows.
std::unique_ptr<MemoryParser, LSParserRelease> NewMemoryParser(Budget& budget) {
    MemoryParser* parser = new (classxml::document_memory::Memory())
        MemoryParser(budget, nullptr, classxml::document_memory::Memory(), nullptr);
    std::unique_ptr<MemoryParser, LSParserRelease> owned(parser);
    DOMConfiguration* config = parser->getDomConfig();
    config->setParameter(XMLUni::fgDOMNamespaces, false);
    config->setParameter(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    config->setParameter(XMLUni::fgXercesSecurityManager,
                         classxml::entity_policy::ExpansionLimit());
    return owned;
}

// Where a limit stopped a memory parse, named by the buffer id as its other errors are.
void RecordStop(const MemoryParser& parser) {
    const SAXParseException stop = parser.StopReport();
    const XMLCh* source = stop.getSystemId();
    classxml::diagnostics::Record(classxml::Diagnostic::Severity::FatalError,
                                  source && *source ? source : CXercesIO::kMemoryBufferId,
                                  stop.getLineNumber(), stop.getColumnNumber(), stop.getMessage());
}

DOMDocument* ParseMemory(const XMLByte* bytes, XMLSize_t byteCount, const XMLCh* encoding) {
    DOMImplementation* implementation = classxml::xerces_platform::Implementation();
    if (!implementation || byteCount == 0) return nullptr;
    classxml::diagnostics::Begin();
    Budget budget(byteCount);
    const ActiveBudget active(budget);
    // Outside the try: the handlers below report where a limit stopped the parse.
    std::unique_ptr<MemoryParser, LSParserRelease> parser;
    try {
        parser = NewMemoryParser(budget);
        MemoryParseErrors errors;
        MemoryEntityResolver resolver(CXercesIO::GetDtdDirectory());
        DOMConfiguration* config = parser->getDomConfig();
        config->setParameter(XMLUni::fgDOMErrorHandler, &errors);
        config->setParameter(XMLUni::fgDOMResourceResolver, &resolver);

        MemBufInputSource source(bytes, byteCount, CXercesIO::kMemoryBufferId, false,
                                 classxml::document_memory::Memory());
        source.setCopyBufToStream(false); // the bytes outlive the parse; no second copy
        DOMDocument* document = nullptr;
        {
            std::unique_ptr<DOMLSInput, LSInputRelease> input(implementation->createLSInput());
            input->setByteStream(&source);
            input->setEncoding(encoding);
            document = parser->parse(input.get());
        }
        // Handler and resolver live on this stack frame; the parser may live on with its document.
        config->setParameter(XMLUni::fgDOMErrorHandler, static_cast<const void*>(nullptr));
        config->setParameter(XMLUni::fgDOMResourceResolver, static_cast<const void*>(nullptr));
        if (!document || errors.sawErrors) return nullptr;
        return classxml::document_registry::Register(
            document, boost::make_shared<CXercesIO::CDocumentProperties>(
                          nullptr, nullptr, nullptr, parser.release(), document));
    } catch (const LimitExceeded&) {
        RecordStop(*parser);
        return nullptr;
    } catch (const OutOfMemoryException&) {
        if (parser && budget.MemoryExceeded()) {
            parser->StopHere(classxml::parse_limits::kTooLarge);
            RecordStop(*parser);
        }
        return nullptr;
    } catch (const DOMException& exception) {
        // Input the DOM cannot take (an XML version other than 1.0 and 1.1) gets a result.
        classxml::diagnostics::Record(classxml::Diagnostic::Severity::FatalError,
                                      CXercesIO::kMemoryBufferId, 0, 0, exception.getMessage());
        return nullptr;
    } catch (...) {
        return nullptr;
    }
}

} // namespace

// The path names a local file, never a URL: nothing is fetched from the network.
CXercesIO::DOMDocument* CXercesIO::ParseFile(const View& path) {
    if (!classxml::xerces_platform::Implementation()) return nullptr;
    classxml::diagnostics::Begin();
    const CBasicString<WideChar> file(path);
    Budget budget; // grows as the file is read
    const ActiveBudget active(budget);
    auto reporter = std::make_unique<DOMTreeErrorReporter>();
    auto resolver = std::make_unique<CEntityResolver>(GetDtdDirectory());
    std::unique_ptr<FileParser> parser;
    try {
        parser = std::make_unique<FileParser>(budget, nullptr, classxml::document_memory::Memory(),
                                              nullptr);
        parser->setValidationScheme(XercesDOMParser::Val_Auto);
        parser->setDoNamespaces(false);
        parser->setDoSchema(false);
        parser->setValidationSchemaFullChecking(false);
        parser->setCreateEntityReferenceNodes(true);
        parser->setErrorHandler(reporter.get());
        parser->setEntityResolver(resolver.get());
        parser->setDisableDefaultEntityResolution(true); // what the resolver refuses stays unread
        parser->setSecurityManager(classxml::entity_policy::ExpansionLimit());
        const classxml::document_input::Source source(file, budget,
                                                      classxml::document_memory::Memory());
        parser->parse(source);
    } catch (const LimitExceeded&) {
        reporter->fatalError(parser->StopReport());
        return nullptr;
    } catch (const OutOfMemoryException&) {
        if (parser && budget.MemoryExceeded()) {
            parser->StopHere(classxml::parse_limits::kTooLarge);
            reporter->fatalError(parser->StopReport());
        }
        return nullptr;
    } catch (const XMLException&) {
        // Dropped; whether the document is kept depends on what the reporter saw.
    } catch (const DOMException& exception) {
        classxml::diagnostics::Record(classxml::Diagnostic::Severity::FatalError, Terminated(file),
                                      0, 0, exception.getMessage());
        return nullptr;
    } catch (...) {
        return nullptr;
    }
    DOMDocument* document = parser->getDocument();
    if (reporter->getSawErrors() || !document) return nullptr;
    return classxml::document_registry::Register(
        document, boost::make_shared<CDocumentProperties>(parser.release(), reporter.release(),
                                                          resolver.release(), nullptr, document));
}

CXercesIO::DOMDocument* CXercesIO::ParseWideString(const View& xml) {
    return ParseMemory(reinterpret_cast<const XMLByte*>(xml.data()), 2 * xml.size(),
                       XMLUni::fgUTF16EncodingString);
}

CXercesIO::DOMDocument* CXercesIO::ParseUTF8String(const CBasicStringView<char8_t>& xml) {
    return ParseMemory(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(),
                       XMLUni::fgUTF8EncodingString);
}
