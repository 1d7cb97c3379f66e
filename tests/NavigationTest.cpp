// Walking a read document and querying its elements through the handle.
#include <vector>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "support/Engine.h"

namespace {

using Handle = CXMLClassReaderWriter;
using View = Handle::View;

class NullLog : public CLoggingFile {
public:
    NullLog() : CLoggingFile(0) {}
};

class NavigationTest : public classxml::testing::EngineTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.ReadFromString(
            CBasicStringView<char>("<r><a n=\"1\"/>text<b/><a n=\"2\">x<!-- c --><a "
                                   "n=\"inner\"/></a><ab/><a n=\"3\"/></r>")));
    }
    void TearDown() override { root.ReleaseDocument(); }

    boost::shared_ptr<CLoggingFile> log = boost::make_shared<NullLog>();
    Handle root{log, Handle::XMLIOTYPE_XERCES, true};
};

std::vector<CBasicString<WideChar>> Visit(Handle parent, View name) {
    std::vector<CBasicString<WideChar>> visited;
    Handle item = parent.GetFirstSubElement(name);
    for (; item.IsDefined(); item = item.GetNextElement(name)) {
        visited.emplace_back(item.GetElementName());
        visited.back() += item.GetAttributeValue(WIDE("n"));
    }
    EXPECT_EQ(item.GetLoggingFile(), nullptr); // the loop ends on an object that carries nothing
    EXPECT_FALSE(item.IsDocumentCreated());
    return visited;
}

TEST_F(NavigationTest, IterationVisitsNamedChildrenInDocumentOrder) {
    using Names = std::vector<CBasicString<WideChar>>;
    EXPECT_EQ(Visit(root, WIDE("a")), (Names{WIDE("a1"), WIDE("a2"), WIDE("a3")}));
    EXPECT_EQ(Visit(root, View()),
              (Names{WIDE("a1"), WIDE("b"), WIDE("a2"), WIDE("ab"), WIDE("a3")}));
    EXPECT_TRUE(Visit(root, WIDE("missing")).empty());

    Handle first = root.GetFirstSubElement();
    EXPECT_EQ(first.GetElementName(), View(WIDE("a")));
    EXPECT_EQ(first.GetLoggingFile(), log);            // found elements share the logging object
    EXPECT_EQ(root.GetElementName(), View(WIDE("r"))); // the handle itself did not move
}

TEST_F(NavigationTest, RootAndParentFailuresKeepTheLoggingObject) {
    Handle parentOfRoot = root.GetParentElement();
    EXPECT_FALSE(parentOfRoot.IsDefined());
    EXPECT_EQ(parentOfRoot.GetLoggingFile(), log);

    Handle second = root.GetFirstSubElement(WIDE("a")).GetNextElement(WIDE("a"));
    Handle inner = second.GetFirstSubElement(WIDE("a"));
    EXPECT_EQ(inner.GetAttributeValue(WIDE("n")), View(WIDE("inner")));
    EXPECT_EQ(inner.GetParentElement().GetAttributeValue(WIDE("n")), View(WIDE("2")));
    EXPECT_EQ(inner.GetRoot().GetElementName(), View(WIDE("r")));

    Handle detached(log, Handle::XMLIOTYPE_XERCES, true);
    Handle noRoot = detached.GetRoot();
    EXPECT_FALSE(noRoot.IsDefined());
    EXPECT_EQ(noRoot.GetLoggingFile(), log);
    EXPECT_EQ(detached.GetFirstSubElement().GetLoggingFile(), nullptr);
}

TEST_F(NavigationTest, ContentSkipsChildElementsAndComments) {
    Handle second = root.GetFirstSubElement(WIDE("a")).GetNextElement(WIDE("a"));
    EXPECT_EQ(second.GetContent(), WIDE("x"));
    EXPECT_EQ(root.GetContent(), WIDE("text"));
}

TEST_F(NavigationTest, QueryCachesAreReusedAndEmptiedWithoutBackEnd) {
    Handle first = root.GetFirstSubElement();
    const View& value = first.GetAttributeValue(WIDE("n"));
    EXPECT_EQ(value, View(WIDE("1")));
    const View& again = first.GetAttributeValue(WIDE("missing"));
    EXPECT_EQ(&value, &again);
    EXPECT_TRUE(value.empty());
    EXPECT_TRUE(first.HasAttribute(WIDE("n")));
    EXPECT_FALSE(first.HasAttribute(WIDE("m")));
    EXPECT_TRUE(first.HasAttributes());
    EXPECT_FALSE(root.HasAttributes());

    Handle copy = root;
    EXPECT_EQ(copy.GetContent(), WIDE("text"));
    copy.ReleaseDocument(); // frees the shared document and empties the copy's back end
    EXPECT_TRUE(copy.GetContent().empty());
    EXPECT_TRUE(copy.GetElementName().empty());
    EXPECT_FALSE(copy.HasAttributes());
    ASSERT_TRUE(root.ReadFromString(CBasicStringView<char>("<again/>"))); // for TearDown
}

} // namespace
