#include <cmath>
#include <deque>
#include <filesystem>
#include <fstream>
#include <limits>
#include <list>

#include <gtest/gtest.h>

#include "classxml/archive/Archive.h"
#include "support/ArchiveEngines.h"
#include "support/TempDir.h"

namespace {

enum class Color { Red, Green };
enum Level : short { Low = -2, High = 7 }; // no names: written as numbers

struct Point {
    double x = 0, y = 0;
    bool operator==(const Point&) const = default;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(x), CLASSXML_NVP(y));
    }
};

struct Everything {
    std::int32_t i32 = std::numeric_limits<std::int32_t>::min();
    std::int64_t i64 = std::numeric_limits<std::int64_t>::max();
    std::uint32_t u32 = std::numeric_limits<std::uint32_t>::max();
    std::uint64_t u64 = std::numeric_limits<std::uint64_t>::max();
    short small = -32768;
    bool flag = true;
    double real = -0.1;
    float single = 1.5f;
    std::string text = "line\r\nnext\rlast\n été 𝄞 <&>";
    std::u16string wide = u"ü\r\n";
    std::string empty;
    DB_ID id{123456789012345};
    DB_TIME_TYPE time{46000.75};
    DB_VERSIONNUMBER version{2.05};
    Color color = Color::Green;
    Level level = High;
    std::optional<std::int32_t> present = 5, absent;
    std::vector<std::vector<int>> nested{{1, 2}, {}, {3}};
    std::list<std::string> names{"a", "b"};
    std::deque<bool> bits{true, false};
    std::set<std::int64_t> keys{-1, 9};
    std::map<std::string, Point> points{{"o", {0, 0}}, {"p", {1.5, -2}}};
    std::map<int, std::vector<std::string>> lists{{1, {"x"}}, {2, {}}};
    std::vector<std::string> blanks = std::vector<std::string>(300); // empty-element tags
    Point point{3, 4};

    bool operator==(const Everything&) const = default;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(i32), CLASSXML_NVP(i64), CLASSXML_NVP(u32), CLASSXML_NVP(u64),
           CLASSXML_NVP(small), CLASSXML_NVP(flag), CLASSXML_NVP(real), CLASSXML_NVP(single),
           CLASSXML_NVP(text), CLASSXML_NVP(wide), CLASSXML_NVP(empty), CLASSXML_NVP(id));
        ar("time", time)("version", version)("color", color)("level", level);
        ar(CLASSXML_NVP(present), CLASSXML_NVP(absent), CLASSXML_NVP(nested), CLASSXML_NVP(names),
           CLASSXML_NVP(bits), CLASSXML_NVP(keys), CLASSXML_NVP(points), CLASSXML_NVP(lists),
           CLASSXML_NVP(blanks), CLASSXML_NVP(point));
    }
};

struct Station {
    std::string name;
    std::vector<Point> sensors;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(name), CLASSXML_NVP(sensors));
    }
};

struct Single {
    float value = 0;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(value));
    }
};

struct NamedWrongly {
    std::string& value;
    template <class Archive>
    void serialize(Archive& ar) {
        ar("no spaces", value);
    }
};

} // namespace

template <>
struct classxml::EnumNames<Color> {
    static constexpr std::pair<Color, std::string_view> names[] = {{Color::Red, "red"},
                                                                   {Color::Green, "green"}};
};

// Every test runs on both engines, which write the same documents and read them alike.
class ArchiveTest : public classxml::testing::ArchiveEngineTest {};

CLASSXML_ON_BOTH_ENGINES(ArchiveTest);

