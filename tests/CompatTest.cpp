// Whether a newer DTD accepts every document of an older one: verdicts on pairs of DTDs, and
// each example the check prints is a document the older DTD takes and the newer refuses, for
// the library's validator and for xmllint where it is installed.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/compat/Compatibility.h"
#include "classxml/compat/Expectation.h"
#include "support/TempDir.h"
#include "support/Validators.h"

namespace {

using Handle = CXMLClassReaderWriter;
using classxml::testing::WriteFile;

class CompatTest : public ::testing::Test {
protected:
    void SetUp() override {
        Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
        Handle::SetDtdDirectory(classxml::testing::WidePath(dir.Path()), Handle::XMLIOTYPE_XERCES);
    }
    void TearDown() override {
        Handle::SetDtdDirectory({}, Handle::XMLIOTYPE_XERCES);
        Handle::UninitXMLEngine(Handle::XMLIOTYPE_XERCES);
    }

    classxml::dtd_declarations::Declarations Read(const std::string& name, const std::string& dtd) {
        WriteFile(dir / name, dtd);
        classxml::dtd_declarations::Declarations declarations;
        std::string problem;
        EXPECT_TRUE(classxml::dtd_declarations::Read(classxml::testing::WidePath(dir / name),
                                                     declarations, problem))
            << problem;
        return declarations;
    }

    // "RX" when the library's validator and xmllint take `element` as a document of `dtd`, a
    // dash for each that refuses it; xmllint only where it is installed.
    std::string Verdicts(const std::string& root, const std::string& element,
                         const std::string& dtd) {
        const auto file = dir / "example.xml";
        WriteFile(file, "<?xml version=\"1.0\"?>\n<!DOCTYPE " + root + " SYSTEM \"" + dtd +
                            "\">\n" + element + "\n");
        return classxml::testing::ReadVerdict(file) + classxml::testing::XmllintVerdict(file);
    }

