// Parsing documents from files (validated against their DTD) and from memory.
#include <memory>

#include <boost/make_shared.hpp>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "xmlio/DocumentRegistry.h"
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
        parser->getDomConfig()->setParameter(XMLUni::fgDOMErrorHandler, &errors);

        MemBufInputSource source(bytes, byteCount, "prodInfo", false);
        DOMDocument* document = nullptr;
        {
            std::unique_ptr<DOMLSInput, LSInputRelease> input(implementation->createLSInput());
            input->setByteStream(&source);
            input->setEncoding(encoding);
            document = parser->parse(input.get());
        }
        // The handler lives on this stack frame; the parser may live on with its document.
        parser->getDomConfig()->setParameter(XMLUni::fgDOMErrorHandler,
                                             static_cast<const void*>(nullptr));
        if (!document || errors.sawErrors) return nullptr;
        return classxml::document_registry::Register(
            document, boost::make_shared<CXercesIO::CDocumentProperties>(
                          nullptr, nullptr, nullptr, parser.release(), document));
    } catch (const XMLException&) {
        return nullptr; // the message is dropped: only the error handlers write text
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
