// What a document can make the parsers do: no network connection, no file outside the DTD
// directory, no unbounded entity expansion, whether read from a file or from memory.
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <gtest/gtest.h>

#include "support/Engine.h"
#include "support/TempDir.h"

namespace {

using Handle = CXMLClassReaderWriter;
using boost::asio::ip::tcp;
using classxml::testing::SaveUtf8;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;

class UntrustedDocumentTest : public classxml::testing::EngineTest {
protected:
    void SetUp() override {
        WriteFile(dir / "dtd" / "root.dtd", "");
        std::filesystem::create_directories(dir / "dtd");
        WriteFile(dir / "dtd" / "root.dtd", "<!ELEMENT a ANY>\n<!ATTLIST a kind CDATA 'default'>\n"
                                            "<!ENTITY served SYSTEM 'served.txt'>\n");
        WriteFile(dir / "dtd" / "served.txt", "served text");
        WriteFile(dir / "secret.txt", "SECRET");
        Handle::SetDtdDirectory(WidePath(dir / "dtd"), Handle::XMLIOTYPE_XERCES);
    }
    void TearDown() override {
        Handle::SetDtdDirectory(CBasicString<WideChar>(), Handle::XMLIOTYPE_XERCES);
    }

    // The document's text, read from memory and from a file, or "" when it is refused.
    std::string FromMemory(const std::string& xml) {
        Handle handle = NewHandle();
        std::string text;
        if (handle.ReadFromString(CBasicStringView<char>(xml))) text = SaveUtf8(handle, false);
        handle.ReleaseDocument();
        return text;
    }
    std::string FromFile(const std::string& xml) {
        WriteFile(dir / "doc.xml", xml);
        Handle handle = NewHandle();
        std::string text;
        testing::internal::CaptureStderr();
        if (handle.ReadFromFile(WidePath(dir / "doc.xml"))) text = SaveUtf8(handle, false);
        testing::internal::GetCapturedStderr();
        handle.ReleaseDocument();
        return text;
    }

    classxml::testing::TempDir dir;
};

TEST_F(UntrustedDocumentTest, NoNetworkConnectionForAUrlSystemId) {
    boost::asio::io_context io;
    tcp::acceptor listener(io, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0));
    const std::string url =
        "http://127.0.0.1:" + std::to_string(listener.local_endpoint().port()) + "/x.dtd";
    const std::string xml = "<!DOCTYPE a SYSTEM \"" + url + "\"><a/>";
    EXPECT_EQ(FromMemory(xml), "");
    EXPECT_EQ(FromFile(xml), "");
    EXPECT_EQ(FromMemory("<!DOCTYPE a [<!ENTITY e SYSTEM \"" + url + "\">]><a>&e;</a>"), "");
    // A path given to ReadFromFile names a local file, whatever it looks like.
    for (const char* scheme : {"http", "https", "ftp", "file"}) {
        const std::string address = scheme + url.substr(url.find(':'));
        EXPECT_FALSE(NewHandle().ReadFromFile(classxml::platform::NarrowToWide(address)))
            << address;
    }

    // A connection would be waiting in the listener's backlog by now.
    listener.non_blocking(true);
    tcp::socket socket(io);
    boost::system::error_code error;
    listener.accept(socket, error);
    EXPECT_EQ(error, boost::asio::error::would_block) << "the parser opened a connection";
}

TEST_F(UntrustedDocumentTest, ExternalEntitiesThatCouldLeaveTheDtdDirectoryAreRefused) {
    const std::string secret = (dir / "secret.txt").string();
    for (const std::string& id :
         {"file://" + secret, std::string("../secret.txt"), std::string("sub/../../secret.txt")}) {
        // Valid against root.dtd, so only the entity can make the parse fail.
        const std::string xml =
            "<!DOCTYPE a SYSTEM \"root.dtd\" [<!ENTITY x SYSTEM \"" + id + "\">]><a>&x;</a>";
        EXPECT_EQ(FromMemory(xml), "") << id;
        EXPECT_EQ(FromFile(xml), "") << id;
    }
}