TEST_P(ArchiveTest, EveryTypeAndContainerComesBackExactly) {
    const Everything saved;
    std::string xml, domXml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine)) << xml;
    ASSERT_TRUE(classxml::SaveToString(domXml, saved));
    EXPECT_EQ(xml, domXml);
    EXPECT_NE(xml.find("<Everything><i32 keytype=\"int\">-2147483648</i32>"), std::string::npos);
    EXPECT_NE(xml.find("<color keytype=\"Color\">green</color>"), std::string::npos);
    EXPECT_NE(xml.find("<level keytype=\"int\">7</level>"), std::string::npos);
    EXPECT_NE(xml.find("<points keytype=\"map\" varkeytype=\"CUTF8String\" vartype=\"Point\">"
                       "<key keytype=\"CUTF8String\">o</key><Point>"),
              std::string::npos);
    EXPECT_NE(xml.find("<Point varname=\"point\">"), std::string::npos);
    EXPECT_EQ(xml.find("absent"), std::string::npos);

    Everything loaded;
    loaded.absent = 1;
    loaded.nested.clear();
    loaded.blanks.clear();
    const classxml::Result result = classxml::LoadFromString(xml, loaded, engine);
    ASSERT_TRUE(result) << result.Message();
    EXPECT_EQ(loaded, saved);

    const classxml::testing::TempDir directory;
    const std::string file = (directory / "everything.xml").string();
    Everything fromFile;
    fromFile.i32 = 0;
    ASSERT_TRUE(classxml::SaveToFile(file, saved, engine));
    ASSERT_TRUE(classxml::LoadFromFile(file, fromFile, engine));
    EXPECT_EQ(fromFile, saved);
    const std::string missing = (directory / "missing").string();
    EXPECT_EQ(classxml::SaveToFile(missing + "/x.xml", saved, engine).Message(),
              "Everything: cannot save " + missing + "/x.xml: the folder " + missing +
                  " does not exist");
    EXPECT_EQ(classxml::SaveDtd<Everything>(missing + "/x.dtd").Message(),
              "cannot save " + missing + "/x.dtd: the folder " + missing + " does not exist");
}

// Indented, a document is one element a line on both engines, byte for byte alike, and the
// texts in it are exactly the values: indentation never leaks into them.
TEST_P(ArchiveTest, AnIndentedDocumentIsOneElementALineAndReadsBackExactly) {
    Everything saved;
    saved.text = "  leading spaces\n  and a line that looks indented\n";
    saved.empty = "<Point>";
    const classxml::SaveOptions options{{"", "everything.dtd"}, engine, true};
    std::string xml, otherXml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, options));
    classxml::SaveOptions onOther = options;
    onOther.engine = other;
    ASSERT_TRUE(classxml::SaveToString(otherXml, saved, onOther));
    EXPECT_EQ(xml, otherXml);
    EXPECT_NE(xml.find("?>\n<!DOCTYPE Everything SYSTEM \"everything.dtd\">\n<Everything>\n  "
                       "<i32 keytype=\"int\">-2147483648</i32>\n"),
              std::string::npos)
        << xml.substr(0, 300);
    EXPECT_NE(xml.find("\n  <points keytype=\"map\" varkeytype=\"CUTF8String\" vartype=\"Point\">"
                       "\n    <key keytype=\"CUTF8String\">o</key>\n    <Point>\n      <x "),
              std::string::npos);
    EXPECT_NE(xml.find("</y>\n    </Point>\n"), std::string::npos);
    EXPECT_TRUE(xml.ends_with("\n  </Point>\n</Everything>\n")) << xml.substr(xml.size() - 100);

    const classxml::SaveOptions noDtd{{}, engine, true};
    ASSERT_TRUE(classxml::SaveToString(xml, saved, noDtd));
    Everything loaded;
    loaded.text.clear();
    const classxml::Result result = classxml::LoadFromString(xml, loaded, engine);
    ASSERT_TRUE(result) << result.Message();
    EXPECT_EQ(loaded, saved);

    const classxml::testing::TempDir directory;
    const std::string file = (directory / "indented.xml").string();
    ASSERT_TRUE(classxml::SaveToFile(file, saved, noDtd));
    EXPECT_EQ(classxml::testing::ReadFile(file), xml);
}

