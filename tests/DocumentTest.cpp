// Creating, reading, validating, saving and releasing documents through the handle.
#include <filesystem>

#include <gtest/gtest.h>
#include <xercesc/dom/DOMException.hpp>

#include "classxml/xmlio/XercesIO.h"
#include "support/Engine.h"
#include "support/TempDir.h"

namespace {

using Handle = CXMLClassReaderWriter;
using classxml::testing::ReadFile;
using classxml::testing::SaveUtf8;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;

const std::string kDeclaration = R"(<?xml version="1.0" encoding="UTF-8" standalone="no" ?>)";
const std::string kRootDtd = "<!ELEMENT Root (a*)>\n<!ELEMENT a (#PCDATA)>\n"
                             "<!ATTLIST a x CDATA #IMPLIED>\n";

class DocumentTest : public classxml::testing::EngineTest {
protected:
    void SetUp() override {
        WriteFile(dir / "root.dtd", kRootDtd);
        Handle::SetDtdDirectory(WidePath(dir.Path()), Handle::XMLIOTYPE_XERCES);
    }
    void TearDown() override {
        Handle::SetDtdDirectory(CBasicString<WideChar>(), Handle::XMLIOTYPE_XERCES);
    }

    // Writes `xml` to a file and reads it with validation; the handle is released afterwards.
    bool ReadsAsValid(const std::string& xml) {
        WriteFile(dir / "doc.xml", xml);
        Handle handle = NewHandle();
        const bool read = handle.ReadFromFile(WidePath(dir / "doc.xml"));
        handle.ReleaseDocument();
        return read;
    }

    classxml::testing::TempDir dir;
};

TEST_F(DocumentTest, FileRoundTripKeepsTheDocument) {
    const std::string expected = kDeclaration + R"(<!DOCTYPE Root SYSTEM "root.dtd">)" +
                                 "<Root><a x=\"1 &amp; 2\">t&lt;e\xC3\xA9xt</a><a/></Root>";
    WriteFile(dir / "doc.xml", "<?xml version=\"1.0\"?>\n<!DOCTYPE Root SYSTEM \"root.dtd\">\n"
                               "<Root><a x=\"1 &amp; 2\">t&lt;e&#xE9;xt</a><a></a></Root>\n");
    Handle handle = NewHandle();
    ASSERT_TRUE(handle.ReadFromFile(WidePath(dir / "doc.xml")));
    EXPECT_TRUE(handle.IsDefined());
    ASSERT_TRUE(handle.SaveToFile(WidePath(dir / "saved.xml")));
    handle.ReleaseDocument();
    EXPECT_EQ(ReadFile(dir / "saved.xml"), expected);

    Handle reread = NewHandle();
    ASSERT_TRUE(reread.ReadFromFile(WidePath(dir / "saved.xml")));
    EXPECT_EQ(SaveUtf8(reread), expected);
    reread.ReleaseDocument();
}

TEST_F(DocumentTest, Utf8StringRoundTrip) {
    const std::string xml = kDeclaration + "<r a=\"\xC3\xA9\">x &amp; y<b/></r>";
    Handle handle = NewHandle();
    ASSERT_TRUE(handle.ReadFromString(classxml::platform::AsUtf8(xml)));
    EXPECT_EQ(SaveUtf8(handle), xml);
    handle.ReleaseDocument();
}

TEST_F(DocumentTest, WideStringRoundTripNamesUtf16) {
    const CBasicString<WideChar> xml =
        WIDE("<?xml version=\"1.0\" encoding=\"UTF-16\" standalone=\"no\" ?>"
             "<r a=\"\u00E9\">\U0001F600</r>");
    Handle handle = NewHandle();
    ASSERT_TRUE(
        handle.ReadFromString(CBasicStringView<WideChar>(WIDE("<r a=\"\u00E9\">\U0001F600</r>"))));
    WideChar* buffer = nullptr;
    unsigned long long length = 0;
    ASSERT_TRUE(handle.SaveToString(&buffer, length, true));
    EXPECT_EQ(CBasicString<WideChar>(buffer, length), xml);
    EXPECT_TRUE(Handle::FreeMemory(&buffer));
    // The document keeps UTF-16 as its own encoding, but a byte string holds UTF-8 and says so.
    EXPECT_EQ(SaveUtf8(handle), kDeclaration + "<r a=\"\xC3\xA9\">\xF0\x9F\x98\x80</r>");
    handle.ReleaseDocument();

    Handle again = NewHandle();
    ASSERT_TRUE(again.ReadFromString(CBasicStringView<WideChar>(xml)));
    ASSERT_TRUE(again.SaveToString(&buffer, length, true));
    EXPECT_EQ(CBasicString<WideChar>(buffer, length), xml);
    Handle::FreeMemory(&buffer);
    again.ReleaseDocument();
}

TEST_F(DocumentTest, ElementSaveGivesTheSubtreeOnly) {
    Handle handle = NewHandle();
    ASSERT_TRUE(handle.ReadFromString(CBasicStringView<char>("<Root><a>1</a></Root>")));
    EXPECT_EQ(SaveUtf8(handle, false), "<Root><a>1</a></Root>");
    handle.ReleaseDocument();

    ASSERT_TRUE((handle = NewHandle()).ReadFromString(CBasicStringView<char>("<empty/>")));
    EXPECT_EQ(SaveUtf8(handle, false), "<empty/>");
    handle.ReleaseDocument();
}

TEST_F(DocumentTest, ValidityErrorIsReportedAndRejected) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(ReadsAsValid("<!DOCTYPE Root SYSTEM \"root.dtd\">\n<Root><b/><c/></Root>"));
    const std::string errors = testing::internal::GetCapturedStderr();
    const std::string opening =
        "Error at file \"" + (dir / "doc.xml").string() + "\", line 2, column ";
    EXPECT_EQ(errors.find(opening), 0u) << errors;
    EXPECT_NE(errors.find("\n   Message: "), std::string::npos);
    EXPECT_NE(errors.find(opening, 1), std::string::npos) << "one line per error: " << errors;
    EXPECT_TRUE(ReadsAsValid("<!DOCTYPE Root SYSTEM \"root.dtd\"><Root><a x=\"1\"/></Root>"));
}

