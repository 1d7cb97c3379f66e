// A whole file as the content of one property element.
#include <vector>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "support/Document.h"
#include "support/TempDir.h"
#include "support/XercesDocument.h"
#include "classxml/xmlio/XercesIO.h"

namespace {

using Handle = CXMLClassReaderWriter;
using classxml::testing::TempDir;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;

// A back end that remembers the length of every text node appended.
class CountingIO : public CXercesIO {
public:
    bool AppendTextContent(DOMDocument* document, DOMElement* element, const View& text) override {
        textNodes.push_back(text.size());
        return CXercesIO::AppendTextContent(document, element, text);
    }
    std::vector<std::size_t> textNodes;
};

class OnCountingIO : public Handle {
public:
    OnCountingIO(boost::shared_ptr<CXMLIO> io, DOMDocument* document, DOMElement* element)
        : Handle(boost::shared_ptr<CLoggingFile>(), std::move(io), document, element, true) {}
};

class FileContentSlices : public classxml::testing::XercesDocumentTest {
protected:
    std::vector<std::size_t> Slices(std::size_t characters) {
        WriteFile(dir / "big.txt", std::string(characters, 'x'));
        const auto io = boost::make_shared<CountingIO>();
        OnCountingIO handle(io, document, root);
        EXPECT_TRUE(handle.AddFileContentProperty(WIDE("f"), WIDE("t"), WidePath(dir / "big.txt"))
                        .IsDefined());
        return io->textNodes;
    }
    TempDir dir;
};

TEST_F(FileContentSlices, TenMillionCharactersMakeOneNode) {
    EXPECT_EQ(Slices(10'000'000), std::vector<std::size_t>{10'000'000});
}

TEST_F(FileContentSlices, TwentyFiveMillionMakeThree) {
    EXPECT_EQ(Slices(25'000'000), (std::vector<std::size_t>{10'000'000, 10'000'000, 5'000'000}));
}

// A surrogate pair across the 10,000,000th character of a UTF-16 file stays whole.
TEST_F(FileContentSlices, SlicesNeverCutACharacter) {
    std::string text = "\xFF\xFE";
    for (int i = 1; i < 9'999'999; ++i)
        text += std::string("x\0", 2);
    text += std::string("\x3D\xD8\x00\xDEt\0", 6); // U+1F600 at characters 9,999,999 and 10,000,000
    WriteFile(dir / "wide.txt", text);
    const auto io = boost::make_shared<CountingIO>();
    OnCountingIO handle(io, document, root);
    Handle element =
        handle.AddFileContentProperty(WIDE("f"), WIDE("t"), WidePath(dir / "wide.txt"));
    EXPECT_EQ(io->textNodes, (std::vector<std::size_t>{9'999'998, 3})); // the mark is left out
    EXPECT_EQ(element.GetContent().substr(9'999'998), WIDE("\U0001F600t"));
}

#if !defined(_WIN32)
// Narrow files are text in the process code page, which is UTF-8 here.
TEST_F(FileContentSlices, SlicesNeverCutAUtf8Sequence) {
    std::string text(9'999'999, 'x');
    text += "\xC3\xA9tail"; // é across the 10,000,000th byte
    WriteFile(dir / "utf8.txt", text);
    const auto io = boost::make_shared<CountingIO>();
    OnCountingIO handle(io, document, root);
    Handle element =
        handle.AddFileContentProperty(WIDE("f"), WIDE("t"), WidePath(dir / "utf8.txt"));
    EXPECT_EQ(io->textNodes, (std::vector<std::size_t>{9'999'999, 5}));
    EXPECT_EQ(element.GetContent().substr(9'999'999), WIDE("\u00E9tail"));
}
#endif

class FileContentTest : public classxml::testing::DocumentFixture {
protected:
    TempDir dir;
};

TEST_F(FileContentTest, MarkupRoundTripsThroughSaveAndRead) {
    WriteFile(dir / "markup.txt", "<a href=\"x&y\">]]> & </a>\n'");
    Handle element =
        typed.AddFileContentProperty(WIDE("file"), WIDE("text"), WidePath(dir / "markup.txt"));
    ASSERT_TRUE(element.IsDefined());
    ASSERT_TRUE(typed.SaveToFile(WidePath(dir / "doc.xml")));

    Handle reader = NewHandle();
    ASSERT_TRUE(reader.ReadFromFile(WidePath(dir / "doc.xml")));
    WideChar* text = nullptr;
    std::size_t length = 0;
    ASSERT_TRUE(reader.GetFirstSubElement(WIDE("file"))
                    .GetAlpTStringProperty(WIDE("file"), WIDE("text"), &text, length));
    // Text content comes back with Windows line ends.
    EXPECT_EQ(CBasicStringView<WideChar>(text, length),
              CBasicStringView<WideChar>(WIDE("<a href=\"x&y\">]]> & </a>\r\n'")));
    Handle::FreeMemory(&text);
    reader.ReleaseDocument();
}

TEST_F(FileContentTest, EmptyFileGivesAnEmptyElement) {
    WriteFile(dir / "empty.txt", "");
    EXPECT_TRUE(typed.AddFileContentProperty(WIDE("f"), WIDE("t"), WidePath(dir / "empty.txt"))
                    .IsDefined());
    EXPECT_EQ(Body(typed), "<Root><f keytype=\"t\"/></Root>");
}

TEST_F(FileContentTest, Utf16FileIsReadWithoutItsMark) {
    WriteFile(dir / "wide.txt", std::string("\xFF\xFEh\0i\0", 6));
    EXPECT_EQ(
        untyped.AddFileContentProperty(WIDE("f"), {}, WidePath(dir / "wide.txt")).GetContent(),
        WIDE("hi"));
}

TEST_F(FileContentTest, MissingFileChangesNothing) {
    Handle failed = typed.AddFileContentProperty(WIDE("f"), WIDE("t"), WidePath(dir / "none.txt"));
    EXPECT_FALSE(failed.IsDefined());
    EXPECT_EQ(failed.GetLoggingFile(), log);
    EXPECT_EQ(Body(typed), "<Root/>");
}

} // namespace
