// CXercesIO: element, attribute, content and navigation operations on the Xerces DOM.
#include "classxml/xmlio/XercesIO.h"

#include <xercesc/dom/DOM.hpp>

#include "classxml/xmlio/XercesText.h"
#include "classxml/xmlio/XmlText.h"

using namespace xercesc;
using classxml::xerces_text::Terminated;
using classxml::xerces_text::ViewOf;
using classxml::xml_text::IsXmlText;

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

// CDATA content as sections and carriage-return text nodes (see SplitIntoCDATASections).
// (Debian's Xerces 3.2 serialiser, asked to split a section itself, drops the three characters
// of "]]>".)
void AppendCDATASections(DOMDocument* document, DOMElement* element, CXMLIO::View text) {
    CBasicString<WideChar> piece;
    classxml::xml_text::SplitIntoCDATASections(
        text,
        [&](CXMLIO::View section) {
            piece.assign(section);
            element->appendChild(document->createCDATASection(piece.c_str()));
        },
        [&] { element->appendChild(document->createTextNode(WIDE("\r"))); });
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

// Text that no XML document can carry is refused by the three operations that put text into
// one, so that whatever the library writes can be read back.
bool CXercesIO::AppendTextContent(DOMDocument* document, DOMElement* element, const View& text) {
    if (!document || !element || !IsXmlText(text)) return false;
    DOMText* node = document->createTextNode(Terminated(text));
    if (!node) return false;
    element->appendChild(node);
    return true;
}

bool CXercesIO::AppendCDATAContent(DOMDocument* document, DOMElement* element, const View& text) {
    if (!document || !element || !IsXmlText(text)) return false;
    AppendCDATASections(document, element, text);
    return true;
}

bool CXercesIO::SetAttribute(DOMDocument*, DOMElement* element, const View& name,
                             const View& value) {
    if (!element || !IsXmlText(value)) return false;
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