// What goes to standard error is there as data too, and memory parses, which write nothing
// there, report the same way; each parse or save starts a new list.
TEST_F(DocumentTest, ComplaintsAreDiagnosticsToo) {
    using Severity = classxml::Diagnostic::Severity;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(ReadsAsValid("<!DOCTYPE Root SYSTEM \"root.dtd\">\n<Root><b/></Root>"));
    const std::string errors = testing::internal::GetCapturedStderr();
    ASSERT_FALSE(classxml::LastDiagnostics().empty());
    const classxml::Diagnostic& first = classxml::LastDiagnostics().front();
    EXPECT_EQ(first.severity, Severity::Error);
    EXPECT_EQ(first.source, (dir / "doc.xml").string());
    EXPECT_EQ(first.line, 2u);
    EXPECT_NE(errors.find("Message: " + first.message), std::string::npos) << errors;

    Handle handle = NewHandle();
    testing::internal::CaptureStderr();
    EXPECT_FALSE(handle.ReadFromString(CBasicStringView<char>("<a>\n<b></a>")));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ASSERT_EQ(classxml::LastDiagnostics().size(), 1u);
    EXPECT_EQ(classxml::LastDiagnostics()[0].severity, Severity::FatalError);
    EXPECT_EQ(classxml::LastDiagnostics()[0].source, "prodInfo");
    EXPECT_EQ(classxml::LastDiagnostics()[0].line, 2u);

    for (const std::string id : {"../x.txt", "sub\\..\\..\\x.txt"}) { // a step either way
        const std::string xml = "<!DOCTYPE a [<!ENTITY e SYSTEM \"" + id + "\">]><a>&e;</a>";
        EXPECT_FALSE(handle.ReadFromString(CBasicStringView<char>(xml)));
        EXPECT_EQ(classxml::LastDiagnostics().front().message,
                  "refused system id '" + id + "': a \"..\" step could leave the DTD directory");
    }
    ASSERT_TRUE(handle.ReadFromString(CBasicStringView<char>("<a/>")));
    EXPECT_TRUE(classxml::LastDiagnostics().empty());
    handle.ReleaseDocument();
}

TEST_F(DocumentTest, WellFormednessErrorIsFatal) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(ReadsAsValid("<!DOCTYPE Root SYSTEM \"root.dtd\"><Root><a></Root>"));
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_EQ(errors.find("Fatal Error at file \"" + (dir / "doc.xml").string() + "\", line 1"), 0u)
        << errors;
}

TEST_F(DocumentTest, DtdIsFoundInTheDirectoryOrByAPathAlreadyInIt) {
    const std::string fullPath = (dir / "root.dtd").string();
    EXPECT_TRUE(ReadsAsValid("<!DOCTYPE Root SYSTEM \"" + fullPath + "\"><Root/>"));
    EXPECT_TRUE(ReadsAsValid("<!DOCTYPE Root SYSTEM \"root.dtd\"><Root/>"));

    testing::internal::CaptureStderr();
    EXPECT_FALSE(ReadsAsValid("<!DOCTYPE Root SYSTEM \"missing.dtd\"><Root/>"));
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_NE(errors.find("Fatal Error at file \""), std::string::npos) << errors;
    EXPECT_NE(errors.find("missing.dtd"), std::string::npos) << errors;
}

// The parse result becomes the handle's document; only a document moves the current element.
TEST_F(DocumentTest, AFailedReadLeavesTheCurrentElement) {
    Handle handle = NewHandle();
    ASSERT_TRUE(handle.ReadFromString(CBasicStringView<char>("<held/>")));
    Handle held = handle;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(handle.ReadFromFile(WidePath(dir / "absent.xml")));
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(handle.IsDocumentCreated());
    EXPECT_EQ(handle.GetElementName(), Handle::View(WIDE("held")));
    held.ReleaseDocument();
}

