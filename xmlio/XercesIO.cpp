// CXercesIO: element, attribute, content and navigation operations on the Xerces DOM.
#include "xmlio/XercesIO.h"

#include <xercesc/dom/DOM.hpp>

#include "xmlio/XercesText.h"

using namespace xercesc;
using classxml::xerces_text::Terminated;
using classxml::xerces_text::ViewOf;

CXercesStringHandler::~CXercesStringHandler() = default;

CXercesIO::CXercesIO() = default;
CXercesIO::~CXercesIO() = default;

namespace {

bool HasName(const DOMElement* element, const CXMLIO::View& name) {
    return ViewOf(element->getTagName()) == name;
}

DOMElement* FirstWithName(DOMElement* element, const CXMLIO::View& name) {
    while (element && !HasName(element, name))
        element = element->getNextElementSibling();
    return element;
}

// A CDATA section cannot hold "]]>". Debian's Xerces 3.2 serialiser, asked to split such a
// section, drops those three characters, so the text is stored as consecutive sections cut
// between "]]" and ">"; content reading joins them back to the same text. `text` ends where
// its zero-terminated storage ends, so only the cut pieces need copies.
void AppendCDATASections(DOMDocument* document, DOMElement* element, CXMLIO::View text) {
    static constexpr CXMLIO::View kEndMarker = WIDE("]]>");
    CBasicString<WideChar> piece;
    for (std::size_t end; (end = text.find(kEndMarker)) != CXMLIO::View::npos;
         text.remove_prefix(end + 2)) {
        piece.assign(text.substr(0, end + 2));
        element->appendChild(document->createCDATASection(Terminated(piece)));
    }
    element->appendChild(document->createCDATASection(Terminated(text)));
}

} // namespace

DOMElement* CXercesIO::CreateElement(DOMDocument* document, const View& name) {
    if (!document) return nullptr;
    return document->createElement(Terminated(name));
}

bool CXercesIO::AppendChildElement(DOMDocument*, DOMElement* parent, DOMNode* child) {
    if (!parent || !child || child == parent) return false;
    parent->appendChild(child);
    return true;
}

bool CXercesIO::AppendTextContent(DOMDocument* document, DOMElement* element, const View& text) {
    if (!document || !element) return false;
    DOMText* node = document->createTextNode(Terminated(text));
    if (!node) return false;
    element->appendChild(node);
    return true;
}

bool CXercesIO::AppendCDATAContent(DOMDocument* document, DOMElement* element, const View& text) {
    if (!document || !element) return false;
    AppendCDATASections(document, element, ViewOf(Terminated(text)));
    return true;
}

bool CXercesIO::SetAttribute(DOMDocument*, DOMElement* element, const View& name,
                             const View& value) {
    if (!element) return false;
    element->setAttribute(Terminated(name), Terminated(value));
    return true;
}

DOMElement* CXercesIO::ReplaceChildElement(DOMElement* parent, DOMElement* oldChild,
                                           DOMElement* newChild) {
    if (!parent || !oldChild || !newChild) return nullptr;
    try {
        DOMNode* replaced = parent->replaceChild(newChild, oldChild);
        if (replaced && replaced->getNodeType() == DOMNode::ELEMENT_NODE)
            return static_cast<DOMElement*>(replaced);
    } catch (...) {
    }
    return nullptr;
}

bool CXercesIO::RemoveFirstChildElement(DOMDocument*, DOMElement* parent, const View& name) {
    if (!parent) return false;
    try {
        DOMElement* child = FirstWithName(parent->getFirstElementChild(), name);
        if (!child) return false;
        parent->removeChild(child);
        return true;
    } catch (...) {
        return false;
    }
}

DOMElement* CXercesIO::GetRootElement(DOMDocument* document) {
    return document ? document->getDocumentElement() : nullptr;
}

DOMElement* CXercesIO::FindFirstChildElement(DOMElement* parent, const View& name) {
    return parent ? FirstWithName(parent->getFirstElementChild(), name) : nullptr;
}

DOMElement* CXercesIO::GetFirstChildElement(DOMElement* element) {
    return element ? element->getFirstElementChild() : nullptr;
}

DOMElement* CXercesIO::FindNextSiblingElement(DOMElement* element, const View& name) {
    return element ? FirstWithName(element->getNextElementSibling(), name) : nullptr;
}

DOMElement* CXercesIO::GetNextSiblingElement(DOMElement* element) {
    return element ? element->getNextElementSibling() : nullptr;
}

DOMElement* CXercesIO::GetParentElement(DOMNode* node) {
    DOMNode* parent = node ? node->getParentNode() : nullptr;
    if (!parent || parent->getNodeType() != DOMNode::ELEMENT_NODE) return nullptr;
    return static_cast<DOMElement*>(parent);
}

namespace {

// Text nodes come back with Windows line ends, CDATA sections byte for byte.
void AppendContentOf(DOMNode* child, CBasicString<WideChar>& content) {
    CXMLIO::View data = ViewOf(static_cast<DOMCharacterData*>(child)->getData());
    if (child->getNodeType() == DOMNode::CDATA_SECTION_NODE) {
        content.append(data);
        return;
    }
    for (std::size_t lineFeed = data.find(WideChar('\n')); lineFeed != CXMLIO::View::npos;
         lineFeed = data.find(WideChar('\n'))) {
        content.append(data.substr(0, lineFeed)).append(WIDE("\r\n"));
        data.remove_prefix(lineFeed + 1);
    }
    content.append(data);
}

bool IsTextOrCDATA(const DOMNode* node) {
    const auto type = node->getNodeType();
    return type == DOMNode::TEXT_NODE || type == DOMNode::CDATA_SECTION_NODE;
}

} // namespace

CBasicString<WideChar> CXercesIO::GetContent(DOMElement* element) {
    CBasicString<WideChar> content;
    for (DOMNode* child = element->getFirstChild(); child; child = child->getNextSibling())
        if (IsTextOrCDATA(child)) AppendContentOf(child, content);
    return content;
}

CXMLIO::View CXercesIO::GetElementName(DOMElement* element) {
    return element ? ViewOf(element->getTagName()) : View();
}

CXMLIO::View CXercesIO::GetAttribute(DOMElement* element, const View& name) {
    return element ? ViewOf(element->getAttribute(Terminated(name))) : View();
}

bool CXercesIO::HasAttributes(DOMElement* element) { return element && element->hasAttributes(); }

bool CXercesIO::HasAttribute(DOMElement* element, const View& name) {
    return element && element->hasAttribute(Terminated(name));
}