// Both engines find members by name in any order, an optional one too, and skip unknown
// elements; a member that is not there is the one reported missing.
TEST_P(ArchiveTest, MembersAreFoundByNameInAnyOrderAndUnknownOnesAreSkipped) {
    Station station;
    ASSERT_TRUE(classxml::LoadFromString(
        "<Station><note>skip</note><sensors keytype=\"vector\" varkeytype=\"Point\"><Point><extra>"
        "<x>0</x></extra><y keytype=\"double\">2</y><x keytype=\"double\">1</x></Point></sensors>"
        "<note/><name keytype=\"CUTF8String\">N</name></Station>",
        station, engine));
    EXPECT_EQ(station.name, "N");
    EXPECT_EQ(station.sensors, (std::vector<Point>{{1, 2}}));

    Everything everything;
    std::string xml;
    ASSERT_TRUE(classxml::SaveToString(xml, Everything{}, engine));
    const auto move = [&](const std::string& start, const std::string& endTag,
                          const std::string& before) {
        const std::size_t from = xml.find(start);
        const std::size_t to = xml.find(endTag, from) + endTag.size();
        const std::string element = xml.substr(from, to - from);
        xml.erase(from, to - from);
        xml.insert(xml.find(before), element);
    };
    move("<Point varname=\"point\">", "</Point>", "<i32 "); // the last member first
    move("<present ", "</present>", "<i64 ");
    const classxml::Result result = classxml::LoadFromString(xml, everything, engine);
    ASSERT_TRUE(result) << result.Message();
    EXPECT_EQ(everything, Everything{});

    xml.erase(xml.find("<flag "), xml.find("</flag>") + 7 - xml.find("<flag "));
    EXPECT_EQ(classxml::LoadFromString(xml, everything, engine).path, "Everything/flag");
}

TEST_P(ArchiveTest, AFailedLoadNamesTheMemberAndLeavesTheObjectAsItWas) {
    const auto failure = [&](const std::string& second) {
        Station station{"kept", {}};
        const classxml::Result result = classxml::LoadFromString(
            "<Station><name keytype=\"CUTF8String\">n</name><sensors keytype=\"vector\" "
            "varkeytype=\"Point\"><Point><x keytype=\"double\">1</x><y keytype=\"double\">1</y>"
            "</Point><Point><x keytype=\"double\">1</x>" +
                second + "</Point></sensors></Station>",
            station, engine);
        EXPECT_FALSE(result);
        EXPECT_EQ(station.name, "kept");
        return result.path + ": " + result.expected + " / " + result.found;
    };
    EXPECT_EQ(failure("<y keytype=\"double\">12abc</y>"),
              "Station/sensors/Point[2]/y: double / \"12abc\"");
    EXPECT_EQ(failure("<y keytype=\"double\"> 7 </y>"),
              "Station/sensors/Point[2]/y: double / \" 7 \"");
    EXPECT_EQ(failure("<y keytype=\"int\">7</y>"),
              "Station/sensors/Point[2]/y: double / keytype int");
    EXPECT_EQ(failure(""), "Station/sensors/Point[2]/y: a member / none");

    Everything everything;
    const auto load = [&](const std::string& member) {
        return classxml::LoadFromString("<Everything>" + member + "</Everything>", everything,
                                        engine);
    };
    EXPECT_EQ(load("<i32 keytype=\"int\">99999999999</i32>").found, "\"99999999999\"");
    EXPECT_EQ(load("<i32 keytype=\"int\">1</i32><i64 keytype=\"__int64\">1</i64><u32 "
                   "keytype=\"UINT\">1</u32><u64 keytype=\"DWORD64\">1</u64><small "
                   "keytype=\"int\">40000</small>")
                  .path,
              "Everything/small");

    // A float takes what its range holds; beyond it is an error, as for integers.
    for (const auto& [text, fits] : std::vector<std::pair<std::string, bool>>{{"3.4e38", true},
                                                                              {"-inf", true},
                                                                              {"nan", true},
                                                                              {"1e-50", true},
                                                                              {"1e300", false},
                                                                              {"-3.5e38", false}}) {
        Single single;
        const classxml::Result result = classxml::LoadFromString(
            "<Single><value keytype=\"double\">" + text + "</value></Single>", single, engine);
        EXPECT_EQ(bool(result), fits) << text << " " << result.Message();
    }

    const classxml::Result broken =
        classxml::LoadFromString("<Everything><i32>", everything, engine);
    EXPECT_EQ(broken.expected, "a well-formed, valid document");
    ASSERT_FALSE(broken.diagnostics.empty());
    EXPECT_EQ(broken.diagnostics[0].source, "prodInfo");
}

