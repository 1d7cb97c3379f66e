// What a document can make the readers do, in time and memory: entity expansion, nesting and
// attributes are bounded, names with colons read back from memory, and nothing may follow
// the root element. Each case holds for a file, a byte string and a wide string, and for the
// stream reader reading the file.
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "classxml/stream/StreamReader.h"
#include "support/Child.h"
#include "support/Engine.h"
#include "support/TempDir.h"

namespace {

using Handle = CXMLClassReaderWriter;
using classxml::testing::SaveUtf8;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;

// Child processes get this much time and memory; the cases below need a fraction of it.
constexpr classxml::platform::ProcessLimits kLimits{.cpuSeconds = 30, .memoryBytes = 2ull << 30};

class BoundedParseTest : public classxml::testing::EngineTest {
protected:
    // Whether each of the four readers accepts `xml` (written as UTF-8; a wide string as UTF-16);
    // the file parsers' complaints go to `complaints`.
    std::string Accepted(const std::string& xml, std::uintmax_t hole = 0) {
        testing::internal::CaptureStderr();
        const std::string accepted = AcceptedInChild(xml, hole);
        complaints = testing::internal::GetCapturedStderr();
        return accepted;
    }
    // The same in a child process, whose standard error the test framework captures itself.
    std::string AcceptedInChild(const std::string& xml, std::uintmax_t hole = 0) {
        WriteFile(dir / "doc.xml", xml);
        if (hole) std::filesystem::resize_file(dir / "doc.xml", xml.size() + hole);
        const CBasicString<WideChar> wide =
            classxml::platform::Utf8ToUtf16(classxml::platform::AsUtf8(xml));
        std::string accepted;
        Handle file = NewHandle(), bytes = NewHandle(), units = NewHandle();
        accepted += file.ReadFromFile(WidePath(dir / "doc.xml")) ? "F" : "-";
        accepted += bytes.ReadFromString(CBasicStringView<char>(xml)) ? "B" : "-";
        accepted += units.ReadFromString(CBasicStringView<WideChar>(wide)) ? "W" : "-";
        for (Handle* handle : {&file, &bytes, &units})
            handle->ReleaseDocument();
        classxml::StreamReader reader;
        reader.OpenFile(WidePath(dir / "doc.xml"));
        classxml::StreamReader::Event event;
        while ((event = reader.NextTag()) != classxml::StreamReader::Event::End &&
               event != classxml::StreamReader::Event::Error) {
        }
        return accepted + (event == classxml::StreamReader::Event::End ? "S" : "-");
    }
    static std::string Nested(std::size_t depth) {
        std::string xml;
        for (std::size_t i = 0; i < depth; ++i)
            xml += "<a>";
        for (std::size_t i = 0; i < depth; ++i)
            xml += "</a>";
        return xml;
    }

