// Engine start-up and shutdown, the use count and the DTD directory.
#include <gtest/gtest.h>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLNetAccessor.hpp>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/platform/Path.h"
#include "classxml/xmlio/XercesIO.h"

namespace {

using Handle = CXMLClassReaderWriter;
constexpr auto kXerces = Handle::XMLIOTYPE_XERCES;
constexpr auto kNone = Handle::XMLIOTYPE_NONE;
const CBasicString<WideChar> kSeparator(1, classxml::platform::kPathSeparator);

bool EngineRuns() {
    CXercesIO io;
    xercesc::DOMDocument* document = io.CreateDocument({}, {}, WIDE("probe"));
    return document && io.ReleaseDocument(document);
}

TEST(Engine, UseCountStartsOnFirstAndStopsOnLastCall) {
    EXPECT_EQ(Handle::UninitXMLEngine(kXerces), 0u); // unmatched: stays at zero
    EXPECT_FALSE(EngineRuns());

    Handle::InitXMLEngine(kXerces);
    Handle::InitXMLEngine(kXerces);
    EXPECT_TRUE(EngineRuns());
    EXPECT_EQ(Handle::UninitXMLEngine(kXerces), 1u);
    EXPECT_TRUE(EngineRuns());
    EXPECT_EQ(Handle::UninitXMLEngine(kXerces), 0u);
    EXPECT_FALSE(EngineRuns());
    EXPECT_EQ(Handle::UninitXMLEngine(kXerces), 0u);
}

TEST(Engine, OtherTypesCountButStartNothing) {
    Handle::InitXMLEngine(kNone);
    EXPECT_FALSE(EngineRuns());
    Handle::InitXMLEngine(kXerces); // not the first call: starts nothing either
    EXPECT_FALSE(EngineRuns());
    EXPECT_EQ(Handle::UninitXMLEngine(kXerces), 1u);
    EXPECT_EQ(Handle::UninitXMLEngine(kNone), 0u);
}

TEST(Engine, StartUpIsIdempotent) {
    EXPECT_TRUE(CXercesIO::StartEngine());
    EXPECT_TRUE(CXercesIO().Initialize());
    CXercesIO::StopEngine();
    CXercesIO::StopEngine();
    EXPECT_FALSE(EngineRuns());
}

TEST(Engine, ShutdownFreesDocumentsStillRegistered) {
    Handle::InitXMLEngine(kXerces);
    Handle created(boost::shared_ptr<CLoggingFile>(), kXerces, true);
    ASSERT_TRUE(created.CreateDocument(WIDE("Root"), {}, WIDE("root.dtd")));
    Handle parsed(boost::shared_ptr<CLoggingFile>(), kXerces, true);
    ASSERT_TRUE(parsed.ReadFromString(CBasicStringView<char>("<a><b/></a>")));
    EXPECT_EQ(Handle::UninitXMLEngine(kXerces), 0u); // LeakSanitizer checks the rest
    EXPECT_FALSE(EngineRuns());
}

// An application that runs Xerces itself keeps it as it was around the library's engine, and
// saves its own documents through the library while the engine is stopped.
TEST(Engine, TheApplicationsXercesIsLeftAlone) {
    using namespace xercesc;
    XMLPlatformUtils::Initialize();
    const XMLNetAccessor* network = XMLPlatformUtils::fgNetAccessor;
    Handle::InitXMLEngine(kXerces);
    EXPECT_EQ(Handle::UninitXMLEngine(kXerces), 0u);
    EXPECT_EQ(XMLPlatformUtils::fgNetAccessor, network);

    DOMDocument* document = DOMImplementationRegistry::getDOMImplementation(WIDE("LS"))
                                ->createDocument(nullptr, WIDE("own"), nullptr);
    CBasicString<char8_t> saved;
    EXPECT_TRUE(CXercesIO().SaveDocumentToUTF8String(document, saved));
    EXPECT_NE(saved.find(u8"<own/>"), CBasicString<char8_t>::npos);
    document->release();
    XMLPlatformUtils::Terminate();
}

TEST(Engine, DtdDirectoryGetsOneTrailingSeparator) {
    Handle::SetDtdDirectory(CBasicString<WideChar>(WIDE("dtd")), kXerces);
    EXPECT_EQ(CXercesIO::GetDtdDirectory(), WIDE("dtd") + kSeparator);
    const CBasicString<WideChar> terminated = WIDE("other") + kSeparator;
    Handle::SetDtdDirectory(terminated, kXerces);
    EXPECT_EQ(CXercesIO::GetDtdDirectory(), terminated);
    Handle::SetDtdDirectory(CBasicString<WideChar>(WIDE("ignored")), kNone);
    EXPECT_EQ(CXercesIO::GetDtdDirectory(), terminated);
    Handle::SetDtdDirectory(CBasicString<WideChar>(), kXerces);
    EXPECT_TRUE(CXercesIO::GetDtdDirectory().empty());
}

} // namespace