// A file that cannot be opened is said so, with the reason; loads write nothing to standard
// error unless asked; a document's DTD is looked up beside it unless the load names a folder.
TEST_P(ArchiveTest, ALoadSaysWhyAndWhereItLooksAndKeepsQuiet) {
    const classxml::testing::TempDir directory;
    Station station;
    for (const auto& [name, reason] : std::vector<std::pair<std::string, std::string>>{
             {"missing.xml", "no such file"}, {"", "is a directory"}}) {
        const std::string path = (directory / name).string();
        ::testing::internal::CaptureStderr();
        const classxml::Result result = classxml::LoadFromFile(path, station, engine);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(result.Message().substr(0, result.Message().find('\n')),
                  "Station: cannot open \"" + path + "\": " + reason);
        EXPECT_EQ(result.Message().find("\n  :"), std::string::npos) << result.Message();
    }

    std::filesystem::create_directories(directory / "data");
    const std::string file = (directory / "data" / "station.xml").string();
    ASSERT_TRUE(classxml::SaveDtd<Station>((directory / "data" / "station.dtd").string()));
    ASSERT_TRUE(classxml::SaveToFile(file, Station{"s", {{1, 2}}},
                                     classxml::DocumentType{{}, "station.dtd"}, engine));
    Station loaded;
    const classxml::Result beside = classxml::LoadFromFile(file, loaded, engine);
    ASSERT_TRUE(beside) << beside.Message();
    EXPECT_EQ(loaded.name, "s");
    // Invalid after the root's last member, and cut short in a name: the root is named, and
    // the cut comes first.
    const std::string valid = classxml::testing::ReadFile(file);
    const std::string head = valid.substr(0, valid.find("<name "));
    for (const auto& [text, first] : std::vector<std::pair<std::string, std::string>>{
             {valid.substr(0, valid.rfind("</Station>")) + "<extra/></Station>",
              "no declaration found for element 'extra'"},
             {head + "<na", "unexpected end of input"}}) {
        std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
        const classxml::Result result = classxml::LoadFromFile(file, loaded, engine);
        EXPECT_EQ(result.path, "Station") << result.Message();
        ASSERT_FALSE(result.diagnostics.empty());
        EXPECT_EQ(result.diagnostics.front().message, first);
    }
    classxml::LoadOptions elsewhere{engine, (directory / "nowhere").string(), true};
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(classxml::LoadFromFile(file, loaded, elsewhere));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("Fatal Error at file"),
              std::string::npos);
}

TEST_P(ArchiveTest, TextXmlCannotCarryIsRefusedAtSaveNamingTheMember) {
    std::string xml = "untouched";
    Station station{"ok", {}};
    station.name = std::string("bell\x07");
    classxml::Result result = classxml::SaveToString(xml, station, engine);
    EXPECT_FALSE(result);
    EXPECT_EQ(result.path, "Station/name");
    EXPECT_EQ(xml, "untouched");
    station.name = "\xC3(";
    result = classxml::SaveToString(xml, station, engine);
    EXPECT_EQ(result.path + ": " + result.found, "Station/name: an ill-formed byte sequence");

    std::string value;
    result = classxml::SaveToString(xml, NamedWrongly{value}, engine);
    EXPECT_EQ(result.path + ": " + result.found, "NamedWrongly: \"no spaces\"");
}

