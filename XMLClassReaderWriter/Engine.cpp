// Process-wide engine start-up, shutdown and the DTD directory.
#include "XMLClassReaderWriter/XMLClassReaderWriter.h"

#include <atomic>
#include <cstdint>

#include "xmlio/XercesIO.h"

namespace {

std::atomic<std::uint64_t> g_engineUseCount{0};

} // namespace

void CXMLClassReaderWriter::InitXMLEngine(ENUM_XMLIOTYPE type) {
    if (g_engineUseCount.fetch_add(1) + 1 == 1 && type == XMLIOTYPE_XERCES)
        CXercesIO::StartEngine();
}

// The test for zero and the decrement are separate steps: an unmatched extra call leaves the
// count at zero instead of wrapping it, without claiming to guard against races.
unsigned long long CXMLClassReaderWriter::UninitXMLEngine(ENUM_XMLIOTYPE type) {
    if (g_engineUseCount.load() != 0) {
        if (g_engineUseCount.fetch_sub(1) == 1 && type == XMLIOTYPE_XERCES) CXercesIO::StopEngine();
    }
    return g_engineUseCount.load();
}

void CXMLClassReaderWriter::SetDtdDirectory(CBasicString<WideChar> const& directory,
                                            ENUM_XMLIOTYPE type) {
    if (type == XMLIOTYPE_XERCES) CXercesIO::SetDtdDirectory(directory);
}

void CXMLClassReaderWriter::SetDtdDirectory(CBasicString<WideChar>&& directory,
                                            ENUM_XMLIOTYPE type) {
    if (type == XMLIOTYPE_XERCES) CXercesIO::SetDtdDirectory(std::move(directory));
}