    classxml::testing::TempDir dir;
};

TEST_F(CompatTest, EachLossIsFoundWithADocumentTheOlderTakesAndTheNewerRefuses) {
    const std::string leaves = "<!ELEMENT a (#PCDATA)><!ELEMENT b EMPTY><!ELEMENT c (a)>\n";
    struct Case {
        std::string older, newer;
        std::string loss; // the start of the first loss's reason; empty when compatible
    };
    const std::vector<Case> cases = {
        // content models as languages over child names
        {"<!ELEMENT e (a,b)>", "<!ELEMENT e ((a|c),b,a?)>", ""},
        {"<!ELEMENT e (a,b)>", "<!ELEMENT e (a*,b+)>", ""},
        {"<!ELEMENT e (a,a?)>", "<!ELEMENT e (a+)>", ""},
        {"<!ELEMENT e (a+)>", "<!ELEMENT e (a,a?)>", "the children (a, a, a)"},
        {"<!ELEMENT e (a|b)*>", "<!ELEMENT e (a*,b*)>", "the children (b, a)"},
        {"<!ELEMENT e (a,b?)>", "<!ELEMENT e (a,b)>", "the children (a)"},
        {"<!ELEMENT e (c)>", "<!ELEMENT e (a)>", "the children (c)"},
        {"<!ELEMENT e (a?)>", "<!ELEMENT e (a)>", "no children"},
        // text, EMPTY and ANY
        {"<!ELEMENT e EMPTY>", "<!ELEMENT e (#PCDATA)>", ""},
        {"<!ELEMENT e (#PCDATA)>", "<!ELEMENT e EMPTY>", "text is refused"},
        {"<!ELEMENT e (a?)>", "<!ELEMENT e EMPTY>", "white space between"},
        {"<!ELEMENT e (#PCDATA|a)*>", "<!ELEMENT e (#PCDATA|a|b)*>", ""},
        {"<!ELEMENT e (#PCDATA|a|b)*>", "<!ELEMENT e (#PCDATA|a)*>", "the children (b)"},
        {"<!ELEMENT e (#PCDATA|a)*>", "<!ELEMENT e ANY>", ""},
        {"<!ELEMENT e ANY>", "<!ELEMENT e (#PCDATA|a|b|c)*>", "the children (e)"},
        {"<!ELEMENT e (a)>", "", "no longer declared"},
        // attributes
        {"<!ELEMENT e EMPTY><!ATTLIST e n CDATA #IMPLIED>", "<!ELEMENT e EMPTY>",
         "the attribute n is no longer declared"},
        {"<!ELEMENT e EMPTY>", "<!ELEMENT e EMPTY><!ATTLIST e n CDATA #REQUIRED>",
         "the attribute n is now required"},
        {"<!ELEMENT e EMPTY><!ATTLIST e n CDATA #FIXED 'v'>",
         "<!ELEMENT e EMPTY><!ATTLIST e n CDATA #REQUIRED>", "the attribute n is now required"},
        {"<!ELEMENT e EMPTY>", "<!ELEMENT e EMPTY><!ATTLIST e n CDATA #IMPLIED>", ""},
        {"<!ELEMENT e EMPTY><!ATTLIST e n (x|y) 'x'>",
         "<!ELEMENT e EMPTY><!ATTLIST e n (x|y|z) #IMPLIED>", ""},
        {"<!ELEMENT e EMPTY><!ATTLIST e n (x|y) 'x'>", "<!ELEMENT e EMPTY><!ATTLIST e n (x) 'x'>",
         "the attribute n refuses the value \"y\""},
        {"<!ELEMENT e EMPTY><!ATTLIST e n (x|y) 'x'>",
         "<!ELEMENT e EMPTY><!ATTLIST e n NMTOKEN #IMPLIED>", ""},
        {"<!ELEMENT e EMPTY><!ATTLIST e n CDATA #IMPLIED>",
         "<!ELEMENT e EMPTY><!ATTLIST e n NMTOKENS #IMPLIED>", "the attribute n refuses"},
        {"<!ELEMENT e EMPTY><!ATTLIST e n NMTOKENS #IMPLIED>",
         "<!ELEMENT e EMPTY><!ATTLIST e n NMTOKEN #IMPLIED>",
         "the attribute n refuses the value \"x y\""},
        {"<!ELEMENT e EMPTY><!ATTLIST e n NMTOKEN #IMPLIED>",
         "<!ELEMENT e EMPTY><!ATTLIST e n (x0|x1) #IMPLIED>", "the attribute n refuses"},
        {"<!ELEMENT e EMPTY><!ATTLIST e n CDATA #IMPLIED>",
         "<!ELEMENT e EMPTY><!ATTLIST e n CDATA #FIXED 'v'>", "the attribute n refuses"},
        {"<!ELEMENT e EMPTY><!ATTLIST e n CDATA #FIXED 'v'>",
         "<!ELEMENT e EMPTY><!ATTLIST e n (v|w) #IMPLIED>", ""},
        // a required attribute of a child shows in the examples
        {"<!ELEMENT e (d)><!ELEMENT d EMPTY><!ATTLIST d k CDATA #REQUIRED>",
         "<!ELEMENT e (d,d)><!ELEMENT d EMPTY><!ATTLIST d k CDATA #REQUIRED>", "the children (d)"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.older + "  ->  " + test.newer);
        const auto older = Read("old.dtd", leaves + test.older);
        const auto newer = Read("new.dtd", leaves + test.newer);
        const auto losses = classxml::compat::Compare(older, newer);
        if (test.loss.empty()) {
            EXPECT_TRUE(losses.empty()) << losses.front().element << ": " << losses.front().what;
            continue;
        }
        ASSERT_FALSE(losses.empty());
        EXPECT_EQ(losses.front().what.rfind(test.loss, 0), 0u) << losses.front().what;
        for (const auto& loss : losses) {
            SCOPED_TRACE(loss.example);
            const std::string takes = Verdicts(loss.element, loss.example, "old.dtd");
            EXPECT_EQ(takes.find('-'), std::string::npos) << takes;
            EXPECT_EQ(Verdicts(loss.element, loss.example, "new.dtd"),
                      std::string(takes.size(), '-'));
        }
    }
}

TEST_F(CompatTest, WhatItDoesNotCompareOrCannotReadIsRefused) {
    WriteFile(dir / "broken.dtd", "<!ELEMENT e (a,>");
    classxml::dtd_declarations::Declarations declarations;
    std::string problem;
    EXPECT_FALSE(classxml::dtd_declarations::Read(classxml::testing::WidePath(dir / "broken.dtd"),
                                                  declarations, problem));
    EXPECT_EQ(problem.rfind("line 1, column", 0), 0u) << problem;
    EXPECT_FALSE(classxml::dtd_declarations::Read(classxml::testing::WidePath(dir / "none.dtd"),
                                                  declarations, problem));
    const auto plain = Read("plain.dtd", "<!ELEMENT e EMPTY>");
    for (const std::string dtd :
         {"<!ELEMENT e EMPTY><!ENTITY x 'y'>", "<!ELEMENT e EMPTY><!NOTATION n SYSTEM 'n'>"}) {
        const auto other = Read("other.dtd", dtd);
        EXPECT_THROW(classxml::compat::Compare(plain, other), std::invalid_argument) << dtd;
        EXPECT_THROW(classxml::compat::Compare(other, plain), std::invalid_argument) << dtd;
    }
}

TEST_F(CompatTest, ParameterEntitiesAreExpandedFromBesideTheDtd) {
    WriteFile(dir / "parts.ent", "<!ELEMENT a EMPTY><!ELEMENT b EMPTY>");
    const auto older = Read("old.dtd", "<!ENTITY % parts SYSTEM 'parts.ent'> %parts;"
                                       "<!ENTITY % list '(a,b)'><!ELEMENT e %list;>");
    const auto newer = Read("new.dtd", "<!ELEMENT a EMPTY><!ELEMENT b EMPTY><!ELEMENT e (a,b?)>");
    EXPECT_TRUE(classxml::compat::Compare(older, newer).empty());
    EXPECT_EQ(classxml::compat::Compare(newer, older).size(), 1u);
}

// The line a content model error gets: where the children first leave the model the parser
// quotes, what could have stood there and what did.
TEST(Expectation, SaysWhatTheModelExpectedWhereTheChildrenLeftIt) {
    const struct {
        std::string model;
        classxml::compat::ChildRuns children;
        std::string line; // empty: the children follow the model
    } cases[] = {
        {"(count,offset,name?)", {{"offset", 1}}, "Expected count, found offset"},
        {"(count,offset,name?)", {{"count", 1}}, "Expected offset, found the end of e"},
        {"(count,offset,name?)",
         {{"count", 1}, {"offset", 1}, {"x", 1}},
         "Expected name or the end of e, found x"},
        {"(count,offset,name?)", {{"count", 1}, {"offset", 1}}, ""},
        {"(a|b|c)+", {}, "Expected a, b or c, found the end of e"},
        {"(record*,end)", {{"record", 100000}, {"end", 1}}, ""},
        {"(record*,end)",
         {{"record", 100000}, {"other", 1}},
         "Expected record or end, found other"},
        {"(#PCDATA|a)*", {{"a", 2}, {"b", 1}}, "Expected a or the end of e, found b"},
        {"((a,b)|(a,c))", {{"a", 1}, {"d", 1}}, "Expected b or c, found d"},
    };
    for (const auto& c : cases) {
        const auto model = classxml::compat::ParseModel(c.model);
        ASSERT_TRUE(model) << c.model;
        EXPECT_EQ(classxml::compat::Expectation("e", *model, c.children), c.line) << c.model;
    }
    for (const char* broken : {"", "(", "(a,b", "(a,b|c)", "a)", "(a))", "(,a)"})
        EXPECT_FALSE(classxml::compat::ParseModel(broken)) << broken;
}

} // namespace
