#include "stream/EventReader.h"

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/util/XMLUniDefs.hpp>
#include <xercesc/validators/DTD/DTDElementDecl.hpp>

#include "xmlio/XercesText.h"

namespace classxml::stream_detail {

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

Event& EventReader::Push(Event::Kind kind) {
    if (m_count == m_events.size()) m_events.emplace_back();
    Event& event = m_events[m_count++];
    event.kind = kind;
    event.attributes = nullptr;
    event.attributeCount = 0;
    event.taken = 0;
    if (kind == Event::Kind::Text) event.text.clear();
    return event;
}

Event& EventReader::PushElement(Event::Kind kind, const xercesc::XMLElementDecl& element) {
    Event& event = Push(kind);
    event.name = element.getFullName();
    event.nameLength = Event::kUncounted;
    return event;
}

void EventReader::startDocument() {
    m_ended = false;
    m_depth = 0;
    SAX2XMLReaderImpl::startDocument(); // gives the content handler the locator
}

void EventReader::endDocument() {
    m_ended = true;
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

void EventReader::startElement(const xercesc::XMLElementDecl& element, const unsigned int,
                               const XMLCh* const,
                               const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                               const XMLSize_t attributeCount, const bool isEmpty, const bool) {
    Event& event = PushElement(Event::Kind::StartElement, element);
    event.attributes = &attributes;
    event.attributeCount = attributeCount;
    ++m_depth;
    if (isEmpty) { // the scanner reports no end of an empty-element tag
        PushElement(Event::Kind::EndElement, element);
        --m_depth;
    }
}

void EventReader::endElement(const xercesc::XMLElementDecl& element, const unsigned int, const bool,
                             const XMLCh* const) {
    PushElement(Event::Kind::EndElement, element);
    --m_depth;
}

void EventReader::Characters(const XMLCh* characters, XMLSize_t length) {
    if (m_depth == 0) return; // white space around the root element
    if (m_sending && !HasEvents()) {
        if (m_pieces && (m_piecesDepth == 0 || m_piecesDepth == m_depth))
            m_pieces->Take({reinterpret_cast<const WideChar*>(characters), length});
        return;
    }
    const bool joins = HasEvents() && m_events[m_count - 1].kind == Event::Kind::Text;
    Event& event = joins ? m_events[m_count - 1] : Push(Event::Kind::Text);
    event.text.append(reinterpret_cast<const WideChar*>(characters), length);
}

void EventReader::docCharacters(const XMLCh* const characters, const XMLSize_t length, const bool) {
    Characters(characters, length);
}

void EventReader::ignorableWhitespace(const XMLCh* const characters, const XMLSize_t length,
                                      const bool) {
    Characters(characters, length);
}

} // namespace classxml::stream_detail
