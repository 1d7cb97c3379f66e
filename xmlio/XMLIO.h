#pragma once

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"
#include "classxml/xmlio/XercesForward.h"

/// The XML back end: every piece of XML work the handle does goes through these operations.
/// Input views point into zero-terminated storage and are used as zero-terminated strings.
/// Nodes cross unowned; a document belongs to the back end's registry until ReleaseDocument.
/// Unless a comment says otherwise, a null document or element makes an operation answer its
/// failure value (null, false or an empty view) and do nothing.
class CLASSXML_API CXMLIO {
public:
    using View = CBasicStringView<WideChar>; ///< text given to it, and views into the DOM's
    /// The DOM's own types.
    ///@{
    using DOMDocument = xercesc::DOMDocument;
    using DOMElement = xercesc::DOMElement;
    using DOMNode = xercesc::DOMNode;
    ///@}

    virtual ~CXMLIO();

    /// 1. Starts the process-wide engine once; true when it is running.
    virtual bool Initialize() = 0;
    /// 2. Per-instance shutdown hook; the engine is stopped elsewhere.
    virtual void Terminate() = 0;
    /// 3. Frees a registered document; false when it is not registered.
    virtual bool ReleaseDocument(DOMDocument* document) = 0;
    /// 4. A new registered document with the given root element and, when either id is given,
    ///    a DOCTYPE. Null without a running engine or with an empty root name.
    virtual DOMDocument* CreateDocument(const View& publicId, const View& systemId,
                                        const View& rootName) = 0;
    /// 5 to 9. Serialisation of a whole document or of one element's subtree.
    ///@{
    virtual bool SaveDocumentToFile(DOMDocument* document, const View& path) = 0;
    virtual bool SaveDocumentToWideString(DOMDocument* document, CBasicString<WideChar>& out) = 0;
    virtual bool SaveDocumentToUTF8String(DOMDocument* document, CBasicString<char8_t>& out) = 0;
    virtual bool SaveElementToWideString(DOMDocument* document, DOMElement* element,
                                         CBasicString<WideChar>& out) = 0;
    virtual bool SaveElementToUTF8String(DOMDocument* document, DOMElement* element,
                                         CBasicString<char8_t>& out) = 0;
    ///@}
    /// 10. A detached element; DOM exceptions (invalid names) pass to the caller.
    virtual DOMElement* CreateElement(DOMDocument* document, const View& name) = 0;
    /// 11. Appends child as parent's last child; false when either is null or they are the same.
    ///     DOM exceptions (other document, cycles) pass to the caller.
    virtual bool AppendChildElement(DOMDocument* document, DOMElement* parent, DOMNode* child) = 0;
    /// 12, 13. Appends a text node or CDATA content holding `text`.
    ///@{
    virtual bool AppendTextContent(DOMDocument* document, DOMElement* element,
                                   const View& text) = 0;
    virtual bool AppendCDATAContent(DOMDocument* document, DOMElement* element,
                                    const View& text) = 0;
    ///@}
    /// 14. Sets (or overwrites) an attribute.
    virtual bool SetAttribute(DOMDocument* document, DOMElement* element, const View& name,
                              const View& value) = 0;
    /// 15. Puts newChild in oldChild's place; the replaced element, or null (also on any error).
    virtual DOMElement* ReplaceChildElement(DOMElement* parent, DOMElement* oldChild,
                                            DOMElement* newChild) = 0;
    /// 16. Removes the first child element named `name`; it stays owned by the document.
    virtual bool RemoveFirstChildElement(DOMDocument* document, DOMElement* parent,
                                         const View& name) = 0;
    /// 17 to 19. Parsing; null on any error.
    ///@{
    virtual DOMDocument* ParseFile(const View& path) = 0;
    virtual DOMDocument* ParseWideString(const View& xml) = 0;
    virtual DOMDocument* ParseUTF8String(const CBasicStringView<char8_t>& xml) = 0;
    ///@}
    /// 20 to 25. Navigation over elements only; names compare exactly (length and code units).
    ///@{
    virtual DOMElement* GetRootElement(DOMDocument* document) = 0;
    virtual DOMElement* FindFirstChildElement(DOMElement* parent, const View& name) = 0;
    virtual DOMElement* GetFirstChildElement(DOMElement* element) = 0;
    virtual DOMElement* FindNextSiblingElement(DOMElement* element, const View& name) = 0;
    virtual DOMElement* GetNextSiblingElement(DOMElement* element) = 0;
    virtual DOMElement* GetParentElement(DOMNode* node) = 0;
    ///@}
    /// 26. The direct text children, line feeds expanded to CR LF, and CDATA children unchanged,
    ///     concatenated in document order. The element must not be null.
    virtual CBasicString<WideChar> GetContent(DOMElement* element) = 0;
    /// 27, 28. Views into the DOM's own text, valid until that node changes or the document goes.
    ///@{
    virtual View GetElementName(DOMElement* element) = 0;
    virtual View GetAttribute(DOMElement* element, const View& name) = 0;
    ///@}
    /// 29, 30. Whether the element has any attribute, or the one named.
    ///@{
    virtual bool HasAttributes(DOMElement* element) = 0;
    virtual bool HasAttribute(DOMElement* element, const View& name) = 0;
    ///@}
};
