// What is written comes back, and a failed save costs nothing: writers refuse text no document
// can carry, CDATA keeps its carriage returns, and a save replaces its target in one step or
// leaves it as it was.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <xercesc/dom/DOM.hpp>

#include "classxml/platform/FileIO.h"
#include "classxml/xmlio/XercesIO.h"
#include "support/Child.h"
#include "support/Document.h"
#include "support/TempDir.h"

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
    EXPECT_IN_CHILD(classxml::platform::ProcessLimits{.cpuSeconds = 10}, {
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
    if (noLinks) return;
    // The file a link names is saved and the link stays a link, also when it names nothing yet.
    typed.AddintProperty(WIDE("n"), WIDE("int"), 2);
    ASSERT_TRUE(typed.SaveToFile(WidePath(dir / "link.xml")));
    EXPECT_TRUE(fs::is_symlink(dir / "link.xml"));
    EXPECT_EQ(ReadFile(target), classxml::testing::SaveUtf8(typed));
    fs::create_symlink("new.xml", dir / "dangling.xml");
    ASSERT_TRUE(typed.SaveToFile(WidePath(dir / "dangling.xml")));
    EXPECT_TRUE(fs::is_symlink(dir / "dangling.xml"));
    EXPECT_EQ(ReadFile(dir / "new.xml"), classxml::testing::SaveUtf8(typed));
}

// A save keeps what the file was: a file the user may not write stays as it is, one in a folder
// without create rights is written, and owner, group and links stay. Where the old file cannot
// be replaced by a new one that is all of that, it is written in place.
TEST_F(SafeWritingTest, ASaveKeepsWhatTheFileIs) {
    constexpr unsigned kUser = 65534, kGroup = 65534, kOther = 4321;
    const auto own = [&](const fs::path& path, unsigned user, unsigned group) {
        return classxml::platform::ChangeOwner(WidePath(path), user, group) == 0;
    };
    fs::create_directories(dir / "locked");
    if (!own(dir.Path(), kUser, kGroup))
        GTEST_SKIP() << "needs root, to give files to other users and run as them";
    typed.AddintProperty(WIDE("n"), WIDE("int"), 1);
    const std::string saved = classxml::testing::SaveUtf8(typed);
    const auto owner = [&](const fs::path& path) {
        unsigned user = 0, group = 0;
        classxml::platform::OwnerOf(WidePath(path), user, group);
        return std::to_string(user) + ":" + std::to_string(group);
    };
    using fs::perms;
    const auto make = [&](const fs::path& path, unsigned user, unsigned group, perms mode) {
        WriteFile(path, "old");
        own(path, user, group);
        fs::permissions(path, mode);
    };
    make(dir / "read-only.xml", kUser, kGroup, perms::owner_read | perms::group_read);
    make(dir / "locked" / "doc.xml", kUser, kGroup, perms::owner_read | perms::owner_write);
    own(dir / "locked", kUser, kGroup);
    fs::permissions(dir / "locked", perms::owner_read | perms::owner_exec);
    make(dir / "shared.xml", kOther, kOther,
         perms::owner_read | perms::owner_write | perms::group_read | perms::group_write);
    fs::permissions(dir.Path(), perms::all); // the group member may create files here
    EXPECT_IN_CHILD(classxml::platform::ProcessLimits{.cpuSeconds = 10}, {
        ok = classxml::platform::RunAs(kUser, kGroup) &&
             !typed.SaveToFile(WidePath(dir / "read-only.xml")) &&
             ReadFile(dir / "read-only.xml") == "old" &&
             typed.SaveToFile(WidePath(dir / "locked" / "doc.xml")) &&
             ReadFile(dir / "locked" / "doc.xml") == saved;
    });
    EXPECT_IN_CHILD(classxml::platform::ProcessLimits{.cpuSeconds = 10}, {
        ok = classxml::platform::RunAs(5678, 5678, {kOther}) &&
             typed.SaveToFile(WidePath(dir / "shared.xml")) &&
             ReadFile(dir / "shared.xml") == saved;
    });
    EXPECT_EQ(owner(dir / "shared.xml"), "4321:4321");

    // Root replaces another user's private file: it stays theirs, and private.
    make(dir / "private.xml", kUser, kGroup, perms::owner_read | perms::owner_write);
    ASSERT_TRUE(typed.SaveToFile(WidePath(dir / "private.xml")));
    EXPECT_EQ(owner(dir / "private.xml"), "65534:65534");
    EXPECT_EQ(fs::status(dir / "private.xml").permissions(),
              perms::owner_read | perms::owner_write);
    EXPECT_EQ(ReadFile(dir / "private.xml"), saved);

    // Both names of a file with two links see the new text.
    WriteFile(dir / "linked.xml", "old");
    fs::create_hard_link(dir / "linked.xml", dir / "second-name.xml");
    ASSERT_TRUE(typed.SaveToFile(WidePath(dir / "linked.xml")));
    EXPECT_EQ(ReadFile(dir / "second-name.xml"), saved);
    EXPECT_EQ(fs::hard_link_count(dir / "linked.xml"), 2u);
    fs::permissions(dir / "locked", perms::owner_all);
}

// A save killed part-way leaves the old document and nothing beside it: on Linux the new file
// has no name until it is complete.
TEST_F(SafeWritingTest, ASaveKilledPartWayLeavesNothingBehind) {
#if defined(__linux__)
    const fs::path target = dir / "doc.xml";
    WriteFile(target, "old");
    Fill(typed, 20'000'000);
    for (int run = 0; run < 3; ++run) {
        EXPECT_EXIT(
            {
                classxml::platform::LimitThisProcess({.cpuSeconds = 1});
                for (;;)
                    typed.SaveToFile(WidePath(target));
            },
            ::testing::KilledBySignal(SIGXCPU), "");
        EXPECT_EQ(Names(), std::set<std::string>{"doc.xml"});
    }
#else
    GTEST_SKIP() << "elsewhere the new file has a name of its own while it is written";
#endif
}

// A write that fails part-way (a file-size limit, a full device, a folder that cannot be
// written) answers false, and an existing target stays byte for byte as it was.
TEST_F(SafeWritingTest, AFailedSaveLeavesTheTargetAsItWas) {
    const fs::path target = dir / "doc.xml";
    const std::string existing(100'000, 'x');
    WriteFile(target, existing);
    Fill(typed, 50'000);
    EXPECT_IN_CHILD((classxml::platform::ProcessLimits{.cpuSeconds = 20, .fileBytes = 8192}),
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
