// The stream writer writes what a DOM save writes, byte for byte, and keeps the saving rules.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "classxml/stream/StreamWriter.h"
#include "support/Document.h"
#include "support/GeneratedDocuments.h"
#include "support/TempDir.h"

namespace {

using Handle = CXMLClassReaderWriter;
using classxml::StreamWriter;
using classxml::testing::GeneratedDocument;
using classxml::testing::ReadFile;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;

class StreamWriterTest : public classxml::testing::EngineTest {
protected:
    classxml::testing::TempDir dir;
};

// A generated corpus: every call is accepted or refused alike, and the UTF-8 string, the UTF-16
// string and the file of each document are the DOM's bytes.
TEST_F(StreamWriterTest, WritesWhatTheDomSaveWrites) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        const GeneratedDocument generated(seed);
        Handle dom = NewHandle(generated.typeCheck);
        std::vector<bool> domAccepted;
        generated.Play(dom, domAccepted);
        char8_t* utf8 = nullptr;
        WideChar* utf16 = nullptr;
        unsigned long long length8 = 0, length16 = 0;
        ASSERT_TRUE(dom.SaveToString(&utf8, length8, true)) << seed;
        ASSERT_TRUE(dom.SaveToString(&utf16, length16, true)) << seed;
        const std::string domUtf8(reinterpret_cast<const char*>(utf8), length8);
        const CBasicString<WideChar> domUtf16(utf16, length16);
        Handle::FreeMemory(&utf8);
        Handle::FreeMemory(&utf16);
        ASSERT_TRUE(dom.SaveToFile(WidePath(dir / "dom.xml")));
        dom.ReleaseDocument();

        std::string streamUtf8;
        CBasicString<WideChar> streamUtf16;
        std::vector<bool> accepted8, accepted16, acceptedFile;
        StreamWriter toUtf8(streamUtf8, generated.typeCheck);
        StreamWriter toUtf16(streamUtf16, generated.typeCheck);
        StreamWriter toFile(WidePath(dir / "stream.xml"), StreamWriter::Encoding::Utf8,
                            generated.typeCheck);
        ASSERT_TRUE(generated.Play(toUtf8, accepted8)) << seed;
        ASSERT_TRUE(generated.Play(toUtf16, accepted16)) << seed;
        ASSERT_TRUE(generated.Play(toFile, acceptedFile)) << seed;
        EXPECT_EQ(accepted8, domAccepted) << seed;
        EXPECT_EQ(streamUtf8, domUtf8) << seed;
        EXPECT_TRUE(streamUtf16 == domUtf16) << seed;
        EXPECT_EQ(ReadFile(dir / "stream.xml"), ReadFile(dir / "dom.xml")) << seed;
    }
}

// The document stays within what every reader accepts: 256 levels, the root included.
TEST_F(StreamWriterTest, RefusesElementsDeeperThanReadersAccept) {
    std::string xml;
    StreamWriter out(xml);
    ASSERT_TRUE(out.StartDocument(WIDE("r")));
    for (int level = 2; level <= 256; ++level)
        ASSERT_TRUE(out.BeginClass(WIDE("c"))) << level;
    EXPECT_FALSE(out.BeginClass(WIDE("c")));
    EXPECT_FALSE(out.Write(WIDE("p"), WIDE("int"), 1));
    EXPECT_TRUE(out.Finish());
    Handle back = NewHandle();
    EXPECT_TRUE(back.ReadFromString(CBasicStringView<char>(xml)));
    back.ReleaseDocument();
}

// A file is replaced only by a finished document: unfinished or failed, the old one stays.
TEST_F(StreamWriterTest, ReplacesAFileOnlyWithAFinishedDocument) {
    const auto path = dir / "kept.xml";
    WriteFile(path, "old");
    {
        StreamWriter out(WidePath(path), StreamWriter::Encoding::Utf8);
        ASSERT_TRUE(out.StartDocument(WIDE("r")));
        ASSERT_TRUE(out.Write(WIDE("p"), WIDE("int"), 1));
    }
    EXPECT_EQ(ReadFile(path), "old");
    {
        StreamWriter out(WidePath(dir / "missing" / "x.xml"), StreamWriter::Encoding::Utf8);
        EXPECT_FALSE(out.StartDocument(WIDE("r")));
        EXPECT_FALSE(out.Finish());
        EXPECT_TRUE(out.Failed());
    }
    StreamWriter out(WidePath(path), StreamWriter::Encoding::Utf8);
    ASSERT_TRUE(out.StartDocument(WIDE("r")));
    ASSERT_TRUE(out.Finish());
    EXPECT_EQ(ReadFile(path), "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><r/>");
}

// Calls out of order are refused and write nothing.
TEST_F(StreamWriterTest, RefusesCallsOutOfOrder) {
    std::string xml;
    StreamWriter out(xml);
    EXPECT_FALSE(out.Write(WIDE("p"), WIDE("int"), 1)); // before the document
    EXPECT_FALSE(out.Finish());
    ASSERT_TRUE(out.StartDocument(WIDE("r")));
    EXPECT_FALSE(out.StartDocument(WIDE("r")));
    EXPECT_FALSE(out.End()); // the root closes with Finish
    EXPECT_FALSE(out.StartDocument(WIDE("r"), WIDE("-//public"), {})); // no system id
    ASSERT_TRUE(out.Finish());
    EXPECT_FALSE(out.Write(WIDE("p"), WIDE("int"), 1)); // after it
    EXPECT_EQ(xml, "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><r/>");
}

} // namespace
