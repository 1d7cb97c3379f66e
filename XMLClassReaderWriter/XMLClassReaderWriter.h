#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include <boost/shared_ptr.hpp>

#include "classxml/BasicString.h"
#include "classxml/DatabaseTypes.h"
#include "classxml/NamedType.h"
#include "classxml/WideChar.h"
#include "classxml/WindowsIntegers.h"
#include "classxml/XMLClassReaderWriter/AttributeMap.h"
#include "classxml/platform/Export.h"
#include "classxml/platform/LocalizationManager.h"
#include "classxml/platform/LoggingFile.h"
#include "classxml/platform/LoggingSourcePos.h"
#include "classxml/xmlio/Diagnostics.h"
#include "classxml/xmlio/XercesForward.h"

class CXMLIO;

/// A small value-type handle on one element of one DOM document: the back end, the document, the
/// current element, the type-check flag and the application's logging object. Methods that
/// produce an element return a new handle on it; handles never own the document, which lives
/// until one of the release operations is called on some handle of it.
///
/// Failure is reported by results, not exceptions. A handle without a back end answers false,
/// empty or a handle that is not defined to everything.
class CLASSXML_API CXMLClassReaderWriter {
public:
    using View = CBasicStringView<WideChar>;  ///< names, type texts and values
    using DOMDocument = xercesc::DOMDocument; ///< the back end's document
    using DOMElement = xercesc::DOMElement;   ///< the back end's element
    using AttributeMap = CAttributeMap;       ///< attributes by name, set in name order
    /// Two acceptable type texts; a test passes when either matches.
    using TypePair = std::pair<View, View>;

    /// Selects the back end: Xerces-C is the only one; any other value selects none.
    enum ENUM_XMLIOTYPE { XMLIOTYPE_XERCES = 0, XMLIOTYPE_NONE = 1 };

    /// Attribute names and container words of the class-XML property format.
    ///@{
    static constexpr View VAR_NAME = WIDE("varname");
    static constexpr View VAR_TYPE = WIDE("vartype");
    static constexpr View KEY_TYPE = WIDE("keytype");
    static constexpr View VARKEY_TYPE = WIDE("varkeytype");
    static constexpr View mstr_list = WIDE("list");
    static constexpr View mstr_set = WIDE("set");
    static constexpr View mstr_vector = WIDE("vector");
    ///@}

    /// @addtogroup lifecycle
    /// @{

