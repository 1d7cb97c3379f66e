// Serialising documents and elements to files, byte strings and wide strings, always with the
// same serialiser settings.
#include <memory>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/LocalFileFormatTarget.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "xmlio/DOMPrintErrorHandler.h"
#include "xmlio/XercesEngine.h"
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
        DOMImplementation* implementation = classxml::xerces_engine::Implementation();
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

// Runs `write` on a serialiser for `encoding`. An XMLException leaves the result as it was when
// it was raised: true once the serialiser exists. That is how a file that cannot be opened
// answers, so callers that must know whether the file exists check it themselves.
template <class Write>
bool WithSerializer(const XMLCh* encoding, Write write) {
    bool result = false;
    try {
        Serializer serializer(encoding);
        if (!serializer) return false;
        result = true;
        result = write(serializer);
    } catch (const XMLException&) {
    }
    return result;
}

bool SerializeToFile(DOMNode* node, const CXMLIO::View& path) {
    return !path.empty() && WithSerializer(nullptr, [&](Serializer& serializer) {
        LocalFileFormatTarget file(Terminated(path));
        return serializer.Write(node, file);
    });
}

// Bytes in the document's own encoding (UTF-8 when it names none), or UTF-16 for WideChar; the
// text ends at its first zero unit. True when it is not empty.
template <class Char>
bool SerializeToMemory(DOMNode* node, CBasicString<Char>& out) {
    const XMLCh* encoding = sizeof(Char) == 1 ? nullptr : XMLUni::fgUTF16EncodingString;
    return WithSerializer(encoding, [&](Serializer& serializer) {
        MemBufFormatTarget memory(kInitialBufferCapacity);
        serializer.Write(node, memory);
        const auto* text = reinterpret_cast<const Char*>(memory.getRawBuffer());
        if (text)
            out.assign(text);
        else
            out.clear();
        return !out.empty();
    });
}

} // namespace

bool CXercesIO::SaveDocumentToFile(DOMDocument* document, const View& path) {
    return document && SerializeToFile(document, path);
}

bool CXercesIO::SaveDocumentToWideString(DOMDocument* document, CBasicString<WideChar>& out) {
    return document && SerializeToMemory(document, out);
}

bool CXercesIO::SaveDocumentToUTF8String(DOMDocument* document, CBasicString<char8_t>& out) {
    return document && SerializeToMemory(document, out);
}

bool CXercesIO::SaveElementToWideString(DOMDocument*, DOMElement* element,
                                        CBasicString<WideChar>& out) {
    return element && SerializeToMemory(element, out);
}

bool CXercesIO::SaveElementToUTF8String(DOMDocument*, DOMElement* element,
                                        CBasicString<char8_t>& out) {
    return element && SerializeToMemory(element, out);
}