    classxml::testing::TempDir dir;
    std::string complaints;
};

TEST_F(BoundedParseTest, EntityAmplificationIsRefusedInBoundedMemory) {
    const std::string entity = "<!DOCTYPE a [<!ENTITY e \"" + std::string(10'000, 'x') + "\">]>";
    std::string content, attribute;
    for (int i = 0; i < 30'000; ++i)
        content += "&e;";
    for (int i = 0; i < 10'000; ++i)
        attribute += "&e;";
    EXPECT_IN_CHILD(kLimits, {
        ok = AcceptedInChild(entity + "<a>" + content + "</a>") == "----" &&
             AcceptedInChild(entity + "<a v=\"" + attribute + "\"/>") == "----";
    });
    Accepted(entity + "<a>" + content + "</a>");
    EXPECT_NE(
        complaints.find("Message: entities expand the document to more than 64 times its size"),
        std::string::npos)
        << complaints;
    // The limits grow with the bytes read, not with a length that holds none (a sparse file).
    EXPECT_IN_CHILD(kLimits, {
        ok = AcceptedInChild(entity + "<a>" + content + "</a>", std::uintmax_t(1) << 30) == "----";
    });
    Accepted(entity + "<a>" + content + "</a>", std::uintmax_t(1) << 30);
    EXPECT_NE(complaints.find("entities expand the document"), std::string::npos) << complaints;
    // Attribute values defaulted from the DTD are not expansion.
    std::string defaults = "<!DOCTYPE r [<!ELEMENT r (e*)><!ELEMENT e EMPTY><!ATTLIST e a CDATA '" +
                           std::string(400, 'x') + "'><!ENTITY unused 'x'>]><r>";
    for (int i = 0; i < 20'000; ++i)
        defaults += "<e/>";
    EXPECT_EQ(Accepted(defaults + "</r>"), "FBWS");
    // Ordinary use of entities is far from the limit.
    std::string ordinary = "<!DOCTYPE a [<!ELEMENT a (b*)><!ELEMENT b (#PCDATA)>"
                           "<!ENTITY co \"Company Ltd.\">]><a>";
    for (int i = 0; i < 20'000; ++i)
        ordinary += "<b>&co;</b>";
    EXPECT_EQ(Accepted(ordinary + "</a>"), "FBWS");
}

TEST_F(BoundedParseTest, DocumentsNestedDeeperThanTheLimitAreRefused) {
    EXPECT_EQ(Accepted(Nested(256)), "FBWS");
    EXPECT_EQ(Accepted(Nested(257)), "----");
    EXPECT_NE(complaints.find("deeper than 256 levels"), std::string::npos) << complaints;
    EXPECT_IN_CHILD(kLimits, { ok = AcceptedInChild(Nested(100'000)) == "----"; });
    // Empty-element tags open and close at once: any number of them nests one level.
    std::string empties = Nested(255);
    for (int i = 0; i < 1000; ++i)
        empties.insert(255 * 3, "<e a='1'/>");
    EXPECT_EQ(Accepted(empties), "FBWS");

    // A handle builds what it likes, but a document too deep to read back is not saved.
    Handle root = NewHandle();
    ASSERT_TRUE(root.CreateDocument(WIDE("a"), {}, {}));
    Handle inner = root;
    for (int level = 1; level < 256; ++level)
        inner = inner.CreateClass(WIDE("a"));
    EXPECT_FALSE(SaveUtf8(root).empty());
    inner.CreateClass(WIDE("a"));
    EXPECT_TRUE(SaveUtf8(root).empty());
    root.ReleaseDocument();
}

// Without namespace processing the readers take time in proportion to the document (50,000
// attributes took minutes from memory); what stays is the DOM's own cost of sorting them.
TEST_F(BoundedParseTest, ManyAttributesAndNamesWithColonsReadAlikeFromMemory) {
    std::string many = "<a";
    for (int i = 0; i < 50'000; ++i)
        many += " a" + std::to_string(i) + "=\"1\"";
    EXPECT_IN_CHILD(classxml::platform::ProcessLimits{.cpuSeconds = 20},
                    { ok = AcceptedInChild(many + "/>") == "FBWS"; });
    // Names with a colon mean nothing special here: they read back as they were written.
    const std::string colons = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>"
                               "<x:a y:b=\"1\"><x:c/></x:a>";
    EXPECT_EQ(Accepted(colons), "FBWS");
    Handle handle = NewHandle();
    ASSERT_TRUE(handle.ReadFromString(CBasicStringView<char>(colons)));
    EXPECT_EQ(SaveUtf8(handle), colons);
    handle.ReleaseDocument();
}

TEST_F(BoundedParseTest, NothingButWhiteSpaceMayFollowTheRoot) {
    EXPECT_EQ(Accepted(std::string("<a>kept</a>\0<b>dropped</b>", 27)), "----");
    EXPECT_EQ(Accepted(std::string("<a/>\0", 5)), "----");
    EXPECT_EQ(Accepted("<a/> \n\t<!-- a comment --><?pi?>\n"), "FBWS");
}

} // namespace
