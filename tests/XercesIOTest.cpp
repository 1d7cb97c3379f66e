// The back end's element, attribute, content and navigation operations on a DOM that the test
// builds with Xerces itself.
#include <gtest/gtest.h>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>

#include "support/XercesDocument.h"
#include "classxml/xmlio/XercesIO.h"

using namespace xercesc;
using View = CXMLIO::View;

namespace {

class XercesIOTest : public classxml::testing::XercesDocumentTest {
protected:
    CXercesIO io;
};

TEST_F(XercesIOTest, NameSearchesMatchExactlyAndInOrder) {
    Child(WIDE("Items"));
    Child(WIDE("item"));
    DOMElement* first = Child(WIDE("Item"));
    Child(WIDE("Other"));
    DOMElement* second = Child(WIDE("Item"));

    EXPECT_EQ(io.FindFirstChildElement(root, WIDE("Item")), first);
    EXPECT_EQ(io.FindNextSiblingElement(first, WIDE("Item")), second);
    EXPECT_EQ(io.FindNextSiblingElement(second, WIDE("Item")), nullptr);
    EXPECT_EQ(io.FindFirstChildElement(root, WIDE("Ite")), nullptr);
    EXPECT_EQ(io.FindFirstChildElement(root, View()), nullptr);
    EXPECT_EQ(io.GetNextSiblingElement(first)->getTagName(), CBasicString<WideChar>(WIDE("Other")));
    EXPECT_EQ(io.FindFirstChildElement(nullptr, WIDE("Item")), nullptr);
}

TEST_F(XercesIOTest, ContentExpandsLineFeedsOfTextOnlyAndSkipsOtherNodes) {
    DOMElement* element = Child(WIDE("e"));
    element->appendChild(document->createTextNode(WIDE("a\nb")));
    element->appendChild(document->createCDATASection(WIDE("c\nd")));
    DOMElement* grandChild = document->createElement(WIDE("g"));
    grandChild->appendChild(document->createTextNode(WIDE("skipped")));
    element->appendChild(grandChild);
    element->appendChild(document->createComment(WIDE("skipped too")));
    element->appendChild(document->createTextNode(WIDE("\n")));

    EXPECT_EQ(io.GetContent(element), CBasicString<WideChar>(WIDE("a\r\nbc\nd\r\n")));
    EXPECT_EQ(io.GetContent(grandChild), CBasicString<WideChar>(WIDE("skipped")));
}

TEST_F(XercesIOTest, AppendsRefuseNullAndSelf) {
    DOMElement* element = Child(WIDE("e"));
    EXPECT_FALSE(io.AppendChildElement(document, element, element));
    EXPECT_EQ(element->getFirstChild(), nullptr);
    EXPECT_FALSE(io.AppendChildElement(document, nullptr, element));
    EXPECT_FALSE(io.AppendTextContent(nullptr, element, WIDE("x")));
    EXPECT_FALSE(io.AppendCDATAContent(document, nullptr, WIDE("x")));

    DOMElement* child = io.CreateElement(document, WIDE("child"));
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->getParentNode(), nullptr);
    EXPECT_TRUE(io.AppendChildElement(nullptr, element, child));
    EXPECT_EQ(io.GetParentElement(child), element);
    EXPECT_TRUE(io.AppendTextContent(document, child, View()));
    EXPECT_TRUE(io.GetContent(child).empty());
}

TEST_F(XercesIOTest, ParentOfTheRootIsNotAnElement) {
    EXPECT_EQ(io.GetRootElement(document), root);
    EXPECT_EQ(io.GetParentElement(root), nullptr);
    EXPECT_EQ(io.GetParentElement(nullptr), nullptr);
    EXPECT_EQ(io.GetRootElement(nullptr), nullptr);
}

