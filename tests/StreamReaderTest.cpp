// The stream reader agrees with the DOM readers: same acceptance, same tree, same text, the
// same validity verdicts and diagnostics.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "stream/StreamReader.h"
#include "support/Document.h"
#include "support/GeneratedDocuments.h"
#include "support/TempDir.h"
#include "support/TreeText.h"
#include "xmlio/XercesIO.h"

namespace {

using Handle = CXMLClassReaderWriter;
using classxml::StreamReader;
using classxml::testing::TreeOf;
using classxml::testing::WidePath;
using classxml::testing::WriteFile;
using Event = StreamReader::Event;

class StreamReaderTest : public classxml::testing::EngineTest {
protected:
    void SetUp() override {
        WriteFile(dir / "r.dtd", "<!ELEMENT r (p*)>\n<!ELEMENT p (#PCDATA)>\n"
                                 "<!ATTLIST p keytype CDATA #IMPLIED kind CDATA 'plain'>\n"
                                 "<!ENTITY e 'expanded &amp; more'>\n");
        // Every element the generated documents use, so that those naming it are valid.
        std::string any;
        for (const char* name : {"Project", "a", "item", "Sensor", "x.y", "ns:name", "_u", "été"})
            any += std::string("<!ELEMENT ") + name + " ANY><!ATTLIST " + name +
                   " keytype CDATA #IMPLIED varkeytype CDATA #IMPLIED vartype CDATA #IMPLIED"
                   " varname CDATA #IMPLIED>\n";
        WriteFile(dir / "doc.dtd", any);
        Handle::SetDtdDirectory(WidePath(dir.Path()), Handle::XMLIOTYPE_XERCES);
    }
    void TearDown() override { Handle::SetDtdDirectory({}, Handle::XMLIOTYPE_XERCES); }

    // Both readers on the same document: whether each accepted it, their diagnostics, and the
    // tree when both accepted it.
    template <class Parse, class Open>
    void ExpectSame(const std::string& xml, Parse parse, Open open) {
        CXercesIO dom;
        xercesc::DOMDocument* document = parse(dom);
        const std::vector<classxml::Diagnostic> domDiagnostics = classxml::LastDiagnostics();
        StreamReader reader;
        open(reader);
        const auto streamed = TreeOf(reader);
        ASSERT_EQ(document != nullptr, streamed.has_value()) << xml;
        EXPECT_EQ(Lines(classxml::LastDiagnostics()), Lines(domDiagnostics)) << xml;
        if (!document) return;
        EXPECT_TRUE(TreeOf(*document) == *streamed) << xml;
        dom.ReleaseDocument(document);
    }

    void ExpectSameFromFile(const std::string& xml) {
        WriteFile(dir / "doc.xml", xml);
        const auto path = WidePath(dir / "doc.xml");
        ExpectSame(
            xml, [&](CXercesIO& dom) { return dom.ParseFile(path); },
            [&](StreamReader& reader) { reader.OpenFile(path); });
    }

    void ExpectSameFromString(const std::string& xml) {
        const CBasicStringView<char8_t> utf8(reinterpret_cast<const char8_t*>(xml.data()),
                                             xml.size());
        ExpectSame(
            xml, [&](CXercesIO& dom) { return dom.ParseUTF8String(utf8); },
            [&](StreamReader& reader) { reader.OpenString(utf8); });
    }

    static std::vector<std::string> Lines(const std::vector<classxml::Diagnostic>& diagnostics) {
        std::vector<std::string> lines;
        for (const auto& d : diagnostics)
            lines.push_back(std::to_string(int(d.severity)) + " " + d.source + ":" +
                            std::to_string(d.line) + ":" + std::to_string(d.column) + " " +
                            d.message);
        return lines;
    }

