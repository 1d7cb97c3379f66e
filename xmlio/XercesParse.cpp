// Parsing documents from files (validated against their DTD) and from memory.
#include <filesystem>
#include <memory>

#include <boost/make_shared.hpp>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/Wrapper4InputSource.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "platform/Utf.h"
#include "xmlio/DocumentRegistry.h"
#include "xmlio/EntityPolicy.h"
#include "xmlio/XercesEngine.h"
#include "xmlio/XercesText.h"

using namespace xercesc;
using classxml::xerces_text::Terminated;

namespace {

// Notes, silently, that a memory parse met an error or a fatal error. Without it the
// load-and-save parser hands back whatever it built before the error, and a truncated or
// malformed buffer would pass for a good document.
class MemoryParseErrors : public DOMErrorHandler {
public:
    bool handleError(const DOMError& error) override {
        if (error.getSeverity() == DOMError::DOM_SEVERITY_WARNING) return true;
        sawErrors = true;
        return false;
    }
    bool sawErrors = false;
};

// The external entities of a memory document: served from the DTD directory like those of
// files; one that is allowed but not there reads as empty, so that a document saved with a
// DOCTYPE reads back even where its DTD is not installed; one that is refused fails the parse.
class MemoryEntityResolver : public DOMLSResourceResolver {
public:
    explicit MemoryEntityResolver(CBasicString<WideChar> dtdDirectory)
        : m_dtdDirectory(std::move(dtdDirectory)) {}

    DOMLSInput* resolveResource(const XMLCh* const, const XMLCh* const, const XMLCh* const,
                                const XMLCh* const systemId, const XMLCh* const) override {
        const auto path = classxml::entity_policy::ResolveInDtdDirectory(
            classxml::xerces_text::ViewOf(systemId), m_dtdDirectory);
        if (!path) return nullptr;
        std::error_code error;
        const std::filesystem::path file(classxml::platform::Utf16ToUtf8(*path));
        if (!std::filesystem::is_regular_file(file, error)) {
            static const XMLByte nothing = 0;
            return new Wrapper4InputSource(new MemBufInputSource(&nothing, 0, systemId));
        }
        return new Wrapper4InputSource(new LocalFileInputSource(Terminated(*path)));
    }

private:
    CBasicString<WideChar> m_dtdDirectory;
};

struct LSParserRelease {
    void operator()(DOMLSParser* parser) const { parser->release(); }
};
struct LSInputRelease {
    void operator()(DOMLSInput* input) const { input->release(); }
};

DOMDocument* ParseMemory(const XMLByte* bytes, XMLSize_t byteCount, const XMLCh* encoding) {
    DOMImplementation* implementation = classxml::xerces_engine::Implementation();
    if (!implementation || byteCount == 0) return nullptr;
    try {
        std::unique_ptr<DOMLSParser, LSParserRelease> parser(implementation->createLSParser(
            DOMImplementationLS::MODE_SYNCHRONOUS, nullptr, XMLPlatformUtils::fgMemoryManager));
        if (!parser) return nullptr;
        MemoryParseErrors errors;
        MemoryEntityResolver resolver(CXercesIO::GetDtdDirectory());
        DOMConfiguration* config = parser->getDomConfig();
        config->setParameter(XMLUni::fgDOMErrorHandler, &errors);
        config->setParameter(XMLUni::fgDOMResourceResolver, &resolver);
        config->setParameter(XMLUni::fgXercesDisableDefaultEntityResolution, true);
        config->setParameter(XMLUni::fgXercesSecurityManager,
                             classxml::entity_policy::ExpansionLimit());

        MemBufInputSource source(bytes, byteCount, "prodInfo", false);
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
    } catch (const XMLException&) {
        return nullptr; // the message is dropped: only the error handlers write text
    } catch (const DOMException&) {
        // Raised from inside the parse by malformed input (an XML declaration with version
        // "1.." throws NOT_SUPPORTED_ERR): bad input gets a result, as it does from a file.
        return nullptr;
    }
}

} // namespace

CXercesIO::DOMDocument* CXercesIO::ParseFile(const View& path) {
    if (!classxml::xerces_engine::Implementation()) return nullptr;
    auto parser = std::make_unique<XercesDOMParser>(nullptr, XMLPlatformUtils::fgMemoryManager);
    auto reporter = std::make_unique<DOMTreeErrorReporter>();
    auto resolver = std::make_unique<CEntityResolver>(GetDtdDirectory());
    parser->setValidationScheme(XercesDOMParser::Val_Auto);
    parser->setDoNamespaces(false);
    parser->setDoSchema(false);
    parser->setValidationSchemaFullChecking(false);
    parser->setCreateEntityReferenceNodes(true);
    parser->setErrorHandler(reporter.get());
    parser->setEntityResolver(resolver.get());
    parser->setDisableDefaultEntityResolution(true); // what the resolver refuses stays unread
    parser->setSecurityManager(classxml::entity_policy::ExpansionLimit());
    try {
        parser->parse(Terminated(path));
    } catch (const XMLException&) {
        // Dropped; whether the document is kept depends on what the reporter saw.
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
