// Process-wide engine start-up, shutdown and the DTD directory.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

#include <cstdint>
#include <mutex>

#include "classxml/xmlio/XercesIO.h"

namespace {

// The count changes together with the start or stop it causes, in one step under the lock, so
// that threads which each start and stop the engine around their own work never find it
// stopped (or stop it under another's feet). An unmatched extra stop leaves the count at zero.
std::mutex g_engineUse;
std::uint64_t g_engineUseCount = 0;

} // namespace

void CXMLClassReaderWriter::InitXMLEngine(ENUM_XMLIOTYPE type) {
    const std::lock_guard lock(g_engineUse);
    if (++g_engineUseCount == 1 && type == XMLIOTYPE_XERCES) CXercesIO::StartEngine();
}

unsigned long long CXMLClassReaderWriter::UninitXMLEngine(ENUM_XMLIOTYPE type) {
    const std::lock_guard lock(g_engineUse);
    if (g_engineUseCount != 0 && --g_engineUseCount == 0 && type == XMLIOTYPE_XERCES)
        CXercesIO::StopEngine();
    return g_engineUseCount;
}

void CXMLClassReaderWriter::SetDtdDirectory(CBasicString<WideChar> const& directory,
                                            ENUM_XMLIOTYPE type) {
    if (type == XMLIOTYPE_XERCES) CXercesIO::SetDtdDirectory(directory);
}

void CXMLClassReaderWriter::SetDtdDirectory(CBasicString<WideChar>&& directory,
                                            ENUM_XMLIOTYPE type) {
    if (type == XMLIOTYPE_XERCES) CXercesIO::SetDtdDirectory(std::move(directory));
}
