// What is written comes back, and a failed save costs nothing: writers refuse text no document
// can carry, CDATA keeps its carriage returns, and a save replaces its target in one step or
// leaves it as it was.
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <xercesc/dom/DOM.hpp>

#include "support/Child.h"
#include "support/Document.h"
#include "support/TempDir.h"
#include "xmlio/XercesIO.h"

namespace {

namespace fs = std::filesystem;
using Handle = CXMLClassReaderWriter;
using View = Handle::View;
using classxml::testing::ReadFile;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;

class SafeWritingTest : public classxml::testing::DocumentFixture {
protected:
    // A document of about `bytes` bytes on `root`.
    static void Fill(Handle& root, std::size_t bytes) {
        for (std::size_t i = 0; i < bytes / 40; ++i)
            root.AddAlpTStringProperty(WIDE("p"), WIDE("s"), WIDE("0123456789012345"));
    }
    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(dir.Path()))
            names.insert(entry.path().filename().string());
        return names;
    }

    classxml::testing::TempDir dir;
};

TEST_F(SafeWritingTest, WritersRefuseTextNoDocumentCanCarry) {
    const WideChar surrogatePair[] = {0xD83D, 0xDE00, 0};
    const View good[] = {WIDE("\t\n\r"), View(surrogatePair), WIDE("\uFFFD\uE000")};
    const WideChar high[] = {'a', 0xD800, 0}, low[] = {0xDC00, 'b', 0},
                   noncharacter[] = {0xFFFE, 0};
    const View bad[] = {WIDE("\x01"), WIDE("a\x0B"),      WIDE("\x1F"),         View(high),
                        View(low),    View(noncharacter), View(WIDE("a\0b"), 3)};
    for (const View text : good) {
        EXPECT_TRUE(typed.AddAlpTStringProperty(WIDE("g"), text, text).IsDefined());
        EXPECT_TRUE(typed.AddStringAsCDATAProperty(WIDE("g"), WIDE("t"), text).IsDefined());
    }
    const std::string before = Body(typed);
    for (const View text : bad) {
        EXPECT_FALSE(typed.AddAlpTStringProperty(WIDE("b"), WIDE("t"), text).IsDefined());
        EXPECT_FALSE(typed.AddintProperty(WIDE("b"), text, 1).IsDefined()); // the type text
        EXPECT_FALSE(typed.AddStringAsCDATAProperty(WIDE("b"), WIDE("t"), text).IsDefined());
        EXPECT_FALSE(typed.AddStringAsCDATAProperty(WIDE("b"), text, WIDE("x")).IsDefined());
        EXPECT_FALSE(typed.AddVECTORProperty(WIDE("b"), text).IsDefined());
        EXPECT_FALSE(typed.AddMAPProperty(WIDE("b"), WIDE("t"), text).IsDefined());
        EXPECT_FALSE(typed.CreateClass(WIDE("b"), text).IsDefined());
        EXPECT_FALSE(typed.AddAttributeValue(WIDE("b"), text));
        EXPECT_FALSE(typed.InsertContent(text));
    }
    EXPECT_FALSE(typed.AddCUTF8StringMAPProperty(WIDE("b"), WIDE("t"), u8"a\x02").IsDefined());
    WriteFile(dir / "form-feed.txt", "page one\fpage two");
    EXPECT_FALSE(typed.AddFileContentProperty(WIDE("b"), WIDE("t"), WidePath(dir / "form-feed.txt"))
                     .IsDefined());
    EXPECT_EQ(Body(typed), before); // nothing was appended
}

// Text put into the DOM directly, past the writers: the save answers false, writes nothing and
// never hangs (a broken surrogate at the end of a CDATA section used to make it spin).
TEST_F(SafeWritingTest, SavesRefuseDocumentsHoldingSuchText) {
    const WideChar lone[] = {'x', 0xD800, 0};
    const std::string existing = "<?xml version=\"1.0\"?><kept/>";
    WriteFile(dir / "target.xml", existing);
    EXPECT_IN_CHILD(classxml::platform::ProcessLimits{.seconds = 10}, {
        CXercesIO io;
        ok = true;
        for (int node = 0; node < 3; ++node) {
            xercesc::DOMDocument* document = io.CreateDocument({}, {}, WIDE("r"));
            xercesc::DOMElement* root = document->getDocumentElement();
            if (node == 0) root->appendChild(document->createCDATASection(lone));
            if (node == 1) root->appendChild(document->createTextNode(WIDE("\x01")));
            if (node == 2) root->setAttribute(WIDE("a"), lone);
            CBasicString<char8_t> bytes;
            CBasicString<WideChar> wide;
            ok = ok && !io.SaveDocumentToFile(document, WidePath(dir / "target.xml")) &&
                 !io.SaveDocumentToUTF8String(document, bytes) &&
                 !io.SaveDocumentToWideString(document, wide) && bytes.empty();
            io.ReleaseDocument(document);
        }
        ok = ok && ReadFile(dir / "target.xml") == existing;
    });
}

