// Walking the element tree and reading names, contents and attributes.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

#include <xercesc/dom/DOMElement.hpp> // elements are passed on as nodes

#include "classxml/xmlio/XMLIO.h"

CXMLClassReaderWriter CXMLClassReaderWriter::ElementOrFailure(DOMElement* element) const {
    if (!element) return CXMLClassReaderWriter(msp_loggingFile, nullptr, nullptr, mb_typeCheck);
    return CXMLClassReaderWriter(msp_loggingFile, msp_xmlIO, mp_document, element, mb_typeCheck);
}

CXMLClassReaderWriter CXMLClassReaderWriter::ElementOrUndefined(DOMElement* element) const {
    if (!element) return GetUndefinedClassReaderWriterObject();
    return ElementOrFailure(element);
}

CXMLClassReaderWriter CXMLClassReaderWriter::GetRoot() {
    return ElementOrFailure(msp_xmlIO ? msp_xmlIO->GetRootElement(mp_document) : nullptr);
}

CXMLClassReaderWriter CXMLClassReaderWriter::GetFirstSubElement() {
    return ElementOrUndefined(msp_xmlIO ? msp_xmlIO->GetFirstChildElement(mp_element) : nullptr);
}

CXMLClassReaderWriter CXMLClassReaderWriter::GetFirstSubElement(View const& name) {
    if (name.empty()) return GetFirstSubElement();
    return ElementOrUndefined(msp_xmlIO ? msp_xmlIO->FindFirstChildElement(mp_element, name)
                                        : nullptr);
}

CXMLClassReaderWriter CXMLClassReaderWriter::GetNextElement() {
    return ElementOrUndefined(msp_xmlIO ? msp_xmlIO->GetNextSiblingElement(mp_element) : nullptr);
}

CXMLClassReaderWriter CXMLClassReaderWriter::GetNextElement(View const& name) {
    if (name.empty()) return GetNextElement();
    return ElementOrUndefined(msp_xmlIO ? msp_xmlIO->FindNextSiblingElement(mp_element, name)
                                        : nullptr);
}

CXMLClassReaderWriter CXMLClassReaderWriter::GetParentElement() {
    return ElementOrFailure(msp_xmlIO ? msp_xmlIO->GetParentElement(mp_element) : nullptr);
}

CXMLClassReaderWriter::View const& CXMLClassReaderWriter::GetElementName() {
    msv_elementName = msp_xmlIO ? msp_xmlIO->GetElementName(mp_element) : View();
    return msv_elementName;
}

// The back end expects an element; a handle without one reads as empty instead of crashing.
CBasicString<WideChar> const& CXMLClassReaderWriter::GetContent() {
    if (msp_xmlIO && mp_element)
        mstr_content = msp_xmlIO->GetContent(mp_element);
    else
        mstr_content.clear();
    return mstr_content;
}

CXMLClassReaderWriter::View const& CXMLClassReaderWriter::GetAttributeValue(View const& name) {
    msv_attributeValue = msp_xmlIO ? msp_xmlIO->GetAttribute(mp_element, name) : View();
    return msv_attributeValue;
}

bool CXMLClassReaderWriter::HasAttribute(View const& name) const {
    return msp_xmlIO && msp_xmlIO->HasAttribute(mp_element, name);
}

bool CXMLClassReaderWriter::HasAttributes() const {
    return msp_xmlIO && msp_xmlIO->HasAttributes(mp_element);
}
