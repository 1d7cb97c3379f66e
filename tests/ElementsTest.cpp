// Building, attaching, replacing and removing elements through the handle.
#include <boost/make_shared.hpp>
#include <gtest/gtest.h>
#include <xercesc/dom/DOMException.hpp>

#include "support/Engine.h"

namespace {

using Handle = CXMLClassReaderWriter;
using View = Handle::View;
using classxml::testing::SaveUtf8;

const std::string kDeclaration = R"(<?xml version="1.0" encoding="UTF-8" standalone="no" ?>)";

class NullLog : public CLoggingFile {
public:
    NullLog() : CLoggingFile(0) {}
};

// Opens the protected element primitives.
class Editor : public Handle {
public:
    Editor(const Handle& handle) : Handle(handle) {}
    using Handle::AddElementAttributesContentAsCDATA;
    using Handle::AddElementAttributesContentAsUTF8;
};

class ElementsTest : public classxml::testing::EngineTest {
protected:
    void SetUp() override { ASSERT_TRUE(root.CreateDocument(WIDE("Root"), {}, {})); }
    void TearDown() override { root.ReleaseDocument(); }

    std::string Xml() { return SaveUtf8(root).substr(kDeclaration.size()); }

    boost::shared_ptr<CLoggingFile> log = boost::make_shared<NullLog>();
    Handle root{log, Handle::XMLIOTYPE_XERCES, true};
};

TEST_F(ElementsTest, WorkedExampleProducesTheDocumentedXml) {
    Handle shape = root.CreateClass(WIDE("Shape"), WIDE("s1"));
    ASSERT_TRUE(shape.IsDefined());
    Handle width = shape.AddElementAttributesContent(
        WIDE("Width"), {{WIDE("varname"), WIDE("w")}, {WIDE("keytype"), WIDE("int")}}, WIDE("12"));
    ASSERT_TRUE(width.IsDefined());
    shape.AddElementAttributesContent(WIDE("Height"), {}, WIDE("7"));
    EXPECT_EQ(SaveUtf8(root), kDeclaration + R"(<Root><Shape varname="s1">)"
                                             R"(<Width keytype="int" varname="w">12</Width>)"
                                             R"(<Height>7</Height></Shape></Root>)");
}

TEST_F(ElementsTest, EmptyContentAndMapsAddNothing) {
    root.AddElementAttributesContent(WIDE("a"), {}, {});
    root.AddElementAttributesContent(WIDE("b"), {{WIDE("k"), {}}});
    Editor(root).AddElementAttributesContentAsCDATA(WIDE("c"), {}, {});
    Editor(root).AddElementAttributesContentAsCDATA(WIDE("d"), {}, WIDE("<&>"));
    EXPECT_EQ(Xml(), R"(<Root><a/><b k=""/><c/><d><![CDATA[<&>]]></d></Root>)");
}

TEST_F(ElementsTest, UntypedHandlesWriteNoVariableName) {
    Handle untyped(log, Handle::XMLIOTYPE_XERCES, false);
    ASSERT_TRUE(untyped.CreateDocument(WIDE("Root"), {}, {}));
    untyped.CreateClass(WIDE("Shape"), WIDE("s1"));
    untyped.CreateClass(WIDE("Shape"));
    root.CreateClass(WIDE("Shape"), {});
    EXPECT_EQ(SaveUtf8(untyped).substr(kDeclaration.size()), "<Root><Shape/><Shape/></Root>");
    EXPECT_EQ(Xml(), "<Root><Shape/></Root>");
    untyped.ReleaseDocument();
}

TEST_F(ElementsTest, RejectedElementNamesThrowAndLeaveTheParentAlone) {
    Editor editor(root);
    EXPECT_THROW(root.AddElementAttributesContent(WIDE("bad name"), {}, WIDE("x")),
                 xercesc::DOMException);
    EXPECT_THROW(editor.AddElementAttributesContentAsCDATA(WIDE("1st"), {}, WIDE("x")),
                 xercesc::DOMException);
    EXPECT_THROW(root.CreateClass(WIDE("a b"), WIDE("v")), xercesc::DOMException);
    EXPECT_EQ(Xml(), "<Root/>");
}

TEST_F(ElementsTest, RejectedAttributeNamesDependOnTheOrderOfSteps) {
    EXPECT_THROW(
        root.AddElementAttributesContent(WIDE("text"), {{WIDE("bad name"), WIDE("v")}}, WIDE("x")),
        xercesc::DOMException);
    EXPECT_EQ(Xml(), "<Root/>"); // built completely before it is attached

    Editor editor(root);
    EXPECT_THROW(
        editor.AddElementAttributesContentAsCDATA(
            WIDE("cdata"), {{WIDE("a"), WIDE("1")}, {WIDE("bad name"), WIDE("v")}}, WIDE("x")),
        xercesc::DOMException);
    EXPECT_EQ(Xml(), R"(<Root><cdata a="1"/></Root>)"); // attached first, then filled
}

TEST_F(ElementsTest, Utf8ContentIsConvertedAndCutAtNul) {
    Editor editor(root);
    const char8_t bytes[] = u8"caf\u00E9\0hidden";
    Handle element = editor.AddElementAttributesContentAsUTF8(
        WIDE("u"), {}, CBasicStringView<char8_t>(bytes, sizeof bytes - 1));
    ASSERT_TRUE(element.IsDefined());
    EXPECT_EQ(element.GetContent(), WIDE("caf\u00E9"));
    editor.AddElementAttributesContentAsUTF8(WIDE("empty"), {}, {});
    EXPECT_EQ(Xml(), "<Root><u>caf\xC3\xA9</u><empty/></Root>");
}

TEST_F(ElementsTest, InsertSubDocumentAttachesDetachedOrMovedElements) {
    Handle detached = root.CreateElementAttributesContent(WIDE("d"), {{WIDE("k"), WIDE("v")}});
    EXPECT_TRUE(detached.IsDefined());
    EXPECT_EQ(Xml(), "<Root/>");

    EXPECT_FALSE(root.InsertSubDocument(root));
    EXPECT_FALSE(root.InsertSubDocument(root.GetFirstSubElement())); // the undefined object
    EXPECT_EQ(Xml(), "<Root/>");

    Handle holder = root.CreateClass(WIDE("holder"));
    EXPECT_TRUE(holder.InsertSubDocument(detached));
    EXPECT_TRUE(root.InsertSubDocument(detached)); // moves it
    EXPECT_TRUE(holder.AddAttributeValue(WIDE("x"), WIDE("1")));
    EXPECT_TRUE(holder.AddAttributeValue(WIDE("x"), WIDE("2")));
    EXPECT_TRUE(holder.InsertContent(WIDE("t")));
    EXPECT_EQ(Xml(), R"(<Root><holder x="2">t</holder><d k="v"/></Root>)");
    EXPECT_THROW(holder.InsertSubDocument(root), xercesc::DOMException); // a cycle
}

TEST_F(ElementsTest, ReplaceAndDeleteMissesFailQuietly) {
    Handle child = root.CreateClass(WIDE("child"));
    Handle other = root.CreateElementAttributesContent(WIDE("other"), {});
    Handle replacement = root.CreateElementAttributesContent(WIDE("replacement"), {});

    Handle miss = root.ReplaceSubElement(other, replacement); // not a child
    EXPECT_FALSE(miss.IsDefined());
    EXPECT_EQ(miss.GetLoggingFile(), log);
    EXPECT_FALSE(root.DeleteFirstSubElement(WIDE("other")));
    EXPECT_FALSE(child.ReplaceSubElement(child, replacement).IsDefined());

    Handle removed = root.ReplaceSubElement(child, replacement);
    ASSERT_TRUE(removed.IsDefined());
    EXPECT_EQ(removed.GetElementName(), View(WIDE("child")));
    EXPECT_FALSE(removed.GetParentElement().IsDefined());
    EXPECT_EQ(Xml(), "<Root><replacement/></Root>");
    EXPECT_TRUE(root.DeleteFirstSubElement(WIDE("replacement")));
    EXPECT_EQ(Xml(), "<Root/>");
}

TEST(AttributeMap, KeepsNamesUniqueAndAscending) {
    CAttributeMap map;
    EXPECT_TRUE(map.insert({WIDE("vartype"), WIDE("1")}).second);
    EXPECT_TRUE(map.emplace(WIDE("keytype"), WIDE("2")).second);
    EXPECT_FALSE(map.insert({WIDE("keytype"), WIDE("3")}).second);
    map[WIDE("varkeytype")] = WIDE("4");
    map[WIDE("key")] = WIDE("5");
    map[WIDE("vartype")] = WIDE("6");
    std::vector<CBasicString<WideChar>> order;
    for (const auto& [name, value] : map)
        order.emplace_back(CBasicString<WideChar>(name) + value.data());
    EXPECT_EQ(order, (std::vector<CBasicString<WideChar>>{WIDE("key5"), WIDE("keytype2"),
                                                          WIDE("varkeytype4"), WIDE("vartype6")}));
    EXPECT_EQ(map.count(WIDE("key")), 1u);
    EXPECT_EQ(map.find(WIDE("ke")), map.end());
}

} // namespace
