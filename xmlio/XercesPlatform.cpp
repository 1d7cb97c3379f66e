// The process-wide engine: start-up, shutdown, the DTD directory, and the document lifecycle
// slots of CXercesIO.
#include "classxml/xmlio/XercesPlatform.h"

#include <atomic>
#include <mutex>

#include <boost/make_shared.hpp>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "classxml/platform/Path.h"
#include "classxml/xmlio/DocumentMemory.h"
#include "classxml/xmlio/DocumentRegistry.h"
#include "classxml/xmlio/ReadSettings.h"
#include "classxml/xmlio/XercesText.h"
#include "classxml/xmlio/XmlText.h"

using namespace xercesc;
using classxml::xerces_text::Terminated;

namespace {

// Start-up and shutdown are meant to run on one thread, but documents may be created lazily
// from several; the lock makes a concurrent first start safe at no cost to the running engine.
std::mutex g_engineMutex;
std::atomic<DOMImplementation*> g_implementation{nullptr};

std::mutex g_dtdDirectoryMutex;
CBasicString<WideChar> g_dtdDirectory;

void StoreDtdDirectory(CBasicString<WideChar>&& directory) {
    if (!directory.empty() && directory.back() != classxml::platform::kPathSeparator)
        directory.push_back(classxml::platform::kPathSeparator);
    const std::lock_guard lock(g_dtdDirectoryMutex);
    g_dtdDirectory = std::move(directory);
}

} // namespace

DOMImplementation* classxml::xerces_platform::Implementation() {
    return g_implementation.load(std::memory_order_acquire);
}

bool CXercesIO::StartEngine() {
    if (g_implementation.load(std::memory_order_acquire)) return true;
    const std::lock_guard lock(g_engineMutex);
    if (g_implementation.load(std::memory_order_relaxed)) return true;
    try {
        // Xerces counts its start-ups, so an application that runs Xerces itself keeps it, with
        // its network access: the library's own parsers never ask for a URL (see the entity
        // policy and ParseFile).
        XMLPlatformUtils::Initialize(XMLUni::fgXercescDefaultLocale);
        g_implementation.store(DOMImplementationRegistry::getDOMImplementation(WIDE("LS")),
                               std::memory_order_release);
    } catch (const XMLException&) {
        // Start-up failures are not reported; later document operations answer false.
    }
    return g_implementation.load(std::memory_order_relaxed) != nullptr;
}

void CXercesIO::StopEngine() {
    const std::lock_guard lock(g_engineMutex);
    if (!g_implementation.load(std::memory_order_relaxed)) return;
    classxml::document_registry::ReleaseAll();
    classxml::document_memory::FreeKept();
    XMLPlatformUtils::Terminate();
    g_implementation.store(nullptr, std::memory_order_release);
}

void CXercesIO::SetDtdDirectory(const CBasicString<WideChar>& directory) {
    StoreDtdDirectory(CBasicString<WideChar>(directory));
}

void CXercesIO::SetDtdDirectory(CBasicString<WideChar>&& directory) {
    StoreDtdDirectory(std::move(directory));
}

CBasicString<WideChar> CXercesIO::GetDtdDirectory() {
    if (const auto& own = classxml::read_settings::DtdDirectory()) return *own;
    const std::lock_guard lock(g_dtdDirectoryMutex);
    return g_dtdDirectory;
}

std::size_t CXercesIO::GetDocumentCount() { return classxml::document_registry::Count(); }

bool CXercesIO::Initialize() { return StartEngine(); }

void CXercesIO::Terminate() {}

bool CXercesIO::ReleaseDocument(DOMDocument* document) {
    return classxml::document_registry::Release(document);
}

CXercesIO::DOMDocument* CXercesIO::CreateDocument(const View& publicId, const View& systemId,
                                                  const View& rootName) {
    DOMImplementation* implementation = classxml::xerces_platform::Implementation();
    if (!implementation || rootName.empty()) return nullptr;
    // Identifiers that could not be written back (or read again) make no document.
    if (!classxml::xml_text::IsPublicId(publicId) || !classxml::xml_text::IsSystemId(systemId))
        return nullptr;
    DOMDocumentType* doctype = nullptr;
    if (!publicId.empty() || !systemId.empty()) {
        try {
            doctype = implementation->createDocumentType(Terminated(rootName), Terminated(publicId),
                                                         Terminated(systemId));
        } catch (const DOMException&) {
            return nullptr;
        }
    }
    DOMDocument* document = nullptr;
    try {
        document = implementation->createDocument(nullptr, Terminated(rootName), doctype,
                                                  classxml::document_memory::Memory());
    } catch (...) {
        if (doctype) doctype->release(); // not adopted by a document yet
        throw;
    }
    return classxml::document_registry::Register(
        document,
        boost::make_shared<CDocumentProperties>(nullptr, nullptr, nullptr, nullptr, document));
}