TEST_F(SafeWritingTest, CdataComesBackByteForByteCarriageReturnsIncluded) {
    const View values[] = {WIDE("a\rb"), WIDE("a\r\nb"), WIDE("\r"), WIDE("x]]>\r\n]]>y\r")};
    for (const View value : values)
        typed.AddStringAsCDATAProperty(WIDE("c"), WIDE("t"), value);
    ASSERT_TRUE(typed.SaveToFile(WidePath(dir / "cdata.xml")));
    char8_t* bytes = nullptr;
    WideChar* wide = nullptr;
    unsigned long long byteLength = 0, wideLength = 0;
    ASSERT_TRUE(typed.SaveToString(&bytes, byteLength, true));
    ASSERT_TRUE(typed.SaveToString(&wide, wideLength, true));
    Handle fromFile = NewHandle(), fromBytes = NewHandle(), fromWide = NewHandle();
    ASSERT_TRUE(fromFile.ReadFromFile(WidePath(dir / "cdata.xml")));
    ASSERT_TRUE(fromBytes.ReadFromString(CBasicStringView<char8_t>(bytes, byteLength)));
    ASSERT_TRUE(fromWide.ReadFromString(View(wide, wideLength)));
    Handle::FreeMemory(&bytes);
    Handle::FreeMemory(&wide);
    for (Handle* read : {&fromFile, &fromBytes, &fromWide}) {
        Handle element = read->GetFirstSubElement();
        for (const View value : values) {
            WideChar* text = nullptr;
            std::size_t length = 0;
            ASSERT_TRUE(element.GetStringAsCDATAProperty(WIDE("c"), WIDE("t"), &text, length));
            EXPECT_EQ(View(text, length), value);
            Handle::FreeMemory(&text);
            element = element.GetNextElement();
        }
        read->ReleaseDocument();
    }
}

TEST_F(SafeWritingTest, ASaveReplacesItsTargetInOneStep) {
    const fs::path target = dir / "doc.xml";
    WriteFile(target, "old");
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    const fs::perms permissions = fs::status(target).permissions();
    typed.AddintProperty(WIDE("n"), WIDE("int"), 1);
    ASSERT_TRUE(typed.SaveToFile(WidePath(target)));
    EXPECT_EQ(ReadFile(target), classxml::testing::SaveUtf8(typed));
    EXPECT_EQ(fs::status(target).permissions(), permissions);
    EXPECT_EQ(Names(), std::set<std::string>{"doc.xml"}); // no temporary file left

    std::error_code noLinks;
    fs::create_symlink(target, dir / "link.xml", noLinks);
    if (!noLinks) { // the file a link names is replaced, the link stays
        typed.AddintProperty(WIDE("n"), WIDE("int"), 2);
        ASSERT_TRUE(typed.SaveToFile(WidePath(dir / "link.xml")));
        EXPECT_TRUE(fs::is_symlink(dir / "link.xml"));
        EXPECT_EQ(ReadFile(target), classxml::testing::SaveUtf8(typed));
    }
}

// A write that fails part-way (a file-size limit, a full device, a folder that cannot be
// written) answers false, and an existing target stays byte for byte as it was.
TEST_F(SafeWritingTest, AFailedSaveLeavesTheTargetAsItWas) {
    const fs::path target = dir / "doc.xml";
    const std::string existing(100'000, 'x');
    WriteFile(target, existing);
    Fill(typed, 50'000);
    EXPECT_IN_CHILD((classxml::platform::ProcessLimits{.seconds = 20, .fileBytes = 8192}),
                    { ok = !typed.SaveToFile(WidePath(target)) && ReadFile(target) == existing; });
    EXPECT_EQ(Names(), std::set<std::string>{"doc.xml"});
    if (fs::exists("/dev/full")) {
        EXPECT_FALSE(typed.SaveToFile(WIDE("/dev/full")));
    }

    fs::create_directories(dir / "read-only");
    WriteFile(dir / "read-only" / "doc.xml", existing);
    fs::permissions(dir / "read-only", fs::perms::owner_read | fs::perms::owner_exec);
    std::ofstream probe(dir / "read-only" / "probe");
    if (!probe) { // the folder is not writable for this user (it is for root)
        EXPECT_FALSE(typed.SaveToFile(WidePath(dir / "read-only" / "doc.xml")));
        EXPECT_EQ(ReadFile(dir / "read-only" / "doc.xml"), existing);
    }
    fs::permissions(dir / "read-only", fs::perms::owner_all);
}

} // namespace
