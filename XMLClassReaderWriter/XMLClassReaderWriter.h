#pragma once

#include <boost/shared_ptr.hpp>

#include "BasicString.h"
#include "DatabaseTypes.h"
#include "NamedType.h"
#include "WideChar.h"
#include "WindowsIntegers.h"
#include "platform/Export.h"
#include "platform/LocalizationManager.h"
#include "platform/LoggingFile.h"
#include "platform/LoggingSourcePos.h"
#include "xmlio/XercesForward.h"

class CXMLIO;

// A small value-type handle on one element of one DOM document: the back end, the document, the
// current element, the type-check flag and the application's logging object. Methods that
// produce an element return a new handle on it; handles never own the document, which lives
// until one of the release operations is called on some handle of it.
//
// Failure is reported by results, not exceptions. A handle without a back end answers false,
// empty or a handle that is not defined to everything.
class CLASSXML_API CXMLClassReaderWriter {
public:
    using View = CBasicStringView<WideChar>;
    using DOMDocument = xercesc::DOMDocument;
    using DOMElement = xercesc::DOMElement;

    // Selects the back end: Xerces-C is the only one; any other value selects none.
    enum ENUM_XMLIOTYPE { XMLIOTYPE_XERCES = 0, XMLIOTYPE_NONE = 1 };

    // Attribute names and container words of the class-XML property format.
    static constexpr View VAR_NAME = WIDE("varname");
    static constexpr View VAR_TYPE = WIDE("vartype");
    static constexpr View KEY_TYPE = WIDE("keytype");
    static constexpr View VARKEY_TYPE = WIDE("varkeytype");
    static constexpr View mstr_list = WIDE("list");
    static constexpr View mstr_set = WIDE("set");
    static constexpr View mstr_vector = WIDE("vector");

    // ---- Construction ---------------------------------------------------------------------
    // A handle with a fresh back end of the given type (none for other types), no document.
    // typeCheck: write "keytype"/"varname" attributes and check "keytype" when reading.
    // The rvalue overload moves the logging pointer out of the argument.
    CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile> const& logging, ENUM_XMLIOTYPE type,
                          bool typeCheck = true);
    CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>&& logging, ENUM_XMLIOTYPE type,
                          bool typeCheck = true);
    CXMLClassReaderWriter(const CXMLClassReaderWriter& other);
    CXMLClassReaderWriter(CXMLClassReaderWriter&& other) noexcept;
    CXMLClassReaderWriter& operator=(const CXMLClassReaderWriter& other);
    CXMLClassReaderWriter& operator=(CXMLClassReaderWriter&& other) noexcept;
    // Never releases the document.
    ~CXMLClassReaderWriter();

    // Back end, document and current element are all set.
    bool IsDefined() const;
    // A document is held (back end and element are not looked at).
    bool IsDocumentCreated() const;
    boost::shared_ptr<CLoggingFile> const& GetLoggingFile() const;

protected:
    // Handles for produced elements. Both overloads copy the shared pointers.
    CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile> const& logging,
                          boost::shared_ptr<CXMLIO> const& xmlIO, DOMDocument* document,
                          DOMElement* element, bool typeCheck);
    CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>&& logging,
                          boost::shared_ptr<CXMLIO>&& xmlIO, DOMDocument* document,
                          DOMElement* element, bool typeCheck);
    // A handle without back end. Both overloads copy the logging pointer.
    CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile> const& logging, DOMDocument* document,
                          DOMElement* element, bool typeCheck);
    CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>&& logging, DOMDocument* document,
                          DOMElement* element, bool typeCheck);

    boost::shared_ptr<CXMLIO> const& GetXmlIO() const;

private:
    // Nothing set, flag false, no logging object.
    static CXMLClassReaderWriter GetUndefinedClassReaderWriterObject();

    boost::shared_ptr<CXMLIO> msp_xmlIO;
    DOMDocument* mp_document = nullptr;
    DOMElement* mp_element = nullptr;
    bool mb_typeCheck = false;
    View msv_elementName;
    View msv_attributeValue;
    CBasicString<WideChar> mstr_content;
    boost::shared_ptr<CLoggingFile> msp_loggingFile;
};
