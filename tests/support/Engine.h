#pragma once

#include <gtest/gtest.h>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace classxml::testing {

// Fixture that holds the engine for its whole suite.
class EngineTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        CXMLClassReaderWriter::InitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    }
    static void TearDownTestSuite() {
        CXMLClassReaderWriter::UninitXMLEngine(CXMLClassReaderWriter::XMLIOTYPE_XERCES);
    }

    static CXMLClassReaderWriter NewHandle(bool typeCheck = true) {
        return CXMLClassReaderWriter(boost::shared_ptr<CLoggingFile>(),
                                     CXMLClassReaderWriter::XMLIOTYPE_XERCES, typeCheck);
    }
};

// The whole document as UTF-8 text, or "" when saving fails.
inline std::string SaveUtf8(const CXMLClassReaderWriter& handle, bool wholeDocument = true) {
    char* buffer = nullptr;
    unsigned long long length = 0;
    if (!handle.SaveToString(&buffer, length, wholeDocument)) return {};
    std::string text(buffer, length);
    CXMLClassReaderWriter::FreeMemory(&buffer);
    return text;
}

} // namespace classxml::testing
