#pragma once

#include <boost/shared_ptr.hpp>

#include "BasicString.h"
#include "DatabaseTypes.h"
#include "NamedType.h"
#include "WideChar.h"
#include "WindowsIntegers.h"
#include "XMLClassReaderWriter/AttributeMap.h"
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
    using AttributeMap = CAttributeMap;

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

    // ---- Engine ----------------------------------------------------------------------------
    // Process-wide use count: the first InitXMLEngine starts the engine, the matching last
    // UninitXMLEngine stops it (freeing every document still registered) and returns how many
    // start-ups are still outstanding. Other back-end types count but start nothing.
    static void InitXMLEngine(ENUM_XMLIOTYPE type);
    static unsigned long long UninitXMLEngine(ENUM_XMLIOTYPE type);
    // Where DTDs are looked up when files are validated; a non-empty directory gets a trailing
    // separator. Set it before parsing, not while other threads parse.
    static void SetDtdDirectory(CBasicString<WideChar> const& directory, ENUM_XMLIOTYPE type);
    static void SetDtdDirectory(CBasicString<WideChar>&& directory, ENUM_XMLIOTYPE type);

    // ---- Document lifecycle ----------------------------------------------------------------
    // A new document with root element `rootName` (and a DOCTYPE when either identifier is
    // given); the handle moves to the root. False when the handle already holds a document.
    // A root name the DOM rejects raises its DOMException.
    bool CreateDocument(View const& rootName, View const& publicId, View const& systemId);
    bool FullCreateDocument(View const& rootName, View const& publicId, View const& systemId);
    // Parse (and validate against its DTD) a file, or parse UTF-16 or UTF-8 text; the handle
    // moves to the root. A document the handle held before is not released.
    bool ReadFromFile(View const& path);
    bool ReadFromString(View const& xml);
    bool ReadFromString(CBasicStringView<char8_t> const& xml);
    bool ReadFromString(CBasicStringView<char> const& xml); // bytes are taken as UTF-8
    // Frees the document; CloseDocument keeps the back end for another document, the release
    // operations drop it. Other handles of the document are left dangling.
    void CloseDocument();
    void ReleaseDocument();
    void FullReleaseDocument();

    // Writes the whole document. A file that cannot be created still answers true (check the
    // file when that matters).
    bool SaveToFile(View const& path) const;
    // Serialises the whole document (wholeDocument true) or the current element's subtree into
    // a new buffer of `length` characters (UTF-8 bytes, or UTF-16 units), not terminated.
    // Give the buffer back with FreeMemory.
    bool SaveToString(char** buffer, unsigned long long& length, bool wholeDocument) const;
    bool SaveToString(char8_t** buffer, unsigned long long& length, bool wholeDocument) const;
    bool SaveToString(WideChar** buffer, unsigned long long& length, bool wholeDocument) const;
    // Frees a library buffer and nulls the pointer; false when it was already null.
    static bool FreeMemory(char** buffer);
    static bool FreeMemory(char8_t** buffer);
    static bool FreeMemory(WideChar** buffer);

    // ---- Navigation ------------------------------------------------------------------------
    // Each returns a handle on the element found; this handle does not move. The child and
    // sibling walks return an object that carries nothing when there is no such element, so
    // the usual loop is:
    //     for (auto item = h.GetFirstSubElement(WIDE("Item")); item.IsDefined();
    //          item = item.GetNextElement(WIDE("Item"))) { ... }
    // An empty name visits every child element. GetRoot and GetParentElement fail with a
    // handle that keeps this handle's flag and logging object.
    CXMLClassReaderWriter GetRoot();
    CXMLClassReaderWriter GetFirstSubElement();
    CXMLClassReaderWriter GetFirstSubElement(View const& name);
    CXMLClassReaderWriter GetNextElement();
    CXMLClassReaderWriter GetNextElement(View const& name);
    CXMLClassReaderWriter GetParentElement();

    // ---- Queries on the current element ----------------------------------------------------
    // The returned references live as long as the handle; the next call of the same method
    // overwrites them. Name and attribute views point into the DOM's text.
    View const& GetElementName();
    // The direct text children (line feeds as CR LF) and CDATA sections, concatenated.
    CBasicString<WideChar> const& GetContent();
    // A missing attribute reads as empty.
    View const& GetAttributeValue(View const& name);
    bool HasAttribute(View const& name) const;
    bool HasAttributes() const;

    // ---- Element creation and editing ------------------------------------------------------
    // Elements with attributes (set in the map's order) and optional text content. The Create
    // form leaves the element detached (attach it with InsertSubDocument); the Add form appends
    // it as the last child of the current element. On failure: a handle that is not defined.
    // Names the DOM rejects raise its DOMException; nothing is attached then.
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
    // A class element for an object; with a variable name (typed handles only) it carries
    // varname="...".
    CXMLClassReaderWriter CreateClass(View const& className);
    CXMLClassReaderWriter CreateClass(View const& className, View const& variableName);
    // Sets (or overwrites) an attribute of the current element.
    bool AddAttributeValue(View const& name, View const& value) const;
    // Appends a text node to the current element.
    bool InsertContent(View const& text) const;
    // Appends other's element (detached, or moved from elsewhere in this document) as the
    // last child of the current element; false for this handle itself or an undefined one.
    bool InsertSubDocument(CXMLClassReaderWriter const& other) const;
    // Puts replacement's element in place of oldChild's element among the current element's
    // children; returns a handle on the detached old element.
    CXMLClassReaderWriter ReplaceSubElement(CXMLClassReaderWriter const& oldChild,
                                            CXMLClassReaderWriter const& replacement);
    // Removes the first child element named `name`.
    bool DeleteFirstSubElement(View const& name) const;

protected:
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
};
