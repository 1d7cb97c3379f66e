// Construction, copying and the state queries of the handle.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

#include <boost/make_shared.hpp>

#include "classxml/xmlio/XercesIO.h"

namespace {

boost::shared_ptr<CXMLIO> MakeBackEnd(CXMLClassReaderWriter::ENUM_XMLIOTYPE type) {
    if (type != CXMLClassReaderWriter::XMLIOTYPE_XERCES) return {};
    return boost::make_shared<CXercesIO>();
}

} // namespace

CXMLClassReaderWriter::CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile> const& logging,
                                             ENUM_XMLIOTYPE type, bool typeCheck)
    : msp_xmlIO(MakeBackEnd(type)), mb_typeCheck(typeCheck), msp_loggingFile(logging) {}

CXMLClassReaderWriter::CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>&& logging,
                                             ENUM_XMLIOTYPE type, bool typeCheck)
    : msp_xmlIO(MakeBackEnd(type)), mb_typeCheck(typeCheck), msp_loggingFile(std::move(logging)) {}

CXMLClassReaderWriter::CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile> const& logging,
                                             boost::shared_ptr<CXMLIO> const& xmlIO,
                                             DOMDocument* document, DOMElement* element,
                                             bool typeCheck)
    : msp_xmlIO(xmlIO), mp_document(document), mp_element(element), mb_typeCheck(typeCheck),
      msp_loggingFile(logging) {}

// Takes new references on purpose: the arguments are often another handle's members.
CXMLClassReaderWriter::CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>&& logging,
                                             boost::shared_ptr<CXMLIO>&& xmlIO,
                                             DOMDocument* document, DOMElement* element,
                                             bool typeCheck)
    : CXMLClassReaderWriter(static_cast<boost::shared_ptr<CLoggingFile> const&>(logging),
                            static_cast<boost::shared_ptr<CXMLIO> const&>(xmlIO), document, element,
                            typeCheck) {}

CXMLClassReaderWriter::CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile> const& logging,
                                             DOMDocument* document, DOMElement* element,
                                             bool typeCheck)
    : mp_document(document), mp_element(element), mb_typeCheck(typeCheck),
      msp_loggingFile(logging) {}

CXMLClassReaderWriter::CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>&& logging,
                                             DOMDocument* document, DOMElement* element,
                                             bool typeCheck)
    : CXMLClassReaderWriter(static_cast<boost::shared_ptr<CLoggingFile> const&>(logging), document,
                            element, typeCheck) {}

CXMLClassReaderWriter::CXMLClassReaderWriter(const CXMLClassReaderWriter& other) = default;

CXMLClassReaderWriter::CXMLClassReaderWriter(CXMLClassReaderWriter&& other) noexcept
    : msp_xmlIO(std::move(other.msp_xmlIO)), mp_document(other.mp_document),
      mp_element(other.mp_element), mb_typeCheck(other.mb_typeCheck),
      msv_elementName(other.msv_elementName), msv_attributeValue(other.msv_attributeValue),
      mstr_content(std::move(other.mstr_content)),
      msp_loggingFile(std::move(other.msp_loggingFile)) {
    other.mstr_content.clear();
}

CXMLClassReaderWriter&
CXMLClassReaderWriter::operator=(const CXMLClassReaderWriter& other) = default;

CXMLClassReaderWriter& CXMLClassReaderWriter::operator=(CXMLClassReaderWriter&& other) noexcept {
    if (this == &other) return *this;
    msp_xmlIO = std::move(other.msp_xmlIO);
    mp_document = other.mp_document;
    mp_element = other.mp_element;
    mb_typeCheck = other.mb_typeCheck;
    msv_elementName = other.msv_elementName;
    msv_attributeValue = other.msv_attributeValue;
    mstr_content = std::move(other.mstr_content);
    other.mstr_content.clear();
    msp_loggingFile = std::move(other.msp_loggingFile);
    return *this;
}

CXMLClassReaderWriter::~CXMLClassReaderWriter() = default;

bool CXMLClassReaderWriter::IsDefined() const { return msp_xmlIO && mp_document && mp_element; }

bool CXMLClassReaderWriter::IsDocumentCreated() const { return mp_document != nullptr; }

boost::shared_ptr<CLoggingFile> const& CXMLClassReaderWriter::GetLoggingFile() const {
    return msp_loggingFile;
}

boost::shared_ptr<CXMLIO> const& CXMLClassReaderWriter::GetXmlIO() const { return msp_xmlIO; }

CXMLClassReaderWriter CXMLClassReaderWriter::GetUndefinedClassReaderWriterObject() {
    return CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>(), nullptr, nullptr, false);
}