    classxml::testing::TempDir dir;
};

// Every generated document, saved by the DOM, reads the same from a string and from a file.
TEST_F(StreamReaderTest, AgreesWithTheDomReadersOnGeneratedDocuments) {
    for (unsigned seed = 1; seed <= 150; ++seed) {
        const classxml::testing::GeneratedDocument generated(seed);
        Handle dom = NewHandle(generated.typeCheck);
        std::vector<bool> accepted;
        generated.Play(dom, accepted);
        char* xml = nullptr;
        unsigned long long length = 0;
        ASSERT_TRUE(dom.SaveToString(&xml, length, true));
        const std::string text(xml, length);
        Handle::FreeMemory(&xml);
        dom.ReleaseDocument();
        ExpectSameFromString(text);
        ExpectSameFromFile(text);
    }
}

// Validation as ReadFromFile validates: defaults from the DTD, entities, the same verdicts and
// the same error lines; and the same limits and refusals.
TEST_F(StreamReaderTest, ValidatesAndRefusesAsTheDomReadersDo) {
    const std::string head = "<!DOCTYPE r SYSTEM \"r.dtd\">";
    for (const std::string& xml : {
             head + "<r><p keytype=\"int\">1</p><p>&e;</p><p><![CDATA[<x>]]>&#xD;y</p></r>",
             head + "<r><p><q/></p><other/></r>",                 // invalid twice
             head + "<r><p>unclosed</r>",                         // not well-formed
             std::string("<!DOCTYPE r SYSTEM \"../r.dtd\"><r/>"), // refused
             std::string("<!DOCTYPE r SYSTEM \"missing.dtd\"><r/>"),
             std::string("<r>kept</r>\0<b>dropped</b>", 27), // content after the root
             std::string("<r>") + std::string(300, 'x') + "</r>",
         }) {
        ExpectSameFromFile(xml);
        ExpectSameFromString(xml);
    }
    std::string deep;
    for (int i = 0; i < 300; ++i)
        deep += "<d>";
    ExpectSameFromString(deep);
    ExpectSameFromString("<!DOCTYPE r [<!ENTITY a '0123456789'><!ENTITY b '&a;&a;&a;&a;&a;&a;'>"
                         "<!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;'><!ENTITY d '&c;&c;&c;&c;&c;&c;'>"
                         "<!ENTITY f '&d;&d;&d;&d;&d;&d;&d;'>]><r>&f;&f;&f;&f;&f;&f;&f;</r>");
}

// The events themselves: names, attributes, depth, text, and skipping a subtree.
TEST_F(StreamReaderTest, DeliversEventsAndSkipsSubtrees) {
    const std::string xml = "<r a=\"1\" c=\"2\" d=\"3\" e=\"4\" "
                            "f=\"5\"><skip><x>deep</x>text</skip><p k=\"v\">a&amp;b<![CDATA[c]]>"
                            "</p><e/></r>";
    StreamReader reader;
    ASSERT_TRUE(reader.OpenString(
        CBasicStringView<char8_t>(reinterpret_cast<const char8_t*>(xml.data()), xml.size())));
    ASSERT_EQ(reader.Next(), Event::StartElement);
    EXPECT_TRUE(reader.Name() == CBasicStringView<WideChar>(WIDE("r")));
    EXPECT_TRUE(reader.Attribute(WIDE("a")) == CBasicStringView<WideChar>(WIDE("1")));
    EXPECT_TRUE(reader.Attribute(WIDE("f")) == CBasicStringView<WideChar>(WIDE("5")));
    EXPECT_TRUE(reader.AttributeName(4) == CBasicStringView<WideChar>(WIDE("f")));
    EXPECT_FALSE(reader.Attribute(WIDE("b")).has_value());
    ASSERT_EQ(reader.Next(), Event::StartElement);
    EXPECT_EQ(reader.Depth(), 2u);
    ASSERT_TRUE(reader.Skip());
    EXPECT_TRUE(reader.Name() == CBasicStringView<WideChar>(WIDE("skip")));
    EXPECT_EQ(reader.Depth(), 1u);
    ASSERT_EQ(reader.Next(), Event::StartElement);
    ASSERT_EQ(reader.Next(), Event::Text);
    EXPECT_TRUE(reader.Text() == CBasicStringView<WideChar>(WIDE("a&bc")));
    EXPECT_EQ(reader.Next(), Event::EndElement);
    EXPECT_EQ(reader.Next(), Event::StartElement); // <e/> is a start and an end
    EXPECT_EQ(reader.Next(), Event::EndElement);
    EXPECT_EQ(reader.Next(), Event::EndElement);
    EXPECT_EQ(reader.Next(), Event::End);
    EXPECT_EQ(reader.Next(), Event::End);
    StreamReader unopened;
    EXPECT_EQ(unopened.Next(), Event::Error);
    EXPECT_FALSE(unopened.OpenString(CBasicStringView<WideChar>()));
}

} // namespace