TEST_P(ArchiveTest, DocumentsCrossBetweenTheArchiveAndTheHandle) {
    using Handle = CXMLClassReaderWriter;
    Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    ASSERT_TRUE(root.CreateDocument(WIDE("Station"), {}, {}));
    root.AddAlpTStringProperty(WIDE("name"), WIDE("CUTF8String"), WIDE("by hand"));
    Handle sensors = root.AddVECTORProperty(WIDE("sensors"), WIDE("Point"));
    Handle point = sensors.CreateClass(WIDE("Point"), WIDE(""));
    point.AdddoubleProperty(WIDE("x"), WIDE("double"), 0.5);
    point.AdddoubleProperty(WIDE("y"), WIDE("double"), -1);
    char* buffer = nullptr;
    unsigned long long length = 0;
    ASSERT_TRUE(root.SaveToString(&buffer, length, true));
    const std::string byHand(buffer, length);
    Handle::FreeMemory(&buffer);
    root.ReleaseDocument();

    Station station;
    ASSERT_TRUE(classxml::LoadFromString(byHand, station, engine));
    EXPECT_EQ(station.name, "by hand");
    EXPECT_EQ(station.sensors, (std::vector<Point>{{0.5, -1}}));

    std::string byArchive;
    ASSERT_TRUE(classxml::SaveToString(byArchive, station, engine));
    EXPECT_EQ(byArchive, byHand);
    Handle read(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    ASSERT_TRUE(read.ReadFromString(CBasicStringView<char>(byArchive.data(), byArchive.size())));
    double y = 0;
    EXPECT_TRUE(read.GetFirstSubElement(WIDE("sensors"))
                    .GetFirstSubElement(WIDE("Point"))
                    .GetFirstSubElement(WIDE("y"))
                    .GetdoubleProperty(WIDE("y"), WIDE("double"), y));
    EXPECT_EQ(y, -1);
    read.ReleaseDocument();
}

// Objects one at a time, in the memory of one: a document of many, read back in order, the
// elements of other names skipped; a broken document fails at the end.
TEST(ObjectStreamTest, WritesAndReadsObjectsOneAtATime) {
    std::string xml;
    classxml::ObjectWriter out(classxml::InString{xml}, "Points");
    for (int i = 0; i < 1000; ++i)
        ASSERT_TRUE(out.Write(Point{double(i), -double(i)}));
    ASSERT_TRUE(out.Finish());
    xml.insert(xml.find("<Point>"), "<other><Point/></other>");

    classxml::ObjectReader in(classxml::FromString{xml}, "Points");
    int count = 0;
    for (Point point; in.Read(point); ++count)
        ASSERT_EQ(point, (Point{double(count), -double(count)}));
    EXPECT_EQ(count, 1000);
    EXPECT_TRUE(in.Finish());

    xml.resize(xml.size() - 3); // cut off the root's end tag
    classxml::ObjectReader broken(classxml::FromString{xml}, "Points");
    Point point;
    while (broken.Read(point)) {
    }
    EXPECT_EQ(broken.Finish().expected, "a well-formed, valid document");
    classxml::ObjectReader wrongRoot(classxml::FromString{xml}, "Other");
    EXPECT_FALSE(wrongRoot.Read(point));
    EXPECT_EQ(wrongRoot.Finish().found, "element Points");
}

// A batch has one shape on both engines: what one writes, the other reads.
TEST(ObjectStreamTest, ABatchWrittenOnOneEngineReadsOnTheOther) {
    using classxml::Engine;
    std::string written[2];
    for (const Engine engine : {Engine::Dom, Engine::Stream}) {
        classxml::ObjectWriter out(classxml::InString{written[int(engine == Engine::Stream)]},
                                   "Points", engine);
        for (int i = 0; i < 300; ++i)
            ASSERT_TRUE(out.Write(Point{double(i), 0.5}));
        ASSERT_TRUE(out.Finish());
    }
    EXPECT_EQ(written[0], written[1]);
    for (const Engine engine : {Engine::Dom, Engine::Stream}) {
        classxml::ObjectReader in(classxml::FromString{written[int(engine == Engine::Dom)]},
                                  "Points", engine);
        int count = 0;
        for (Point point; in.Read(point); ++count)
            ASSERT_EQ(point, (Point{double(count), 0.5}));
        EXPECT_EQ(count, 300);
        EXPECT_TRUE(in.Finish());
    }
}
