// The stream reader agrees with the DOM readers: same acceptance, same tree, same text, the
// same validity verdicts and diagnostics.
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "classxml/platform/FileIO.h"
#include "classxml/platform/Utf.h"
#include "classxml/stream/StreamReader.h"
#include "classxml/stream/StreamWriter.h"
#include "classxml/xmlio/XercesIO.h"
#include "support/Document.h"
#include "support/GeneratedDocuments.h"
#include "support/TempDir.h"
#include "support/TreeText.h"

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
        const CBasicStringView<char8_t> utf8 = classxml::platform::AsUtf8(xml);
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

// Documents at the sizes users meet: thousands of elements, hundreds of empty ones, nesting up
// to and past the limit, comments, CDATA, references, and texts of up to megabytes.
std::string LargeDocument(unsigned seed) {
    std::mt19937 random(seed);
    const auto pick = [&](unsigned n) { return unsigned(random() % n); };
    std::string xml = "<!DOCTYPE r [<!ELEMENT r ANY><!ELEMENT d ANY><!ELEMENT e EMPTY>"
                      "<!ATTLIST e a CDATA #IMPLIED><!ENTITY ent 'entity &amp; text'>]><r>";
    std::size_t depth = 1;
    for (int i = 0; i < 5000; ++i) {
        if (i % 1250 == 0) xml += std::string((1 << 20) + pick(1 << 20), char('a' + pick(26)));
        switch (pick(10)) {
        case 0:
            xml += "<e/>";
            break;
        case 1:
            xml += "<e a='" + std::to_string(i) + "'/>";
            break;
        case 2: // now and then a run of nesting, past the limit in one document of four
            for (const std::size_t to = pick(40) == 0 ? (seed % 4 == 0 ? 260 : 250) : depth + 1;
                 depth < std::min<std::size_t>(to, 250 + 10 * (seed % 4 == 0)); ++depth)
                xml += "<d>";
            break;
        case 3:
            if (depth > 1) xml += "</d>", --depth;
            break;
        case 4:
            xml += "<!-- comment -->";
            break;
        case 5:
            xml += "<![CDATA[<x>&]]>";
            break;
        case 6:
            xml += "&amp;&#x41;&lt;&ent;";
            break;
        case 7:
            xml += "<?pi data?>";
            break;
        default:
            xml += std::string(pick(40), char('a' + pick(26)));
        }
    }
    for (; depth > 1; --depth)
        xml += "</d>";
    return xml + "</r>";
}

TEST_F(StreamReaderTest, AgreesWithTheDomReadersAtRealSizes) {
    int accepted = 0;
    for (unsigned seed = 1; seed <= 8; ++seed) {
        const std::string xml = LargeDocument(seed);
        ExpectSameFromString(xml);
        ExpectSameFromFile(xml);
        StreamReader reader;
        reader.OpenString(xml);
        accepted += TreeOf(reader).has_value();
    }
    EXPECT_EQ(accepted, 6); // the two that nest past the limit are refused by both
}

// Element names are kept by their declarations in a small table: a document of hundreds of
// names, met again and again in no order, has every start and end tag named right.
TEST_F(StreamReaderTest, NamesHundredsOfElementsRight) {
    std::string xml = "<r>";
    for (int i = 0; i < 20000; ++i) {
        std::string name = "n";
        name += std::to_string(i * 7919 % 600);
        const auto tag = [&](const char* open, const char* close) {
            (xml += open) += name;
            xml += close;
        };
        if (i % 3 == 0) {
            tag("<", "/>");
            continue;
        }
        tag("<", ">");
        xml += std::to_string(i);
        tag("</", ">");
    }
    ExpectSameFromString(xml + "</r>");
}

