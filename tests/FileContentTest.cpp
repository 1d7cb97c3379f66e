// A whole file as the content of one property element.
#include <vector>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "support/Document.h"
#include "support/TempDir.h"
#include "support/XercesDocument.h"
#include "xmlio/XercesIO.h"

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

TEST_F(FileContentSlices, SlicesNeverCutACharacter) {
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

class FileContentTest : public classxml::testing::DocumentFixture {
protected:
    TempDir dir;
};

TEST_F(FileContentTest, MarkupRoundTripsThroughSaveAndRead) {
    WriteFile(dir / "markup.txt", "<a href=\"x&y\">]]> & </a>\n\xC3\xA9");
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
              CBasicStringView<WideChar>(WIDE("<a href=\"x&y\">]]> & </a>\r\n\u00E9")));
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