// Any other id is looked up inside the directory, an absolute one too: it names a file there,
// and the parser's complaint names that file.
TEST_F(UntrustedDocumentTest, AbsoluteIdsAreLookedUpInsideTheDtdDirectory) {
    const std::filesystem::path outside = dir / "outside.dtd";
    if (!outside.string().starts_with("/")) GTEST_SKIP() << "a drive cannot be prefixed";
    const std::filesystem::path inside = dir / "dtd" / outside.relative_path();
    std::filesystem::create_directories(inside.parent_path());
    WriteFile(outside, "<!ELEMENT a ANY>\n<!ATTLIST a kind CDATA 'outside'>\n");
    WriteFile(inside, "<!ELEMENT a ANY>\n<!ATTLIST a kind CDATA 'inside'>\n");
    const std::string xml = "<!DOCTYPE a SYSTEM \"" + outside.string() + "\"><a/>";
    WriteFile(dir / "doc.xml", xml);
    Handle file = NewHandle(), memory = NewHandle();
    ASSERT_TRUE(file.ReadFromFile(WidePath(dir / "doc.xml")));
    ASSERT_TRUE(memory.ReadFromString(CBasicStringView<char>(xml)));
    EXPECT_EQ(file.GetAttributeValue(WIDE("kind")), Handle::View(WIDE("inside")));
    EXPECT_EQ(memory.GetAttributeValue(WIDE("kind")), Handle::View(WIDE("inside")));
    file.ReleaseDocument();
    memory.ReleaseDocument();

    std::filesystem::remove(inside);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(NewHandle().ReadFromFile(WidePath(dir / "doc.xml")));
    const std::string complaint = testing::internal::GetCapturedStderr();
    EXPECT_NE(complaint.find((dir / "dtd").string() + "/" + outside.string()), std::string::npos)
        << complaint;
}

// The DTD and the entity it declares come from the directory: the document is accepted and
// has the DTD's default attribute (entity references stay references in the DOM).
TEST_F(UntrustedDocumentTest, EntitiesTheDtdDirectoryServesAreRead) {
    const std::string xml = "<!DOCTYPE a SYSTEM \"root.dtd\"><a>&served;</a>";
    WriteFile(dir / "doc.xml", xml);
    Handle file = NewHandle();
    Handle memory = NewHandle();
    ASSERT_TRUE(file.ReadFromFile(WidePath(dir / "doc.xml")));
    ASSERT_TRUE(memory.ReadFromString(CBasicStringView<char>(xml)));
    EXPECT_EQ(file.GetAttributeValue(WIDE("kind")), Handle::View(WIDE("default")));
    EXPECT_EQ(memory.GetAttributeValue(WIDE("kind")), Handle::View(WIDE("default")));
    EXPECT_EQ(SaveUtf8(memory, false), "<a>&served;</a>");
    file.ReleaseDocument();
    memory.ReleaseDocument();
}

TEST_F(UntrustedDocumentTest, NestedEntityExpansionIsCut) {
    std::string laughs = "<!DOCTYPE a [<!ENTITY l0 \"ha\">";
    for (int level = 1; level <= 10; ++level)
        laughs += "<!ENTITY l" + std::to_string(level) + " \"" + [&] {
            std::string refs;
            for (int i = 0; i < 10; ++i)
                refs += "&l" + std::to_string(level - 1) + ";";
            return refs;
        }() + "\">";
    laughs += "]><a>&l10;</a>"; // 10^10 expansions: the parse would not come back without a cut
    EXPECT_EQ(FromMemory(laughs), "");
    EXPECT_EQ(FromFile(laughs), "");

    std::string many = "<a>"; // ordinary documents use far more predefined entities than that
    for (int i = 0; i < 200000; ++i)
        many += "&amp;";
    EXPECT_EQ(FromMemory(many + "</a>").size(), many.size() + 4);
}

TEST_F(UntrustedDocumentTest, DocumentsWithADoctypeReadBackFromMemory) {
    for (const WideChar* dtd : {WIDE("absent.dtd"), WIDE("root.dtd")}) {
        Handle writer = NewHandle();
        ASSERT_TRUE(writer.CreateDocument(WIDE("a"), {}, dtd));
        writer.AddAttributeValue(WIDE("kind"), WIDE("set"));
        const std::string xml = SaveUtf8(writer);
        writer.ReleaseDocument();
        EXPECT_NE(FromMemory(xml), "") << xml;
    }
}

} // namespace
