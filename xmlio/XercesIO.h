#pragma once

#include "classxml/xmlio/XMLIO.h"
#include "classxml/xmlio/XercesStringHandler.h"

/// The Xerces-C back end. Instances hold no state of their own: the engine, the DTD directory
/// and the document registry are process-wide, so any number of instances share one engine.
class CLASSXML_API CXercesIO : public CXMLIO, public CXercesStringHandler {
public:
    class CMemoryHandler;
    class CDocumentProperties;

    CXercesIO();
    ~CXercesIO() override;

    /// Process-wide engine control, used by CXMLClassReaderWriter's static engine functions.
    /// StartEngine is idempotent and answers whether the engine runs; StopEngine frees every
    /// document still registered and shuts Xerces down.
    ///@{
    static bool StartEngine();
    static void StopEngine();
    ///@}
    /// Replaces the DTD directory (a non-empty directory gets one trailing separator), and
    /// gives it.
    ///@{
    static void SetDtdDirectory(const CBasicString<WideChar>& directory);
    static void SetDtdDirectory(CBasicString<WideChar>&& directory);
    static CBasicString<WideChar> GetDtdDirectory();
    ///@}
    /// How many documents are registered, that is, created or parsed and not yet released.
    static std::size_t GetDocumentCount();
    /// The system id of every document parsed from memory, as its complaints name it.
    static constexpr const XMLCh* kMemoryBufferId = WIDE("prodInfo");

    bool Initialize() override;
    void Terminate() override;
    bool ReleaseDocument(DOMDocument* document) override;
    DOMDocument* CreateDocument(const View& publicId, const View& systemId,
                                const View& rootName) override;
    bool SaveDocumentToFile(DOMDocument* document, const View& path) override;
    bool SaveDocumentToWideString(DOMDocument* document, CBasicString<WideChar>& out) override;
    bool SaveDocumentToUTF8String(DOMDocument* document, CBasicString<char8_t>& out) override;
    bool SaveElementToWideString(DOMDocument* document, DOMElement* element,
                                 CBasicString<WideChar>& out) override;
    bool SaveElementToUTF8String(DOMDocument* document, DOMElement* element,
                                 CBasicString<char8_t>& out) override;
    DOMElement* CreateElement(DOMDocument* document, const View& name) override;
    bool AppendChildElement(DOMDocument* document, DOMElement* parent, DOMNode* child) override;
    bool AppendTextContent(DOMDocument* document, DOMElement* element, const View& text) override;
    bool AppendCDATAContent(DOMDocument* document, DOMElement* element, const View& text) override;
    bool SetAttribute(DOMDocument* document, DOMElement* element, const View& name,
                      const View& value) override;
    DOMElement* ReplaceChildElement(DOMElement* parent, DOMElement* oldChild,
                                    DOMElement* newChild) override;
    bool RemoveFirstChildElement(DOMDocument* document, DOMElement* parent,
                                 const View& name) override;
    DOMDocument* ParseFile(const View& path) override;
    DOMDocument* ParseWideString(const View& xml) override;
    DOMDocument* ParseUTF8String(const CBasicStringView<char8_t>& xml) override;
    DOMElement* GetRootElement(DOMDocument* document) override;
    DOMElement* FindFirstChildElement(DOMElement* parent, const View& name) override;
    DOMElement* GetFirstChildElement(DOMElement* element) override;
    DOMElement* FindNextSiblingElement(DOMElement* element, const View& name) override;
    DOMElement* GetNextSiblingElement(DOMElement* element) override;
    DOMElement* GetParentElement(DOMNode* node) override;
    CBasicString<WideChar> GetContent(DOMElement* element) override;
    View GetElementName(DOMElement* element) override;
    View GetAttribute(DOMElement* element, const View& name) override;
    bool HasAttributes(DOMElement* element) override;
    bool HasAttribute(DOMElement* element, const View& name) override;
};
