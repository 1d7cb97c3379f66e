#include "classxml/archive/detail/StartOnFirstUse.h"

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace classxml::archive_detail {

void StartEngineOnFirstUse() {
    struct Engine {
        Engine() { CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES); }
        ~Engine() {
            CXMLClassReaderWriter::UninitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
        }
    };
    static const Engine engine;
}

} // namespace classxml::archive_detail
