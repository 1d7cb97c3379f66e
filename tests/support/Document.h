#pragma once

#include <boost/make_shared.hpp>

#include "support/Engine.h"

namespace classxml::testing {

class SilentLog : public CLoggingFile {
public:
    SilentLog() : CLoggingFile(0) {}
};

// Fixture with a fresh document <Root/> on a typed and an untyped handle.
class DocumentFixture : public EngineTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(typed.CreateDocument(WIDE("Root"), {}, {}));
        ASSERT_TRUE(untyped.CreateDocument(WIDE("Root"), {}, {}));
    }
    void TearDown() override {
        typed.ReleaseDocument();
        untyped.ReleaseDocument();
    }

    // The document without its XML declaration.
    static std::string Body(const CXMLClassReaderWriter& handle) {
        const std::string xml = SaveUtf8(handle);
        return xml.substr(xml.find("?>") + 2);
    }

    boost::shared_ptr<CLoggingFile> log = boost::make_shared<SilentLog>();
    CXMLClassReaderWriter typed{log, CXMLClassReaderWriter::XMLIOTYPE_XERCES, true};
    CXMLClassReaderWriter untyped{log, CXMLClassReaderWriter::XMLIOTYPE_XERCES, false};
};

} // namespace classxml::testing