TEST_F(XercesIOTest, AttributesMissingReadAsEmpty) {
    EXPECT_FALSE(io.HasAttributes(root));
    EXPECT_TRUE(io.GetAttribute(root, WIDE("a")).empty());
    EXPECT_FALSE(io.HasAttribute(root, WIDE("a")));

    EXPECT_TRUE(io.SetAttribute(nullptr, root, WIDE("a"), WIDE("1")));
    EXPECT_TRUE(io.SetAttribute(nullptr, root, WIDE("a"), WIDE("2")));
    EXPECT_TRUE(io.SetAttribute(nullptr, root, WIDE("empty"), View()));
    EXPECT_TRUE(io.HasAttributes(root));
    EXPECT_EQ(io.GetAttribute(root, WIDE("a")), View(WIDE("2")));
    EXPECT_TRUE(io.HasAttribute(root, WIDE("empty")));
    EXPECT_TRUE(io.GetAttribute(root, WIDE("empty")).empty());
    EXPECT_EQ(io.GetElementName(root), View(WIDE("root")));

    EXPECT_FALSE(io.SetAttribute(document, nullptr, WIDE("a"), WIDE("1")));
    EXPECT_FALSE(io.HasAttributes(nullptr));
    EXPECT_FALSE(io.HasAttribute(nullptr, WIDE("a")));
    EXPECT_TRUE(io.GetElementName(nullptr).empty());
}

TEST_F(XercesIOTest, ReplaceAndRemoveOnlyTouchRealChildren) {
    DOMElement* child = Child(WIDE("child"));
    DOMElement* stranger = document->createElement(WIDE("stranger"));
    DOMElement* replacement = document->createElement(WIDE("replacement"));

    EXPECT_EQ(io.ReplaceChildElement(root, stranger, replacement), nullptr);
    EXPECT_EQ(io.ReplaceChildElement(root, child, nullptr), nullptr);
    EXPECT_FALSE(io.RemoveFirstChildElement(document, root, WIDE("stranger")));
    EXPECT_FALSE(io.RemoveFirstChildElement(document, nullptr, WIDE("child")));

    EXPECT_EQ(io.ReplaceChildElement(root, child, replacement), child);
    EXPECT_EQ(child->getParentNode(), nullptr);
    EXPECT_EQ(io.GetFirstChildElement(root), replacement);
    EXPECT_TRUE(io.RemoveFirstChildElement(document, root, WIDE("replacement")));
    EXPECT_EQ(io.GetFirstChildElement(root), nullptr);
}

TEST_F(XercesIOTest, InvalidNamesRaiseTheDomException) {
    EXPECT_THROW(io.CreateElement(document, WIDE("two words")), DOMException);
    EXPECT_THROW(io.CreateElement(document, WIDE("1st")), DOMException);
    EXPECT_THROW(io.SetAttribute(document, root, WIDE("bad name"), WIDE("v")), DOMException);
    EXPECT_EQ(io.CreateElement(nullptr, WIDE("fine")), nullptr);
}

// Serialises with the split-CDATA setting on and parses the text back.
CBasicString<WideChar> SaveAndReadContent(DOMDocument* document) {
    auto* implementation = DOMImplementationRegistry::getDOMImplementation(WIDE("LS"));
    DOMLSSerializer* serializer = implementation->createLSSerializer();
    serializer->getDomConfig()->setParameter(XMLUni::fgDOMWRTSplitCdataSections, true);
    DOMLSOutput* output = implementation->createLSOutput();
    MemBufFormatTarget target;
    output->setByteStream(&target);
    serializer->write(document, output);
    output->release();
    serializer->release();

    MemBufInputSource source(target.getRawBuffer(), target.getLen(), "cdata");
    XercesDOMParser parser;
    parser.parse(source);
    CXercesIO io;
    DOMElement* element = parser.getDocument()->getDocumentElement()->getFirstElementChild();
    return io.GetContent(element);
}

TEST_F(XercesIOTest, CdataHoldingTheEndMarkerSurvivesSaveAndRead) {
    for (const View text : {View(WIDE("x]]>y")), View(WIDE("]]>]]>")), View(WIDE("a]]")),
                            View(WIDE("]]]>>")), View(WIDE("plain"))}) {
        DOMElement* element = Child(WIDE("c"));
        ASSERT_TRUE(io.AppendCDATAContent(document, element, text));
        EXPECT_EQ(io.GetContent(element), text);
        EXPECT_EQ(SaveAndReadContent(document), text);
        root->removeChild(element)->release();
    }
}

} // namespace
