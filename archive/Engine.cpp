#include "archive/Engine.h"

#include "XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace classxml::archive_detail {

void EnsureEngine() {
    struct Engine {
        Engine() { CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES); }
        ~Engine() {
            CXMLClassReaderWriter::UninitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
        }
    };
    static const Engine engine;
}

} // namespace classxml::archive_detail
