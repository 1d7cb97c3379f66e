#include "classxml/stream/EventReader.h"

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/util/XMLUniDefs.hpp>
#include <xercesc/validators/DTD/DTDElementDecl.hpp>

#include "classxml/xmlio/XercesText.h"

namespace classxml::stream_detail {

EventReader::LocatorCatcher::~LocatorCatcher() = default;

EventReader::EventReader(xercesc::MemoryManager* memory)
    : SAX2XMLReaderImpl(memory), m_memory(memory) {
    setContentHandler(&m_locatorCatcher);
}

void EventReader::ChooseScanner(bool wellFormednessOnly) {
    if (wellFormednessOnly)
        setProperty(xercesc::XMLUni::fgXercesScannerName,
                    const_cast<XMLCh*>(xercesc::XMLUni::fgWFXMLScanner));
    // Both are the scanner's own settings, which a new scanner does not take over.
    setInputBufferSize(kTextPiece);
    // The reader has its scanner report the DOCTYPE's declarations only to a SAX handler that
    // wants them; the catcher wants none, but the limits and the DOCTYPE's name need them.
    setDTDHandler(&m_locatorCatcher);
}

void EventReader::startDocument() {
    m_ended = false;
    m_depth = 0;
    m_knownNames = {};                  // the declarations of another document
    SAX2XMLReaderImpl::startDocument(); // gives the content handler the locator
}

void EventReader::endDocument() {
    m_ended = true;
    m_ready = m_count;
    SAX2XMLReaderImpl::endDocument();
}

// The DOM takes the versions 1.0 and 1.1 only and refuses others with this exception; the
// reader refuses what the DOM readers refuse.
void EventReader::XMLDecl(const XMLCh* const version, const XMLCh* const encoding,
                          const XMLCh* const standalone, const XMLCh* const actualEncoding) {
    if (version && *version &&
        !xercesc::XMLString::equals(version, xercesc::XMLUni::fgVersion1_0) &&
        !xercesc::XMLString::equals(version, xercesc::XMLUni::fgVersion1_1))
        throw xercesc::DOMException(xercesc::DOMException::NOT_SUPPORTED_ERR, 0, m_memory);
    SAX2XMLReaderImpl::XMLDecl(version, encoding, standalone, actualEncoding);
}

void EventReader::doctypeDecl(const xercesc::DTDElementDecl& root, const XMLCh* const publicId,
                              const XMLCh* const systemId, const bool hasIntSubset,
                              const bool hasExtSubset) {
    m_docTypeName = root.getFullName();
    m_docType = {CBasicString<WideChar>(xerces_text::ViewOf(publicId)),
                 CBasicString<WideChar>(xerces_text::ViewOf(systemId)), hasIntSubset};
    SAX2XMLReaderImpl::doctypeDecl(root, publicId, systemId, hasIntSubset, hasExtSubset);
}

} // namespace classxml::stream_detail
