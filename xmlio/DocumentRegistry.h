#pragma once

#include <boost/shared_ptr.hpp>
#include <xercesc/dom/DOMLSParser.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>

#include "classxml/xmlio/DOMTreeErrorReporter.h"
#include "classxml/xmlio/EntityResolver.h"
#include "classxml/xmlio/XercesIO.h"

class CXercesIO::CMemoryHandler {
public:
    virtual ~CMemoryHandler();
};

// What the registry keeps for one live document: the parse machinery that owns it (a file
// parser with its reporter and resolver, or a load-and-save parser), or nothing for a created
// document. The record owns the machinery; a created document is released by FreeDocument.
class CXercesIO::CDocumentProperties : public CXercesIO::CMemoryHandler {
public:
    CDocumentProperties(xercesc::XercesDOMParser* parser, DOMTreeErrorReporter* errorReporter,
                        CEntityResolver* entityResolver, xercesc::DOMLSParser* lsParser,
                        DOMDocument* document);
    ~CDocumentProperties() override;

    CDocumentProperties(const CDocumentProperties&) = delete;
    CDocumentProperties& operator=(const CDocumentProperties&) = delete;

    // Frees the document the way it was made.
    void FreeDocument();

    xercesc::XercesDOMParser* parser;
    DOMTreeErrorReporter* errorReporter;
    CEntityResolver* entityResolver;
    xercesc::DOMLSParser* lsParser;
    DOMDocument* document;

private:
    void FreeParseMachinery();
};

// The process-wide registry of live documents, keyed by address. Safe to use from several
// threads: each operation holds the write lock of the document's entry.
namespace classxml::document_registry {

// Registers `document` unless it is already registered; returns it either way.
xercesc::DOMDocument* Register(xercesc::DOMDocument* document,
                               boost::shared_ptr<CXercesIO::CDocumentProperties> record);
// Frees and unregisters a document; false when it is not registered.
bool Release(xercesc::DOMDocument* document);
// Frees every registered document and empties the registry (engine shutdown).
void ReleaseAll();
std::size_t Count();

} // namespace classxml::document_registry
