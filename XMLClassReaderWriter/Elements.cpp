// Creating, attaching, replacing and removing elements.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

#include <xercesc/dom/DOMElement.hpp> // elements are passed on as nodes

#include "classxml/platform/Utf.h"
#include "classxml/xmlio/XMLIO.h"
#include "classxml/xmlio/XmlText.h"

using classxml::xml_text::IsXmlText;

bool CXMLClassReaderWriter::InsertAttributeIntoElement(DOMElement* element,
                                                       AttributeMap const& attributes) const {
    if (!msp_xmlIO) return false;
    for (const auto& [name, value] : attributes)
        if (!msp_xmlIO->SetAttribute(mp_document, element, name, value)) return false;
    return true;
}

CXMLClassReaderWriter::DOMElement*
CXMLClassReaderWriter::BuildElement(View const& name, AttributeMap const& attributes,
                                    View const& content) const {
    if (!msp_xmlIO) return nullptr;
    DOMElement* element = msp_xmlIO->CreateElement(mp_document, name);
    if (!element || !InsertAttributeIntoElement(element, attributes)) return nullptr;
    if (!content.empty() && !msp_xmlIO->AppendTextContent(mp_document, element, content))
        return nullptr;
    return element;
}

// Built completely before it is attached: a failure leaves the parent as it was.
CXMLClassReaderWriter CXMLClassReaderWriter::AppendElement(View const& name,
                                                           AttributeMap const& attributes,
                                                           View const& content) const {
    DOMElement* element = BuildElement(name, attributes, content);
    if (element && !msp_xmlIO->AppendChildElement(mp_document, mp_element, element))
        element = nullptr;
    return ElementOrFailure(element);
}

// Attached first, filled afterwards; text that no document can carry is refused before
// anything is attached.
CXMLClassReaderWriter CXMLClassReaderWriter::AppendCDATAElement(View const& name,
                                                                AttributeMap const& attributes,
                                                                View const& content) const {
    if (!msp_xmlIO || !IsXmlText(content)) return ElementOrFailure(nullptr);
    for (const auto& attribute : attributes)
        if (!IsXmlText(attribute.second)) return ElementOrFailure(nullptr);
    DOMElement* element = msp_xmlIO->CreateElement(mp_document, name);
    const bool built =
        element && msp_xmlIO->AppendChildElement(mp_document, mp_element, element) &&
        InsertAttributeIntoElement(element, attributes) &&
        (content.empty() || msp_xmlIO->AppendCDATAContent(mp_document, element, content));
    return ElementOrFailure(built ? element : nullptr);
}

CXMLClassReaderWriter CXMLClassReaderWriter::CreateElementAttributesContent(
    View const& name, AttributeMap const& attributes, View const& content) {
    return ElementOrFailure(BuildElement(name, attributes, content));
}

CXMLClassReaderWriter
CXMLClassReaderWriter::CreateElementAttributesContent(View const& name,
                                                      AttributeMap const& attributes) {
    return ElementOrFailure(BuildElement(name, attributes, View()));
}

CXMLClassReaderWriter
CXMLClassReaderWriter::AddElementAttributesContent(View const& name, AttributeMap const& attributes,
                                                   View const& content) {
    return AppendElement(name, attributes, content);
}

CXMLClassReaderWriter
CXMLClassReaderWriter::AddElementAttributesContent(View const& name,
                                                   AttributeMap const& attributes) {
    return AppendElement(name, attributes, View());
}

CXMLClassReaderWriter CXMLClassReaderWriter::AddElementAttributesContentAsCDATA(
    View const& name, AttributeMap const& attributes, View const& content) {
    return AppendCDATAElement(name, attributes, content);
}

CXMLClassReaderWriter
CXMLClassReaderWriter::AddElementAttributesContentAsCDATA(View const& name,
                                                          AttributeMap const& attributes) {
    return AppendCDATAElement(name, attributes, View());
}

CXMLClassReaderWriter CXMLClassReaderWriter::AddElementAttributesContentAsUTF8(
    View const& name, AttributeMap const& attributes,
    CBasicStringView<char8_t> const& content) const {
    const CBasicString<WideChar> text = classxml::platform::Utf8ToUtf16(content);
    return AppendElement(name, attributes, View(text.c_str())); // up to the first NUL
}

CXMLClassReaderWriter CXMLClassReaderWriter::CreateClass(View const& className) {
    return CreateClass(className, View());
}

CXMLClassReaderWriter CXMLClassReaderWriter::CreateClass(View const& className,
                                                         View const& variableName) {
    if (!msp_xmlIO || !IsXmlText(variableName)) return ElementOrFailure(nullptr);
    DOMElement* element = msp_xmlIO->CreateElement(mp_document, className);
    if (!element || !msp_xmlIO->AppendChildElement(mp_document, mp_element, element))
        return ElementOrFailure(nullptr);
    if (variableName.empty() || !mb_typeCheck) return ElementOrFailure(element);
    const bool named = InsertAttributeIntoElement(element, {{VAR_NAME, variableName}});
    return ElementOrFailure(named ? element : nullptr);
}

bool CXMLClassReaderWriter::AddAttributeValue(View const& name, View const& value) const {
    return msp_xmlIO && msp_xmlIO->SetAttribute(mp_document, mp_element, name, value);
}

bool CXMLClassReaderWriter::InsertContent(View const& text) const {
    return msp_xmlIO && msp_xmlIO->AppendTextContent(mp_document, mp_element, text);
}

bool CXMLClassReaderWriter::InsertSubDocument(CXMLClassReaderWriter const& other) const {
    return msp_xmlIO && msp_xmlIO->AppendChildElement(mp_document, mp_element, other.mp_element);
}

CXMLClassReaderWriter
CXMLClassReaderWriter::ReplaceSubElement(CXMLClassReaderWriter const& oldChild,
                                         CXMLClassReaderWriter const& replacement) {
    if (!msp_xmlIO) return ElementOrFailure(nullptr);
    return ElementOrFailure(
        msp_xmlIO->ReplaceChildElement(mp_element, oldChild.mp_element, replacement.mp_element));
}

bool CXMLClassReaderWriter::DeleteFirstSubElement(View const& name) const {
    return msp_xmlIO && msp_xmlIO->RemoveFirstChildElement(mp_document, mp_element, name);
}