TEST_F(DocumentTest, UnreadableInputGivesFalseAndLeavesTheHandleAlone) {
    Handle handle = NewHandle();
    EXPECT_FALSE(handle.ReadFromFile({}));
    EXPECT_FALSE(handle.ReadFromString(CBasicStringView<char>()));
    EXPECT_FALSE(handle.ReadFromString(CBasicStringView<WideChar>()));
    EXPECT_FALSE(handle.IsDocumentCreated());

    testing::internal::CaptureStderr();
    EXPECT_FALSE(handle.ReadFromFile(WidePath(dir / "absent.xml")));
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(handle.IsDocumentCreated());

    for (const char* broken : {"<a><b></a>", "<a>", "not xml", "<a/><b/>", "\xFF\xFE"}) {
        EXPECT_FALSE(handle.ReadFromString(CBasicStringView<char>(broken))) << broken;
        EXPECT_FALSE(handle.IsDocumentCreated());
    }
    Handle none(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_NONE, true);
    EXPECT_FALSE(none.ReadFromString(CBasicStringView<char>("<a/>")));
    EXPECT_FALSE(none.CreateDocument(WIDE("a"), {}, {}));
}

TEST_F(DocumentTest, CreationRulesKeepOneDocumentPerHandle) {
    Handle handle = NewHandle();
    EXPECT_FALSE(handle.CreateDocument({}, {}, {}));
    EXPECT_FALSE(handle.IsDocumentCreated());

    ASSERT_TRUE(handle.CreateDocument(WIDE("First"), {}, {}));
    EXPECT_EQ(SaveUtf8(handle), kDeclaration + "<First/>"); // no DOCTYPE without identifiers
    EXPECT_FALSE(handle.CreateDocument(WIDE("Second"), {}, {}));
    EXPECT_EQ(SaveUtf8(handle), kDeclaration + "<First/>");

    handle.CloseDocument();
    EXPECT_FALSE(handle.IsDocumentCreated());
    ASSERT_TRUE(handle.FullCreateDocument(WIDE("Second"), WIDE("-//x//y"), WIDE("root.dtd")));
    EXPECT_EQ(SaveUtf8(handle),
              kDeclaration + "<!DOCTYPE Second PUBLIC \"-//x//y\" \"root.dtd\"><Second/>");

    handle.ReleaseDocument();
    EXPECT_FALSE(handle.IsDocumentCreated());
    EXPECT_FALSE(handle.CreateDocument(WIDE("Third"), {}, {}));
    handle.FullReleaseDocument(); // nothing left to do
}

TEST_F(DocumentTest, RejectedRootNamesThrowUnlessADoctypeIsBuilt) {
    Handle handle = NewHandle();
    EXPECT_THROW(handle.CreateDocument(WIDE("1st"), {}, {}), xercesc::DOMException);
    EXPECT_FALSE(handle.IsDocumentCreated());
    EXPECT_FALSE(handle.CreateDocument(WIDE("two words"), {}, WIDE("root.dtd")));
    EXPECT_FALSE(handle.IsDocumentCreated());
}

TEST_F(DocumentTest, BufferContract) {
    Handle handle = NewHandle();
    char* buffer = reinterpret_cast<char*>(&handle);
    unsigned long long length = 7;
    EXPECT_FALSE(handle.SaveToString(&buffer, length, true)); // no document
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_FALSE(Handle::FreeMemory(&buffer));

    ASSERT_TRUE(handle.CreateDocument(WIDE("r"), {}, {}));
    char8_t* bytes = nullptr;
    ASSERT_TRUE(handle.SaveToString(&bytes, length, false));
    EXPECT_EQ(CBasicStringView<char8_t>(bytes, length), u8"<r/>");
    EXPECT_TRUE(Handle::FreeMemory(&bytes));
    EXPECT_FALSE(Handle::FreeMemory(&bytes));
    handle.ReleaseDocument();
}

TEST_F(DocumentTest, SavingIntoAMissingFolderAnswersTrueAndWritesNothing) {
    Handle handle = NewHandle();
    ASSERT_TRUE(handle.CreateDocument(WIDE("r"), {}, {}));
    const auto path = dir / "no-such-folder" / "x.xml";
    testing::internal::CaptureStderr();
    EXPECT_TRUE(handle.SaveToFile(WidePath(path)));
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(handle.SaveToFile({}));
    handle.ReleaseDocument();
}

TEST_F(DocumentTest, ReleasingTwiceAnswersFalseTheSecondTime) {
    CXercesIO io;
    xercesc::DOMDocument* document = io.CreateDocument({}, {}, WIDE("r"));
    ASSERT_NE(document, nullptr);
    EXPECT_TRUE(io.ReleaseDocument(document));
    EXPECT_FALSE(io.ReleaseDocument(document));
    EXPECT_FALSE(io.ReleaseDocument(nullptr));
}

// Concurrent creation, parsing, saving and releasing, and concurrent releases of one
// document, are exercised by StressTest.

} // namespace