// A FIFO is opened once and read as the stream it is, by both readers: a second open would
// block, or swallow what the writer sent.
TEST_F(StreamReaderTest, AFifoIsReadOnceAsAStream) {
    const auto fifo = WidePath(dir / "fifo.xml");
    if (classxml::platform::CreateFifo(fifo) != 0) GTEST_SKIP() << "no FIFOs here";
    const std::string xml =
        "<!DOCTYPE r SYSTEM \"r.dtd\"><r><p>" + std::string(200'000, 'x') + "</p></r>";
    const auto feed = [&] { return std::thread([&] { WriteFile(dir / "fifo.xml", xml); }); };
    std::thread writer = feed();
    Handle handle = NewHandle();
    EXPECT_TRUE(handle.ReadFromFile(fifo));
    handle.ReleaseDocument();
    writer.join();

    writer = feed();
    StreamReader reader;
    ASSERT_TRUE(reader.OpenFile(fifo));
    std::string text;
    EXPECT_EQ(reader.NextTag(), Event::StartElement);
    EXPECT_EQ(reader.NextTag(), Event::StartElement);
    EXPECT_TRUE(reader.ReadText(text));
    EXPECT_EQ(text.size(), 200'000u);
    EXPECT_EQ(reader.NextTag(), Event::EndElement);
    EXPECT_EQ(reader.NextTag(), Event::End);
    writer.join();
}

// ReadText keeps the element's own text around its children, and never splits a pair: the
// supplementary character stands at unit 65,535, where a piece is handed over; on the scanner
// and, with a DOCTYPE, on the parser.
TEST_F(StreamReaderTest, ReadTextKeepsOwnTextAroundChildrenAndPairsWhole) {
    const std::string longText = std::string(65'535, 'x') + "\xF0\x9F\x98\x80y";
    const std::string doctype =
        "<!DOCTYPE r [<!ELEMENT r ANY><!ELEMENT p ANY><!ELEMENT q ANY><!ELEMENT s ANY>]>";
    for (const auto& [xml, own] : std::vector<std::pair<std::string, std::string>>{
             {"<r><p>ab<q>inner</q>cd<q/>e</p><s/></r>", "abcde"},
             {doctype + "<r><p>ab<q>inner</q>cd<q/>e</p><s/></r>", "abcde"},
             {"<r><p>" + longText + "</p><s/></r>", longText},
             {doctype + "<r><p>" + longText + "</p><s/></r>", longText}}) {
        const CBasicString<WideChar> units = classxml::platform::Utf8ToUtf16(xml);
        for (const bool wide : {false, true}) {
            StreamReader reader;
            ASSERT_TRUE(wide ? reader.OpenString(CBasicStringView<WideChar>(units))
                             : reader.OpenString(std::string_view(xml)));
            ASSERT_EQ(reader.NextTag(), Event::StartElement);
            ASSERT_EQ(reader.NextTag(), Event::StartElement);
            std::string text;
            ASSERT_TRUE(reader.ReadText(text));
            EXPECT_TRUE(text == own) << wide << ": " << text.size();
            EXPECT_EQ(reader.NextTag(), Event::StartElement); // <s/>, after p's end
            EXPECT_EQ(reader.Name(), WIDE("s"));

            // Event by event, in UTF-8 each: a pair split between two would not join again.
            StreamReader events;
            ASSERT_TRUE(wide ? events.OpenString(CBasicStringView<WideChar>(units))
                             : events.OpenString(std::string_view(xml)));
            std::string joined;
            for (Event event; (event = events.Next()) != Event::End && event != Event::Error;)
                if (event == Event::Text) joined += events.TextUtf8();
            EXPECT_TRUE(joined == (own == "abcde" ? "abinnercde" : own))
                << wide << ": " << joined.size();
        }
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

// Validated against a DTD the document does not name: a DOCTYPE's external id gives way to it
// (its internal subset stays), a document without one is given one, in either encoding.
TEST_F(StreamReaderTest, ValidatesAgainstADtdTheDocumentDoesNotName) {
    std::filesystem::create_directories(dir / "sub");
    WriteFile(dir / "sub" / "other.dtd", "<!ELEMENT r (q*)>\n<!ELEMENT q (#PCDATA)>\n");
    const auto utf16 = [](const std::string& ascii) {
        std::string bytes = "\xFF\xFE";
        for (const char c : ascii)
            bytes += {c, '\0'};
        return bytes;
    };
    const std::string comments = "<!--" + std::string(2 << 20, '-') + "-->"; // past 1 MiB
    for (const auto& [xml, valid] : std::vector<std::pair<std::string, bool>>{
             {"<?xml version=\"1.0\"?>\n<!-- q -->\n<r><q>1</q></r>", true},
             {"<!DOCTYPE r SYSTEM \"r.dtd\"><r><q/></r>", true},
             {"<!DOCTYPE r PUBLIC \"-//x//y\" 'r.dtd' [<!ENTITY e 'q'>]><r><q>&e;</q></r>", true},
             {utf16("<?xml version=\"1.0\" encoding=\"UTF-16\"?><r><q>1</q></r>"), true},
             {"<r><p>1</p></r>", false},
             {"<!DOCTYPE q SYSTEM \"r.dtd\"><r/>", false},
             // the document's own declarations take no part, its entities do
             {"<!DOCTYPE r [<!ATTLIST q x CDATA #IMPLIED>]><r><q x='1'/></r>", false},
             {"<!DOCTYPE r [<!ENTITY % p '<!ATTLIST q x CDATA #IMPLIED>'> %p;]><r><q x='1'/></r>",
              false},
             {"<!DOCTYPE r [\n<!-- c -->\n<!ENTITY e 'q'>]><r><q>&e;</q></r>", true},
             {comments + "<r/>", false},
         }) {
        WriteFile(dir / "doc.xml", xml);
        StreamReader reader;
        reader.ValidateAgainst(WidePath(dir / "sub" / "other.dtd"));
        reader.OpenFile(WidePath(dir / "doc.xml"));
        Event event;
        while ((event = reader.Next()) != Event::End && event != Event::Error) {
        }
        EXPECT_EQ(event == Event::End, valid) << xml.substr(0, 80);
    }
}

// The DTD named in the document's place moves nothing: an error on the root's line has the column
// it has in the file, as if the document named that DTD itself on a line of its own.
TEST_F(StreamReaderTest, ColumnsAreTheFilesWhenADtdIsNamedInTheDocumentsPlace) {
    WriteFile(dir / "other.dtd", "<!ELEMENT r (q*)>\n<!ELEMENT q (#PCDATA)>\n");
    const auto firstError = [&](const std::string& xml, bool override) {
        WriteFile(dir / "doc.xml", xml);
        StreamReader reader;
        if (override) reader.ValidateAgainst(WidePath(dir / "other.dtd"));
        reader.OpenFile(WidePath(dir / "doc.xml"));
        while (reader.Next() != Event::Error) {
        }
        const classxml::Diagnostic& first = classxml::LastDiagnostics().at(0);
        return std::to_string(first.line) + ":" + std::to_string(first.column);
    };
    const std::string line = "<r><q>1</q><p\xC3\xA9\xF0\x9F\x98\x80/></r>";
    EXPECT_EQ(firstError(line, true),
              "1:" + firstError("<!DOCTYPE r SYSTEM 'other.dtd'>\n" + line, false).substr(2));
    EXPECT_EQ(firstError("<!DOCTYPE r SYSTEM 'a-much-longer-name.dtd'><r><x/></r>", true),
              firstError("<!DOCTYPE r SYSTEM 'other.dtd'>" + std::string(13, ' ') + "<r><x/></r>",
                         false));
}

// The events themselves: names, attributes, depth, text, and skipping a subtree.
TEST_F(StreamReaderTest, DeliversEventsAndSkipsSubtrees) {
    const std::string xml = "<r a=\"1\" c=\"2\" d=\"3\" e=\"4\" "
                            "f=\"5\"><skip><x>deep</x>text</skip><p k=\"v\">a&amp;b<![CDATA[c]]>"
                            "</p><e/></r>";
    StreamReader reader;
    ASSERT_TRUE(reader.OpenString(classxml::platform::AsUtf8(xml)));
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
    // A reader that never opened, or whose open was refused, answers every call, crashing on
    // none; text pieces asked for before the reading starts are sent from its start.
    StreamReader unopened, refused;
    EXPECT_FALSE(refused.OpenString(std::string_view()));
    for (StreamReader* idle : {&unopened, &refused}) {
        idle->SetTextPieces(nullptr);
        EXPECT_EQ(idle->NextTag(), Event::Error);
        EXPECT_EQ(idle->Next(), Event::Error);
        EXPECT_FALSE(idle->Skip());
        std::int32_t number = 7;
        EXPECT_FALSE(idle->ReadValue(number));
        EXPECT_EQ(number, 7);
        EXPECT_TRUE(idle->Name().empty() && idle->AttributeCount() == 0 && idle->Text().empty());
    }
    EXPECT_FALSE(unopened.OpenString(CBasicStringView<WideChar>()));
    struct Collected : classxml::TextPieces {
        void Take(CBasicStringView<WideChar> piece) override { text += piece; }
        CBasicString<WideChar> text;
    } pieces;
    StreamReader early;
    early.SetTextPieces(&pieces);
    ASSERT_TRUE(early.OpenString(std::string_view("<r>a<b>b</b>c</r>")));
    Event last = early.Next();
    while (last != Event::End && last != Event::Error)
        last = early.Next();
    EXPECT_EQ(last, Event::End);
    EXPECT_TRUE(pieces.text == CBasicStringView<WideChar>(WIDE("abc")));
}

// UTF-8 in and out: the UTF-8 writer writes what the UTF-16 one writes (an ill-formed sequence as
// U+FFFD, nothing after a NUL), and the reader's UTF-8 views say what its UTF-16 views say.
TEST_F(StreamReaderTest, Utf8AndUtf16AgreeOnNamesAttributesAndText) {
    using classxml::StreamWriter;
    const auto wide = [](std::string_view utf8) {
        return classxml::platform::Utf8ToUtf16(classxml::platform::AsUtf8(utf8));
    };
    const auto written = [](auto write) {
        CBasicString<char> xml;
        StreamWriter out(xml);
        EXPECT_TRUE(out.StartDocument(WIDE("r")) && write(out) && out.Finish());
        return std::string(xml.begin(), xml.end());
    };
    for (const auto& [utf8, utf16] : std::vector<std::pair<std::string, std::string>>{
             {"S\xC3\xA4ntis \xF0\x9F\x8C\x8D & <\r\n> \xE2\x82\xAC", ""},
             {"a\xFF"
              "b\xC3",
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD"},
             {std::string("ab\0cd", 5), "ab"}}) {
        const auto same = wide(utf16.empty() ? utf8 : utf16);
        EXPECT_EQ(
            written([&](StreamWriter& out) { return out.WriteUTF8(WIDE("p"), WIDE("s"), utf8); }),
            written([&](StreamWriter& out) { return out.WriteText(WIDE("p"), WIDE("s"), same); }));
    }

    const std::string xml = "<gr\xC3\xB6\xC3\x9F"
                            "e ma\xC3\x9F=\"\xF0\x9F\x8C\x8D\">"
                            "\xE2\x82\xAC &amp; \xF0\x9F\x8C\x8D</gr\xC3\xB6\xC3\x9F"
                            "e>";
    StreamReader reader;
    ASSERT_TRUE(reader.OpenString(std::string_view(xml)));
    ASSERT_EQ(reader.Next(), Event::StartElement);
    EXPECT_EQ(reader.NameUtf8(), "gr\xC3\xB6\xC3\x9F"
                                 "e");
    EXPECT_TRUE(reader.Name() == wide("gr\xC3\xB6\xC3\x9F"
                                      "e"));
    EXPECT_EQ(reader.AttributeUtf8("ma\xC3\x9F"), "\xF0\x9F\x8C\x8D");
    EXPECT_TRUE(reader.Attribute(wide("ma\xC3\x9F")) == wide("\xF0\x9F\x8C\x8D"));
    ASSERT_EQ(reader.Next(), Event::Text);
    EXPECT_EQ(reader.TextUtf8(), "\xE2\x82\xAC & \xF0\x9F\x8C\x8D");
    EXPECT_TRUE(reader.Text() == wide("\xE2\x82\xAC & \xF0\x9F\x8C\x8D"));
}

// A typed read takes the whole text of the element as exactly one value of its type, as the
// archive does, and leaves the value alone when it is not.
TEST_F(StreamReaderTest, TypedReadsAreStrict) {
    const auto reads = [](const std::string& text, auto value) {
        const std::string xml = "<v>" + text + "</v>";
        StreamReader reader;
        EXPECT_TRUE(reader.OpenString(std::string_view(xml)));
        EXPECT_EQ(reader.Next(), Event::StartElement);
        const auto before = value;
        const bool read = reader.ReadValue(value);
        EXPECT_EQ(read, reader.ValueProblem().empty()) << text;
        EXPECT_TRUE(read || value == before) << text;
        return read;
    };
    struct Row {
        std::string text;
        bool int32, int64, uint32, uint64, boolean, floating;
    };
    for (const Row& row :
         std::vector<Row>{{"12", true, true, true, true, false, true},
                          {"-12", true, true, false, false, false, true},
                          {"4294967295", false, true, true, true, false, true},
                          {"18446744073709551615", false, false, false, true, false, true},
                          // overflowing only after the last digit
                          {"18446744073709551616", false, false, false, false, false, true},
                          {"9223372036854775808", false, false, false, true, false, true},
                          {"-9223372036854775808", false, true, false, false, false, true},
                          {"-9223372036854775809", false, false, false, false, false, true},
                          {"99999999999999999999", false, false, false, false, false, true},
                          // longer than a scanner's piece of 256 units, and leading zeros
                          {std::string(300, '0') + "42", true, true, true, true, false, true},
                          {std::string(255, '0') + "42", true, true, true, true, false, true},
                          {"007", true, true, true, true, false, true},
                          {"true ", false, false, false, false, false, false},
                          {"trueX", false, false, false, false, false, false},
                          {"1 ", false, false, false, false, false, false},
                          {"false", false, false, false, false, true, false},
                          {"12abc", false, false, false, false, false, false},
                          {" 7 ", false, false, false, false, false, false},
                          {"", false, false, false, false, false, false},
                          {"true", false, false, false, false, true, false},
                          {"0.10000000000000001", false, false, false, false, false, true},
                          {"1e400", false, false, false, false, false, false},
                          {"2.050", false, false, false, false, false, true},
                          {"<x/>", false, false, false, false, false, false}}) {
        EXPECT_EQ(reads(row.text, std::int32_t{5}), row.int32) << row.text;
        EXPECT_EQ(reads(row.text, std::int64_t{5}), row.int64) << row.text;
        EXPECT_EQ(reads(row.text, std::uint32_t{5}), row.uint32) << row.text;
        EXPECT_EQ(reads(row.text, std::uint64_t{5}), row.uint64) << row.text;
        EXPECT_EQ(reads(row.text, false), row.boolean) << row.text;
        EXPECT_EQ(reads(row.text, 5.0), row.floating) << row.text;
    }
    StreamReader reader;
    ASSERT_TRUE(reader.OpenString(std::string_view("<v>12abc</v>")));
    reader.Next();
    std::int32_t value = 0;
    EXPECT_FALSE(reader.ReadValue(value));
    EXPECT_EQ(reader.ValueProblem(), "expected int, found \"12abc\"");
}

} // namespace