    /// A handle with a fresh back end of the given type (none for other types), no document.
    /// typeCheck: write "keytype"/"varname" attributes and check "keytype" when reading.
    /// The rvalue overload moves the logging pointer out of the argument.
    ///@{
    CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile> const& logging, ENUM_XMLIOTYPE type,
                          bool typeCheck = true);
    CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>&& logging, ENUM_XMLIOTYPE type,
                          bool typeCheck = true);
    CXMLClassReaderWriter(const CXMLClassReaderWriter& other);
    CXMLClassReaderWriter(CXMLClassReaderWriter&& other) noexcept;
    CXMLClassReaderWriter& operator=(const CXMLClassReaderWriter& other);
    CXMLClassReaderWriter& operator=(CXMLClassReaderWriter&& other) noexcept;
    ///@}
    /// Never releases the document.
    ~CXMLClassReaderWriter();

    /// Back end, document and current element are all set.
    bool IsDefined() const;
    /// A document is held (back end and element are not looked at).
    ///@{
    bool IsDocumentCreated() const;
    boost::shared_ptr<CLoggingFile> const& GetLoggingFile() const;
    ///@}

    /// @}

    /// @addtogroup engine
    /// @{

    /// Process-wide use count: the first InitXMLEngine starts the engine, the matching last
    /// UninitXMLEngine stops it (freeing every document still registered) and returns how many
    /// start-ups are still outstanding. Other back-end types count but start nothing.
    ///@{
    static void InitXMLEngine(ENUM_XMLIOTYPE type);
    static unsigned long long UninitXMLEngine(ENUM_XMLIOTYPE type);
    ///@}
    /// Where DTDs are looked up when files are validated; a non-empty directory gets a trailing
    /// separator. Set it before parsing, not while other threads parse.
    ///@{
    static void SetDtdDirectory(CBasicString<WideChar> const& directory, ENUM_XMLIOTYPE type);
    static void SetDtdDirectory(CBasicString<WideChar>&& directory, ENUM_XMLIOTYPE type);
    ///@}

    /// @}

    /// @addtogroup lifecycle
    /// @{

    /// A new document with root element `rootName` (and a DOCTYPE when either identifier is
    /// given); the handle moves to the root. False when the handle already holds a document.
    /// A root name the DOM rejects raises its DOMException.
    ///@{
    bool CreateDocument(View const& rootName, View const& publicId, View const& systemId);
    bool FullCreateDocument(View const& rootName, View const& publicId, View const& systemId);
    ///@}
    /// Parse (and validate against its DTD) a file, or parse UTF-16 or UTF-8 text; the handle
    /// moves to the root. A document the handle held before is not released.
    ///@{
    bool ReadFromFile(View const& path);
    bool ReadFromString(View const& xml);
    bool ReadFromString(CBasicStringView<char8_t> const& xml);
    bool ReadFromString(CBasicStringView<char> const& xml); // bytes are taken as UTF-8
    ///@}
    /// Frees the document; CloseDocument keeps the back end for another document, the release
    /// operations drop it. Other handles of the document are left dangling.
    ///@{
    void CloseDocument();
    void ReleaseDocument();
    void FullReleaseDocument();
    ///@}

    /// Writes the whole document. A file that cannot be created still answers true (check the
    /// file when that matters).
    bool SaveToFile(View const& path) const;
    /// Serialises the whole document (wholeDocument true) or the current element's subtree into
    /// a new buffer of `length` characters (UTF-8 bytes, or UTF-16 units), not terminated.
    /// Give the buffer back with FreeMemory.
    ///@{
    bool SaveToString(char** buffer, unsigned long long& length, bool wholeDocument) const;
    bool SaveToString(char8_t** buffer, unsigned long long& length, bool wholeDocument) const;
    bool SaveToString(WideChar** buffer, unsigned long long& length, bool wholeDocument) const;
    ///@}
    /// Frees a library buffer and nulls the pointer; false when it was already null.
    ///@{
    static bool FreeMemory(char** buffer);
    static bool FreeMemory(char8_t** buffer);
    static bool FreeMemory(WideChar** buffer);
    ///@}

    /// @}

    /// @addtogroup navigation
    /// @{

    /// Each returns a handle on the element found; this handle does not move. The child and
    /// sibling walks return an object that carries nothing when there is no such element, so
    /// the usual loop is:
    ///     for (auto item = h.GetFirstSubElement(WIDE("Item")); item.IsDefined();
    ///          item = item.GetNextElement(WIDE("Item"))) { ... }
    /// An empty name visits every child element. GetRoot and GetParentElement fail with a
    /// handle that keeps this handle's flag and logging object.
    ///@{
    CXMLClassReaderWriter GetRoot();
    CXMLClassReaderWriter GetFirstSubElement();
    CXMLClassReaderWriter GetFirstSubElement(View const& name);
    CXMLClassReaderWriter GetNextElement();
    CXMLClassReaderWriter GetNextElement(View const& name);
    CXMLClassReaderWriter GetParentElement();
    ///@}

    /// @}

    /// @addtogroup navigation
    /// @{

    /// The returned references live as long as the handle; the next call of the same method
    /// overwrites them. Name and attribute views point into the DOM's text.
    View const& GetElementName();
    /// The direct text children (line feeds as CR LF) and CDATA sections, concatenated.
    CBasicString<WideChar> const& GetContent();
    /// A missing attribute reads as empty.
    ///@{
    View const& GetAttributeValue(View const& name);
    bool HasAttribute(View const& name) const;
    bool HasAttributes() const;
    ///@}

    /// @}

    /// @addtogroup editing
    /// @{

    /// Elements with attributes (set in the map's order) and optional text content. The Create
    /// form leaves the element detached (attach it with InsertSubDocument); the Add form appends
    /// it as the last child of the current element. On failure: a handle that is not defined.
    /// Names the DOM rejects raise its DOMException; nothing is attached then.
    ///@{
    CXMLClassReaderWriter CreateElementAttributesContent(View const& name,
                                                         AttributeMap const& attributes,
                                                         View const& content);
    CXMLClassReaderWriter CreateElementAttributesContent(View const& name,
                                                         AttributeMap const& attributes);
    CXMLClassReaderWriter AddElementAttributesContent(View const& name,
                                                      AttributeMap const& attributes,
                                                      View const& content);
    CXMLClassReaderWriter AddElementAttributesContent(View const& name,
                                                      AttributeMap const& attributes);
    ///@}
    /// A class element for an object; with a variable name (typed handles only) it carries
    /// varname="...".
    ///@{
    CXMLClassReaderWriter CreateClass(View const& className);
    CXMLClassReaderWriter CreateClass(View const& className, View const& variableName);
    ///@}
    /// Sets (or overwrites) an attribute of the current element.
    bool AddAttributeValue(View const& name, View const& value) const;
    /// Appends a text node to the current element.
    bool InsertContent(View const& text) const;
    /// Appends other's element (detached, or moved from elsewhere in this document) as the
    /// last child of the current element; false for this handle itself or an undefined one.
    bool InsertSubDocument(CXMLClassReaderWriter const& other) const;
    /// Puts replacement's element in place of oldChild's element among the current element's
    /// children; returns a handle on the detached old element.
    CXMLClassReaderWriter ReplaceSubElement(CXMLClassReaderWriter const& oldChild,
                                            CXMLClassReaderWriter const& replacement);
    /// Removes the first child element named `name`.
    bool DeleteFirstSubElement(View const& name) const;

    /// @}

    /// @addtogroup properties
    /// @{

    /// Each member of an object is one property element under the current element, named
    /// `name`, holding the value's text and, on typed handles, keytype="<type>" (the type text is
    /// the application's own and is compared exactly). Writers append the element and return its
    /// handle (not defined on failure). Readers look at the current element only: it must be
    /// named `name` and, on typed handles, carry keytype `type`; the content is then converted and
    /// stored, and the result is true even for text that is not a number (the value is then 0).
    /// On false the value is left as it was. The LIST, SET, VECTOR and MAP variants are the same
    /// members under the name of the container they fill or read.

    /// The current element's varname equals `name` (always true on untyped handles; an empty
    /// name is also true for an element without varname).
    bool IsVariableName(View const& name);

    // clang-format off
    /// int: signed decimal, 32 bits
    ///@{
    CXMLClassReaderWriter AddintProperty(View const& name, View const& type, int value);
    CXMLClassReaderWriter AddintLISTProperty(View const& name, View const& type, int value);
    CXMLClassReaderWriter AddintSETProperty(View const& name, View const& type, int value);
    CXMLClassReaderWriter AddintVECTORProperty(View const& name, View const& type, int value);
    CXMLClassReaderWriter AddintMAPProperty(View const& name, View const& type, int value);
    bool GetintProperty(View const& name, View const& type, int& value);
    bool GetintLISTProperty(View const& name, View const& type, int& value);
    bool GetintSETProperty(View const& name, View const& type, int& value);
    bool GetintVECTORProperty(View const& name, View const& type, int& value);
    bool GetintMAPProperty(View const& name, View const& type, int& value);
    ///@}
    /// long: signed decimal, 32 bits
    ///@{
    CXMLClassReaderWriter AddlongProperty(View const& name, View const& type, std::int32_t value);
    CXMLClassReaderWriter AddlongLISTProperty(View const& name, View const& type, std::int32_t value);
    CXMLClassReaderWriter AddlongSETProperty(View const& name, View const& type, std::int32_t value);
    CXMLClassReaderWriter AddlongVECTORProperty(View const& name, View const& type, std::int32_t value);
    CXMLClassReaderWriter AddlongMAPProperty(View const& name, View const& type, std::int32_t value);
    bool GetlongProperty(View const& name, View const& type, std::int32_t& value);
    bool GetlongLISTProperty(View const& name, View const& type, std::int32_t& value);
    bool GetlongSETProperty(View const& name, View const& type, std::int32_t& value);
    bool GetlongVECTORProperty(View const& name, View const& type, std::int32_t& value);
    bool GetlongMAPProperty(View const& name, View const& type, std::int32_t& value);
    ///@}
    /// UINT: unsigned decimal, 32 bits
    ///@{
    CXMLClassReaderWriter AddUINTProperty(View const& name, View const& type, UINT value);
    CXMLClassReaderWriter AddUINTLISTProperty(View const& name, View const& type, UINT value);
    CXMLClassReaderWriter AddUINTSETProperty(View const& name, View const& type, UINT value);
    CXMLClassReaderWriter AddUINTVECTORProperty(View const& name, View const& type, UINT value);
    CXMLClassReaderWriter AddUINTMAPProperty(View const& name, View const& type, UINT value);
    bool GetUINTProperty(View const& name, View const& type, UINT& value);
    bool GetUINTLISTProperty(View const& name, View const& type, UINT& value);
    bool GetUINTSETProperty(View const& name, View const& type, UINT& value);
    bool GetUINTVECTORProperty(View const& name, View const& type, UINT& value);
    bool GetUINTMAPProperty(View const& name, View const& type, UINT& value);
    ///@}
    /// DWORD: unsigned decimal, 32 bits
    ///@{
    CXMLClassReaderWriter AddDWORDProperty(View const& name, View const& type, DWORD value);
    CXMLClassReaderWriter AddDWORDLISTProperty(View const& name, View const& type, DWORD value);
    CXMLClassReaderWriter AddDWORDSETProperty(View const& name, View const& type, DWORD value);
    CXMLClassReaderWriter AddDWORDVECTORProperty(View const& name, View const& type, DWORD value);
    CXMLClassReaderWriter AddDWORDMAPProperty(View const& name, View const& type, DWORD value);
    bool GetDWORDProperty(View const& name, View const& type, DWORD& value);
    bool GetDWORDLISTProperty(View const& name, View const& type, DWORD& value);
    bool GetDWORDSETProperty(View const& name, View const& type, DWORD& value);
    bool GetDWORDVECTORProperty(View const& name, View const& type, DWORD& value);
    bool GetDWORDMAPProperty(View const& name, View const& type, DWORD& value);
    ///@}
    /// Ulong: unsigned decimal, 32 bits
    ///@{
    CXMLClassReaderWriter AddUlongProperty(View const& name, View const& type, std::uint32_t value);
    bool GetUlongProperty(View const& name, View const& type, std::uint32_t& value);
    ///@}
    /// __int64: signed decimal, 64 bits
    ///@{
    CXMLClassReaderWriter Add__int64Property(View const& name, View const& type, std::int64_t value);
    CXMLClassReaderWriter Add__int64LISTProperty(View const& name, View const& type, std::int64_t value);
    CXMLClassReaderWriter Add__int64SETProperty(View const& name, View const& type, std::int64_t value);
    CXMLClassReaderWriter Add__int64VECTORProperty(View const& name, View const& type, std::int64_t value);
    CXMLClassReaderWriter Add__int64MAPProperty(View const& name, View const& type, std::int64_t value);
    bool Get__int64Property(View const& name, View const& type, std::int64_t& value);
    bool Get__int64LISTProperty(View const& name, View const& type, std::int64_t& value);
    bool Get__int64SETProperty(View const& name, View const& type, std::int64_t& value);
    bool Get__int64VECTORProperty(View const& name, View const& type, std::int64_t& value);
    bool Get__int64MAPProperty(View const& name, View const& type, std::int64_t& value);
    ///@}
    /// time_t: signed decimal, 64 bits
    ///@{
    CXMLClassReaderWriter Addtime_tProperty(View const& name, View const& type, std::int64_t value);
    CXMLClassReaderWriter Addtime_tLISTProperty(View const& name, View const& type, std::int64_t value);
    CXMLClassReaderWriter Addtime_tSETProperty(View const& name, View const& type, std::int64_t value);
    CXMLClassReaderWriter Addtime_tVECTORProperty(View const& name, View const& type, std::int64_t value);
    CXMLClassReaderWriter Addtime_tMAPProperty(View const& name, View const& type, std::int64_t value);
    bool Gettime_tProperty(View const& name, View const& type, std::int64_t& value);
    bool Gettime_tLISTProperty(View const& name, View const& type, std::int64_t& value);
    bool Gettime_tSETProperty(View const& name, View const& type, std::int64_t& value);
    bool Gettime_tVECTORProperty(View const& name, View const& type, std::int64_t& value);
    bool Gettime_tMAPProperty(View const& name, View const& type, std::int64_t& value);
    ///@}
    /// DWORD64: unsigned decimal, 64 bits
    ///@{
    CXMLClassReaderWriter AddDWORD64Property(View const& name, View const& type, DWORD64 value);
    CXMLClassReaderWriter AddDWORD64MAPProperty(View const& name, View const& type, DWORD64 value);
    bool GetDWORD64Property(View const& name, View const& type, DWORD64& value);
    ///@}
    /// DB_ID: unsigned decimal, 64 bits
    ///@{
    CXMLClassReaderWriter AddDB_IDProperty(View const& name, View const& type, DB_ID value) const;
    CXMLClassReaderWriter AddDB_IDLISTProperty(View const& name, View const& type, DB_ID value);
    CXMLClassReaderWriter AddDB_IDSETProperty(View const& name, View const& type, DB_ID value);
    CXMLClassReaderWriter AddDB_IDMAPProperty(View const& name, View const& type, DB_ID value);
    bool GetDB_IDProperty(View const& name, View const& type, DB_ID& value);
    ///@}
    /// DB_GROUP_ID: unsigned decimal, 64 bits
    bool GetDB_GROUP_IDProperty(View const& name, View const& type, DB_GROUP_ID& value);
    /// DB_USER_ID: unsigned decimal, 64 bits
    bool GetDB_USER_IDProperty(View const& name, View const& type, DB_USER_ID& value);
    /// bool: "true" or "false"; other content fails the read and leaves the value
    ///@{
    CXMLClassReaderWriter AddboolProperty(View const& name, View const& type, bool value);
    CXMLClassReaderWriter AddboolLISTProperty(View const& name, View const& type, bool value);
    CXMLClassReaderWriter AddboolSETProperty(View const& name, View const& type, bool value);
    CXMLClassReaderWriter AddboolVECTORProperty(View const& name, View const& type, bool value);
    CXMLClassReaderWriter AddboolMAPProperty(View const& name, View const& type, bool value);
    bool GetboolProperty(View const& name, View const& type, bool& value);
    bool GetboolLISTProperty(View const& name, View const& type, bool& value);
    bool GetboolSETProperty(View const& name, View const& type, bool& value);
    bool GetboolVECTORProperty(View const& name, View const& type, bool& value);
    bool GetboolMAPProperty(View const& name, View const& type, bool& value);
    ///@}
    /// double: 17 significant digits, "nan", "inf"
    ///@{
    CXMLClassReaderWriter AdddoubleProperty(View const& name, View const& type, double value);
    CXMLClassReaderWriter AdddoubleLISTProperty(View const& name, View const& type, double value);
    CXMLClassReaderWriter AdddoubleSETProperty(View const& name, View const& type, double value);
    CXMLClassReaderWriter AdddoubleVECTORProperty(View const& name, View const& type, double value);
    CXMLClassReaderWriter AdddoubleMAPProperty(View const& name, View const& type, double value);
    bool GetdoubleProperty(View const& name, View const& type, double& value);
    bool GetdoubleLISTProperty(View const& name, View const& type, double& value);
    bool GetdoubleSETProperty(View const& name, View const& type, double& value);
    bool GetdoubleVECTORProperty(View const& name, View const& type, double& value);
    bool GetdoubleMAPProperty(View const& name, View const& type, double& value);
    ///@}
    /// DB_TIME_TYPE: a double, 17 significant digits
    ///@{
    CXMLClassReaderWriter AddDB_TIME_TYPEProperty(View const& name, View const& type, DB_TIME_TYPE value);
    CXMLClassReaderWriter AddDB_TIME_TYPEMAPProperty(View const& name, View const& type, DB_TIME_TYPE value);
    bool GetDB_TIME_TYPEProperty(View const& name, View const& type, DB_TIME_TYPE& value);
    ///@}
    /// DB_UTC_TIME_TYPE: a double, 17 significant digits
    ///@{
    CXMLClassReaderWriter AddDB_UTC_TIME_TYPEProperty(View const& name, View const& type, DB_UTC_TIME_TYPE value);
    bool GetDB_UTC_TIME_TYPEProperty(View const& name, View const& type, DB_UTC_TIME_TYPE& value);
    ///@}
    /// DB_VERSIONNUMBER: major.minor with three decimals ("2.050"); read as a double
    ///@{
    CXMLClassReaderWriter AddDB_VERSIONNUMBERProperty(View const& name, View const& type, DB_VERSIONNUMBER value);
    CXMLClassReaderWriter AddDB_VERSIONNUMBERLISTProperty(View const& name, View const& type, DB_VERSIONNUMBER value);
    CXMLClassReaderWriter AddDB_VERSIONNUMBERSETProperty(View const& name, View const& type, DB_VERSIONNUMBER value);
    CXMLClassReaderWriter AddDB_VERSIONNUMBERMAPProperty(View const& name, View const& type, DB_VERSIONNUMBER value);
    bool GetDB_VERSIONNUMBERProperty(View const& name, View const& type, DB_VERSIONNUMBER& value);
    ///@}

    /// Strings. Readers give a new zero-terminated array of `length` characters (null when
    /// the content is empty); give it back with FreeMemory.
    /// AlpTString: text as given
    ///@{
    CXMLClassReaderWriter AddAlpTStringProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddAlpTStringLISTProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddAlpTStringSETProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddAlpTStringVECTORProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddAlpTStringMAPProperty(View const& name, View const& type, View const& value);
    bool GetAlpTStringProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetAlpTStringLISTProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetAlpTStringSETProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetAlpTStringVECTORProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetAlpTStringMAPProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    ///@}
    /// ENUM: an enumerator's name
    ///@{
    CXMLClassReaderWriter AddENUMProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddENUMLISTProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddENUMSETProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddENUMVECTORProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddENUMMAPProperty(View const& name, View const& type, View const& value);
    bool GetENUMProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetENUMLISTProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetENUMSETProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetENUMVECTORProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetENUMMAPProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    ///@}
    /// UnilexString: text as given
    ///@{
    CXMLClassReaderWriter AddUnilexStringProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddUnilexStringLISTProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddUnilexStringSETProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddUnilexStringVECTORProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddUnilexStringMAPProperty(View const& name, View const& type, View const& value);
    bool GetUnilexStringProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetUnilexStringLISTProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetUnilexStringSETProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetUnilexStringVECTORProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetUnilexStringMAPProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    ///@}
    /// CSortString: text (read only)
    ///@{
    bool GetCSortStringProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetCSortStringLISTProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetCSortStringSETProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetCSortStringVECTORProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetCSortStringMAPProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    ///@}
    /// StringAsCDATA: text in CDATA sections, read back byte for byte
    ///@{
    CXMLClassReaderWriter AddStringAsCDATAProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddStringAsCDATALISTProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddStringAsCDATASETProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddStringAsCDATAVECTORProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddStringAsCDATAMAPProperty(View const& name, View const& type, View const& value);
    bool GetStringAsCDATAProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    ///@}
    /// CUTF8String: UTF-8 text; the reader gives a new zero-terminated UTF-8 array
    ///@{
    CXMLClassReaderWriter AddCUTF8StringMAPProperty(View const& name, View const& type, CBasicStringView<char8_t> const& value) const;
    bool GetCUTF8StringProperty(View const& name, View const& type, char8_t** value, std::size_t& length);
    // clang-format on
    ///@}

    /// @}

    /// @addtogroup containers
    /// @{

    /// A list, set, vector or deque is an empty element with keytype "list", "set" or "vector"
    /// and varkeytype = the item type (typed handles); add the items on the returned handle with
    /// the matching item writers. A deque is written and tested as a list.
    ///@{
    CXMLClassReaderWriter AddLISTProperty(View const& name, View const& itemType);
    CXMLClassReaderWriter AddDEQUEProperty(View const& name, View const& itemType);
    CXMLClassReaderWriter AddSETProperty(View const& name, View const& itemType);
    CXMLClassReaderWriter AddVECTORProperty(View const& name, View const& itemType);
    ///@}
    /// The current element is that container with that item type (or either of a pair); on
    /// untyped handles only the name is compared.
    ///@{
    bool IsLISTProperty(View const& name, View const& itemType);
    bool IsLISTProperty(View const& name, TypePair const& itemTypes);
    bool IsDEQUEProperty(View const& name, View const& itemType);
    bool IsDEQUEProperty(View const& name, TypePair const& itemTypes);
    bool IsSETProperty(View const& name, View const& itemType);
    bool IsSETProperty(View const& name, TypePair const& itemTypes);
    bool IsVECTORProperty(View const& name, View const& itemType);
    bool IsVECTORProperty(View const& name, TypePair const& itemTypes);
    ///@}

    /// A map is an empty element with keytype "map", varkeytype = key type and vartype = value
    /// type (typed handles); the application writes its entries beneath it.
    ///@{
    CXMLClassReaderWriter AddMAPProperty(View const& name, View const& keyType,
                                         View const& valueType);
    bool IsMAPProperty(View const& name, View const& keyType, View const& valueType);
    bool IsMAPProperty(View const& name, View const& keyType, TypePair const& valueTypes);
    bool IsMAPProperty(View const& name, TypePair const& keyTypes, View const& valueType);
    bool IsMAPProperty(View const& name, TypePair const& keyTypes, TypePair const& valueTypes);
    ///@}

    /// @}

    /// @addtogroup files
    /// @{

    /// A property element holding the whole text of a file, read through CVFile in slices of
    /// 10,000,000 characters (never cutting a character in two), one text node each. A file that
    /// cannot be opened or read gives a handle that is not defined.
    CXMLClassReaderWriter AddFileContentProperty(const CBasicString<WideChar>& name,
                                                 const CBasicString<WideChar>& type,
                                                 const CBasicString<WideChar>& filePath);

    /// Before a class-XML file is read: moves the base64 text of every
    /// `<FileTransport ...><fileContent ...>...</fileContent></FileTransport>` into a side file
    /// `<directory of path><UUID>.base64` and puts that file's path in its place, then replaces
    /// the file by the rewritten one. A file without such elements is left untouched. False when
    /// the file cannot be read or an element is cut short; a file error leaves the input file
    /// where it was. Failed deletes and renames are reported through `logging`.
    static bool PreprocessReading(const View& path,
                                  const boost::shared_ptr<LocalizationManager>& localization,
                                  const boost::shared_ptr<CLoggingFile>& logging);

    /// @}
    /// @cond INTERNAL
