// Serialising documents and elements to files, byte strings and wide strings, always with the
// same serialiser settings.
#include <cstring>
#include <memory>
#include <optional>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/LocalFileFormatTarget.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "xmlio/DOMPrintErrorHandler.h"
#include "xmlio/XercesIO.h"
#include "xmlio/XercesText.h"

using namespace xercesc;
using classxml::xerces_text::Terminated;

namespace {

constexpr XMLSize_t kInitialBufferCapacity = 1023;

struct SerializerRelease {
    void operator()(DOMLSSerializer* serializer) const { serializer->release(); }
};
struct OutputRelease {
    void operator()(DOMLSOutput* output) const { output->release(); }
};

// A serialiser and its output with the fixed settings: no added line breaks or indentation,
// CDATA sections split rather than refused, DTD default attributes left out, complaints to
// standard error. `encoding` null keeps the document's own encoding (UTF-8 when it has none).
class Serializer {
public:
    explicit Serializer(const XMLCh* encoding) {
        DOMImplementation* implementation =
            DOMImplementationRegistry::getDOMImplementation(WIDE("LS"));
        if (!implementation) return;
        m_serializer.reset(implementation->createLSSerializer(XMLPlatformUtils::fgMemoryManager));
        m_output.reset(implementation->createLSOutput(XMLPlatformUtils::fgMemoryManager));
        m_serializer->setNewLine(nullptr);
        m_output->setEncoding(encoding);
        DOMConfiguration* config = m_serializer->getDomConfig();
        config->setParameter(XMLUni::fgDOMErrorHandler, &m_errorHandler);
        SetIfPossible(config, XMLUni::fgDOMWRTSplitCdataSections, true);
        SetIfPossible(config, XMLUni::fgDOMWRTDiscardDefaultContent, true);
        SetIfPossible(config, XMLUni::fgDOMWRTFormatPrettyPrint, false);
    }

    explicit operator bool() const { return m_serializer != nullptr; }

    bool Write(DOMNode* node, XMLFormatTarget& target) {
        m_output->setByteStream(&target);
        return m_serializer->write(node, m_output.get());
    }

private:
    static void SetIfPossible(DOMConfiguration* config, const XMLCh* name, bool value) {
        if (config->canSetParameter(name, value)) config->setParameter(name, value);
    }

    DOMPrintErrorHandler m_errorHandler;
    std::unique_ptr<DOMLSSerializer, SerializerRelease> m_serializer;
    std::unique_ptr<DOMLSOutput, OutputRelease> m_output;
};

// To a file when `path` is given, then to `out` when it is given. A file that cannot be
// opened raises an XMLException, and the result stands as it was then (true): callers that
// must know whether the file exists check it themselves.
bool SerializeBytes(DOMNode* node, const CXMLIO::View& path, CBasicString<char8_t>* out) {
    if (path.empty() && !out) return false;
    bool result = false;
    try {
        Serializer serializer(nullptr);
        if (!serializer) return false;
        result = true;
        if (!path.empty()) {
            LocalFileFormatTarget file(Terminated(path));
            result = serializer.Write(node, file);
            if (!result) return false;
        }
        if (out) {
            MemBufFormatTarget memory(kInitialBufferCapacity);
            serializer.Write(node, memory);
            const auto* bytes = reinterpret_cast<const char8_t*>(memory.getRawBuffer());
            if (bytes)
                out->assign(bytes, std::strlen(reinterpret_cast<const char*>(bytes)));
            else
                out->clear();
            result = !out->empty();
        }
    } catch (const XMLException&) {
    }
    return result;
}

bool SerializeWide(DOMNode* node, CBasicString<WideChar>* out) {
    if (!out) return false;
    bool result = false;
    try {
        Serializer serializer(XMLUni::fgUTF16EncodingString);
        if (!serializer) return false;
        result = true;
        MemBufFormatTarget memory(kInitialBufferCapacity);
        serializer.Write(node, memory);
        const auto* text = reinterpret_cast<const WideChar*>(memory.getRawBuffer());
        if (text)
            out->assign(text);
        else
            out->clear();
        result = !out->empty();
    } catch (const XMLException&) {
    }
    return result;
}

} // namespace

bool CXercesIO::SaveDocumentToFile(DOMDocument* document, const View& path) {
    return document && SerializeBytes(document, path, nullptr);
}

bool CXercesIO::SaveDocumentToWideString(DOMDocument* document, CBasicString<WideChar>& out) {
    return document && SerializeWide(document, &out);
}

bool CXercesIO::SaveDocumentToUTF8String(DOMDocument* document, CBasicString<char8_t>& out) {
    return document && SerializeBytes(document, View(), &out);
}

bool CXercesIO::SaveElementToWideString(DOMDocument*, DOMElement* element,
                                        CBasicString<WideChar>& out) {
    return element && SerializeWide(element, &out);
}

bool CXercesIO::SaveElementToUTF8String(DOMDocument*, DOMElement* element,
                                        CBasicString<char8_t>& out) {
    return element && SerializeBytes(element, View(), &out);
}
