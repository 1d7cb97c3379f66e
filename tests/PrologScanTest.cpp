// The prolog scans of CVFile on a small XML file.
#include <gtest/gtest.h>

#include "classxml/basicio/VFile.h"
#include "support/TempDir.h"

namespace {

using Pos = FILE_CHAR_POS;

class PrologScanTest : public ::testing::Test {
protected:
    void SetUp() override {
        classxml::testing::WriteFile(dir / "doc.xml",
                                     "  <?xml version = '1.0' encoding=\"UTF-8\"?>\n"
                                     "<!DOCTYPE Root SYSTEM \"root.dtd\">\n<!-- <Fake> -->\n"
                                     "<Root a=\"1\">\n  <First x='y z'/>\n</Root>\n");
        file.Open(classxml::testing::WidePath(dir / "doc.xml"), 0x0804);
    }
    classxml::testing::TempDir dir;
    CVFile file;
    CBasicString<WideChar> text;
};

TEST_F(PrologScanTest, XmlVersion) {
    EXPECT_EQ(file.GetXMLVersion(text).get(), 19);
    EXPECT_EQ(text, WIDE("1.0"));
}

TEST_F(PrologScanTest, DocType) {
    EXPECT_EQ(file.GetDocType(text).get(), 53);
    EXPECT_EQ(text, WIDE("Root"));
}

TEST_F(PrologScanTest, RootElementSkipsDeclarationsAndComments) {
    EXPECT_EQ(file.GetRootElement(text).get(), 93);
    EXPECT_EQ(text, WIDE("Root"));
}

TEST_F(PrologScanTest, FirstInstanceElement) {
    EXPECT_EQ(file.GetFirstInstanceElementName(text).get(), 108);
    EXPECT_EQ(text, WIDE("First"));
    EXPECT_EQ(file.GetFirstInstanceElementNameStartAt(Pos(109), text).get(), -1);
    EXPECT_TRUE(text.empty());
}

TEST_F(PrologScanTest, Tokens) {
    const TokenFlags any = BasicStringDef::token_name | BasicStringDef::token_quoted |
                           BasicStringDef::token_punctuation;
    EXPECT_EQ(file.FindToken(Pos(114), any, text).get(), 115); // the blank is skipped
    EXPECT_EQ(text, WIDE("x"));
    EXPECT_EQ(file.FindToken(Pos(116), any, text).get(), 116);
    EXPECT_EQ(text, WIDE("="));
    EXPECT_EQ(file.FindToken(Pos(117), BasicStringDef::token_quoted, text).get(), 117);
    EXPECT_EQ(text, WIDE("y z"));
    EXPECT_EQ(file.FindToken(Pos(117), BasicStringDef::token_name, text).get(), -1);
}

TEST_F(PrologScanTest, StringBetween) {
    EXPECT_EQ(file.FindStringBetween(WIDE("<First"), WIDE("/>"), Pos(0), text).get(), 114);
    EXPECT_EQ(text, WIDE(" x='y z'"));
    EXPECT_EQ(file.FindStringBetween(WIDE("<None"), WIDE(">"), Pos(0), text).get(), -1);
}

} // namespace