protected:
    // Delete and rename that report failures (no such file, no access, bad name) through
    // `logging`; they return the runtime library's result, -1 on failure.
    static int DeleteFileLogged(const View& path, const boost::shared_ptr<CLoggingFile>& logging,
                                const LoggingSourcePos& position);
    static int RenameFileLogged(const View& from, const View& to,
                                const boost::shared_ptr<CLoggingFile>& logging,
                                const LoggingSourcePos& position);

    // The building blocks of the typed members.
    CXMLClassReaderWriter AddProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddCDATAProperty(View const& name, View const& type, View const& value);
    CXMLClassReaderWriter AddUTF8Property(View const& name, View const& type,
                                          CBasicStringView<char8_t> const& value) const;
    bool GetProperty(View const& name, View const& type, CBasicString<WideChar>& value);
    bool GetProperty(View const& name, View const& type, WideChar** value, std::size_t& length);
    bool GetPropertyUTF8(View const& name, View const& type, CBasicString<char8_t>& value);
    bool GetPropertyUTF8(View const& name, View const& type, char8_t** value, std::size_t& length);

    CXMLClassReaderWriter AddListSetProperties(View const& name, View const& kind,
                                               View const& itemType);
    bool IsListSetProperties(View const& name, View const& kind, View const& itemType);
    bool IsListSetProperties(View const& name, View const& kind, TypePair const& itemTypes);

    bool InsertAttributeIntoElement(DOMElement* element, AttributeMap const& attributes) const;
    // As AddElementAttributesContent, with the content as CDATA. The element is appended
    // before its attributes are set, so a rejected attribute name leaves it in the tree.
    CXMLClassReaderWriter AddElementAttributesContentAsCDATA(View const& name,
                                                             AttributeMap const& attributes,
                                                             View const& content);
    CXMLClassReaderWriter AddElementAttributesContentAsCDATA(View const& name,
                                                             AttributeMap const& attributes);
    // As AddElementAttributesContent, with UTF-8 content (taken up to its first NUL).
    CXMLClassReaderWriter
    AddElementAttributesContentAsUTF8(View const& name, AttributeMap const& attributes,
                                      CBasicStringView<char8_t> const& content) const;

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

    // A handle on `element` sharing everything with this one; without an element, the failure
    // handle (flag and logging object kept) or the undefined object.
    CXMLClassReaderWriter ElementOrFailure(DOMElement* element) const;
    CXMLClassReaderWriter ElementOrUndefined(DOMElement* element) const;
    // A detached element with attributes and, when `content` is non-empty, a text node.
    DOMElement* BuildElement(View const& name, AttributeMap const& attributes,
                             View const& content) const;
    // BuildElement, then appended under the current element.
    CXMLClassReaderWriter AppendElement(View const& name, AttributeMap const& attributes,
                                        View const& content) const;
    CXMLClassReaderWriter AppendCDATAElement(View const& name, AttributeMap const& attributes,
                                             View const& content) const;

    // "true" or "false", the text bool properties hold.
    View GetTrueOrFalse(bool value) const;
    // {keytype: type} on typed handles, else nothing.
    AttributeMap PropertyAttributes(View const& type) const;
    // The current element's content when it is the property `name` of type `type`, else null.
    const CBasicString<WideChar>* LookUpProperty(View const& name, View const& type);
    template <class Value>
    CXMLClassReaderWriter AddValueProperty(View const& name, View const& type, Value value) const;
    template <class Value>
    bool GetValueProperty(View const& name, View const& type, Value& value);
    template <class Char>
    static bool CopyToNewArray(CBasicStringView<Char> text, Char** array, std::size_t& length);

    // Stores a created or parsed document and moves to its root; true when there is one.
    bool TakeDocument(DOMDocument* document);
    template <class Char, class Text>
    bool SaveTo(Char** buffer, unsigned long long& length, bool wholeDocument) const;

    boost::shared_ptr<CXMLIO> msp_xmlIO;
    DOMDocument* mp_document = nullptr;
    DOMElement* mp_element = nullptr;
    bool mb_typeCheck = false;
    View msv_elementName;
    View msv_attributeValue;
    CBasicString<WideChar> mstr_content;
    boost::shared_ptr<CLoggingFile> msp_loggingFile;
    /// @endcond
};
