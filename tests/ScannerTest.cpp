// The stream engine's own scanner reads every document as the parser does: the same events, the
// same verdict, the first error at the same line and column in the same words; in UTF-8 and in
// UTF-16 of either byte order, and wherever the scanner's window happens to end.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "classxml/archive/Archive.h"
#include "classxml/platform/Utf.h"
#include "classxml/scanner/Input.h"
#include "classxml/stream/StreamReader.h"
#include "support/Engine.h"
#include "support/TempDir.h"
#include "support/Transcript.h"

namespace {

using classxml::StreamReader;
using classxml::testing::Transcript;

// Each row a document and the parser's verdict on it: well-formed (line 0), its first error's
// line and column, or refused without a complaint (line -1).
struct Edge {
    const char* what;
    std::string xml;
    int line = 0, column = 0;
};

const std::vector<Edge> kEdges = {
    // names, by the XML 1.0 fifth-edition classes
    {"a name of letters, digits and marks", "<a.b-c_d:e\xC2\xB7\xCC\x80/>"},
    {"a name from beyond the BMP", "<\xF0\x90\x80\x80/>"},
    {"a name may not start with a digit", "<1a/>", 1, 2},
    {"a name may not start with a middle dot", "<\xC2\xB7/>", 1, 2},
    {"a name may not hold a multiplication sign", "<a\xC3\x97/>", 1, 3},
    {"a name may hold a currency sign (U+2070 to U+218F)", "<a\xE2\x82\xAC/>"},
    // references
    {"the five predefined entities", "<r>&lt;&gt;&amp;&apos;&quot;</r>"},
    {"an entity never declared", "<r>&e;</r>", 1, 7},
    {"a reference without its semicolon", "<r>&amp</r>", 1, 8},
    {"character references, decimal and hex", "<r>&#65;&#x10FFFF;&#x1F600;</r>"},
    {"a reference to NUL", "<r>&#0;</r>", 1, 8},
    {"a reference to a surrogate", "<r>&#xD800;</r>", 1, 12},
    {"a reference past U+10FFFF", "<r>&#x110000;</r>", 1, 12},
    {"a hex reference with a capital X", "<r>&#X41;</r>", 1, 7},
    // attributes
    {"an attribute given twice", "<r a='1' a='2'/>", 1, 12},
    {"a '<' in an attribute value", "<r a='<'/>", 1, 8},
    {"an attribute without a value", "<r a/>", 1, 5},
    {"attributes run together", "<r a='1'b='2'/>", 1, 9},
    {"an attribute value normalised", "<r a='x&#9;y\tz\r\nw&#10;'/>"},
    // text
    {"line ends normalised", "<r>a\r\nb\rc\n</r>"},
    {"']]>' in text", "<r>a]]>b</r>", 1, 8},
    {"']]>' after more brackets", "<r>a]]]]>b</r>", 1, 10},
    {"'--' in a comment", "<r><!-- a -- b --></r>", 1, 14},
    {"']]' alone in text", "<r>a]]b]</r>"},
    {"a control character", "<r>\x01</r>", 1, 5},
    {"U+FFFE", "<r>\xEF\xBF\xBE</r>", 1, 5},
    {"a lone surrogate in UTF-8, at the start of its block", "<r>\xED\xA0\x80</r>", 1, 1},
    {"a byte no UTF-8 starts with", "<r>\xFF</r>", 1, 4},
    // U+0085 and U+2028 count no column where the parser reads a character at a time
    {"U+0085 and U+2028 in a comment", "<!-- \xC2\x85\xE2\x80\xA8 --><r>&x;</r>", 1, 16},
    {"U+0085 in an attribute value", "<r a='\xC2\x85'>&x;</r>", 1, 12},
    {"U+0085 in text, and after ']'", "<r>\xC2\x85]\xC2\x85&x;</r>", 1, 9},
    // markup
    {"a comment, a PI and CDATA", "<r><!-- c --><?p d?><![CDATA[<&]]></r>"},
    {"'--' within a comment", "<r><!-- a -- b --></r>", 1, 14},
    {"an unterminated comment", "<r><!-- c", 1, 10},
    {"a PI named xml past the start", "<r><?xml v?></r>", 1, 9},
    {"CDATA outside the root", "<r/><![CDATA[x]]>", 1, 5},
    {"an unterminated CDATA section", "<r><![CDATA[x", 1, 14},
    {"an end tag that does not match", "<r><a></b></r>", 1, 9},
    {"an element never ended", "<r><a></r>", 1, 9},
    // the declaration and the document's shape
    {"a line end after '<?xml', a character of line 1", "<?xml\nversion='1.0'?><r>&x;</r>", 1, 28},
    {"'<?XML' and a line end", "<?XML\r?><r/>", 1, 7},
    {"a declaration with its encoding",
     "<?xml version='1.0' encoding='UTF-8' standalone='yes'?><r/>"},
    {"a declaration not at the start", " <?xml version='1.0'?><r/>", 1, 8},
    {"a declaration of version 2.0", "<?xml version='2.0'?><r/>", 1, 20},
    {"a declaration without its version", "<?xml encoding='UTF-8'?><r/>", 1, 23},
    {"comments, PIs and space after the root", "<r/>\n<!-- c -->\n<?p?>\n "},
    {"a second root", "<r/><s/>", 1, 5},
    {"text after the root", "<r/>x", 1, 5},
    {"no root at all", "<!-- c -->", 1, 11},
    {"nothing at all, refused before any parse", "", -1},
};

// The same document read by the scanner and by the parser, one after the other: a reading's
// diagnostics are the thread's until the next one opens.
template <class Open>
void ExpectReadAlike(const std::string& what, Open open) {
    StreamReader scanned, parsed;
    parsed.ReadWithParser();
    open(scanned);
    const std::string byScanner = Transcript(scanned);
    open(parsed);
    EXPECT_EQ(byScanner, Transcript(parsed)) << what;
}

class ScannerTest : public classxml::testing::EngineTest {};

TEST_F(ScannerTest, GivesTheParsersVerdictOnEveryEdge) {
    for (const Edge& edge : kEdges) {
        StreamReader reader;
        reader.OpenString(edge.xml);
        const std::string transcript = Transcript(reader);
        if (edge.line < 0) {
            EXPECT_TRUE(transcript.ends_with("ERROR\n")) << edge.what << "\n" << transcript;
        } else {
            const std::string expected = edge.line == 0
                                             ? std::string("END\n")
                                             : "ERROR\n" + std::to_string(edge.line) + ':' +
                                                   std::to_string(edge.column) + ' ';
            EXPECT_NE(transcript.find(expected), std::string::npos) << edge.what << "\n"
                                                                    << transcript;
        }
        ExpectReadAlike(edge.what, [&](StreamReader& r) { r.OpenString(edge.xml); });
    }
}

// UTF-16 with a byte-order mark, in either order.
std::string Utf16(const std::string& utf8, bool big) {
    const CBasicString<WideChar> units = classxml::platform::Utf8ToUtf16(utf8);
    std::string bytes = big ? "\xFE\xFF" : "\xFF\xFE";
    for (const WideChar unit : units) {
        const auto value = static_cast<std::uint16_t>(unit);
        const char high = char(value >> 8), low = char(value & 0xFF);
        bytes += big ? std::string{high, low} : std::string{low, high};
    }
    return bytes;
}

// A file, which the reader takes in the encoding its first bytes show.
template <class Reader>
void OpenFileOf(Reader& reader, const std::filesystem::path& file, const std::string& bytes) {
    classxml::testing::WriteFile(file, bytes);
    reader.OpenFile(classxml::testing::WidePath(file));
}

TEST_F(ScannerTest, ReadsUtf16OfEitherOrderAsTheParserDoes) {
    classxml::testing::TempDir dir;
    for (const Edge& edge : kEdges) {
        if (edge.xml.find_first_of("\xFF\xED") != std::string::npos ||
            edge.xml.starts_with("<?xml"))
            continue; // no UTF-16 of bytes that are not UTF-8; a declaration would say UTF-8
        for (const bool big : {false, true}) {
            const std::string bytes = Utf16(edge.xml, big);
            ExpectReadAlike(edge.what,
                            [&](StreamReader& r) { OpenFileOf(r, dir / "16.xml", bytes); });
        }
    }
}

// Every kind of token, with the window's end falling at each of its bytes: the document puts it
// at each offset just before where the first window ends, read from memory and from a file, and
// in UTF-16 where the raw reads split it.
TEST_F(ScannerTest, ReadsTokensThatAWindowsEndCutsAlike) {
    using classxml::scanner::Input;
    const std::vector<std::string> tokens = {
        "<averyveryverylongname attribute='value'/>",
        "&amp;",
        "&#x1F600;",
        "<![CDATA[x]]>",
        "]]>",
        "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
        "\r\n",
        "<!-- c -->",
        "<?p data?>",
        "<e a='x&lt;y'></e>",
        "&bogus;",
        "\xC3(",
    };
    const std::size_t firstWindowEnd = 2 * Input::kBlock - Input::kLookahead;
    classxml::testing::TempDir dir;
    const auto file = dir / "cut.xml";
    // Before the token, lines of every ending and characters of every length, which the place
    // of an error after the cut counts; after it, enough to keep the document going past where
    // the window ends.
    const std::string line = "<p a='1'>line\r\n</p>line\r<!--\r\n-->\n\xC3\xA9\xF0\x9F\x98\x80";
    const std::string tail(Input::kLookahead + 1024, 'y');
    for (const std::string& token : tokens)
        for (std::size_t before = 0; before <= token.size() + 1; ++before) {
            const std::size_t length = firstWindowEnd - before - 3;
            std::string padding;
            while (padding.size() + line.size() <= length)
                padding += line;
            padding.resize(length, 'x');
            const std::string xml = "<r>" + padding + token + tail + "</r>";
            const std::string what = token + " cut after " + std::to_string(before);
            ExpectReadAlike(what, [&](StreamReader& r) { r.OpenString(xml); });
            ExpectReadAlike(what, [&](StreamReader& r) { OpenFileOf(r, file, xml); });
            // The raw reads of UTF-16 are as large as a window's block: the token is cut there.
            const std::string utf16 =
                Utf16("<r>" + std::string(Input::kBlock / 2 - before / 2 - 4, 'x') + token + tail +
                          "</r>",
                      false);
            ExpectReadAlike(what + " in UTF-16",
                            [&](StreamReader& r) { OpenFileOf(r, file, utf16); });
        }
}

// A document of many windows, of the short plain tags the scanner reads on its fast path and
// everything else now and then, read whole from a file and from memory.
TEST_F(ScannerTest, ReadsDocumentsOfManyWindowsAlike) {
    std::string xml = "<records>";
    for (int i = 0; xml.size() < 3 * 1024 * 1024; ++i) {
        xml += "<record><id keytype=\"int\">" + std::to_string(i) +
               "</id><name keytype='string'>name " + std::to_string(i * 7919 % 1000) +
               "</name><flag/>";
        if (i % 7 == 0) xml += "<note>a &amp; b\r\n\xC3\xA9<![CDATA[<c>]]><!-- c --></note>";
        if (i % 11 == 0) xml += "<v a = '1'\n b=\"&#x1F600;\"></v >";
        xml += "</record>\n";
    }
    xml += "</records>";
    classxml::testing::TempDir dir;
    ExpectReadAlike("from a file", [&](StreamReader& r) { OpenFileOf(r, dir / "many.xml", xml); });
    ExpectReadAlike("from memory", [&](StreamReader& r) { r.OpenString(xml); });
    // Tags cut by the window's ends at the same distance twice over, so that the window, refilled,
    // has the same start and end as before and differs only in what it holds; then a long name
    // across the next end, which the scanner must not take for one within the window.
    using classxml::scanner::Input;
    const std::size_t first = 2 * Input::kBlock - Input::kLookahead - 5,
                      second = first + Input::kBlock, third = second + Input::kBlock - 5;
    std::string refilled = "<r>";
    refilled.resize(first, 'x');
    refilled += "<tag1/>";
    refilled.resize(second, 'x');
    refilled += "<tag2/>";
    refilled.resize(third, 'x');
    refilled += "<abcdefghijklmnopqrstuvw/>" + std::string(2 * Input::kBlock, 'y') + "</r>";
    ExpectReadAlike("a window refilled in place",
                    [&](StreamReader& r) { OpenFileOf(r, dir / "refilled.xml", refilled); });
}

struct Reading {
    int id = 0;
    std::string label;
    std::vector<double> values;

    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(id), CLASSXML_NVP(label), CLASSXML_NVP(values));
    }
    bool operator==(const Reading&) const = default;
};

TEST_F(ScannerTest, TheArchiveSavesAndLoadsOnTheStreamEngineUnlessAskedOtherwise) {
    const Reading reading{7, "a < b & \xF0\x9F\x98\x80\r\n", {1.5, -0.25}};
    std::string byDefault, byStream, byDom;
    ASSERT_TRUE(classxml::SaveToString(byDefault, reading));
    ASSERT_TRUE(classxml::SaveToString(byStream, reading, classxml::Engine::Stream));
    ASSERT_TRUE(classxml::SaveToString(byDom, reading, classxml::Engine::Dom));
    EXPECT_EQ(byDefault, byStream);
    EXPECT_EQ(byDom, byStream);
    EXPECT_EQ(classxml::LoadOptions{}.engine, classxml::Engine::Stream);
    for (const auto engine : {classxml::Engine::Stream, classxml::Engine::Dom}) {
        Reading loaded;
        ASSERT_TRUE(classxml::LoadFromString(byDefault, loaded, engine));
        EXPECT_EQ(loaded, reading);
    }
}

} // namespace
