#include "classxml/xmlio/DocumentRegistry.h"

#include <vector>

#include <tbb/concurrent_hash_map.h>

using xercesc::DOMDocument;
using Record = boost::shared_ptr<CXercesIO::CDocumentProperties>;

CXercesIO::CMemoryHandler::~CMemoryHandler() = default;

CXercesIO::CDocumentProperties::CDocumentProperties(xercesc::XercesDOMParser* parser,
                                                    DOMTreeErrorReporter* errorReporter,
                                                    CEntityResolver* entityResolver,
                                                    xercesc::DOMLSParser* lsParser,
                                                    DOMDocument* document)
    : parser(parser), errorReporter(errorReporter), entityResolver(entityResolver),
      lsParser(lsParser), document(document) {}

CXercesIO::CDocumentProperties::~CDocumentProperties() { FreeParseMachinery(); }

void CXercesIO::CDocumentProperties::FreeDocument() {
    if (!parser && !lsParser) {
        if (document) document->release();
        document = nullptr;
        return;
    }
    FreeParseMachinery();
}

// Deleting a parser frees the documents it owns.
void CXercesIO::CDocumentProperties::FreeParseMachinery() {
    delete parser;
    parser = nullptr;
    delete errorReporter;
    errorReporter = nullptr;
    delete entityResolver;
    entityResolver = nullptr;
    try {
        if (lsParser) lsParser->release();
    } catch (...) {
    }
    lsParser = nullptr;
    document = nullptr;
}

namespace classxml::document_registry {
namespace {

using Registry = tbb::concurrent_hash_map<DOMDocument*, Record>;

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

} // namespace

DOMDocument* Register(DOMDocument* document, Record record) {
    Registry::accessor entry;
    if (TheRegistry().insert(entry, document)) entry->second = std::move(record);
    return document;
}

bool Release(DOMDocument* document) {
    Registry::accessor entry;
    if (!TheRegistry().find(entry, document)) return false;
    entry->second->FreeDocument();
    TheRegistry().erase(entry);
    return true;
}

std::size_t Count() { return TheRegistry().size(); }

void ReleaseAll() {
    Registry& registry = TheRegistry();
    std::vector<DOMDocument*> documents;
    for (const auto& entry : registry)
        documents.push_back(entry.first);
    for (DOMDocument* document : documents) {
        Registry::accessor entry;
        if (registry.find(entry, document)) entry->second->FreeDocument();
    }
    registry.clear();
}

} // namespace classxml::document_registry
