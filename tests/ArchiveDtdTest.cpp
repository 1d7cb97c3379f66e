// A DTD made from the types: what either engine saves is valid against it, for the library's
// readers and for an independent validator, and edited documents that break the types are not.
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "classxml/archive/Archive.h"
#include "support/ArchiveEngines.h"
#include "support/Document.h"
#include "support/TempDir.h"
#include "support/Validators.h"

namespace {

enum class Kind { Fixed, Mobile };

struct Part {
    virtual ~Part() = default;
    std::string name;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(name));
    }
};

struct Valve : Part {
    double pressure = 1.5;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(classxml::BaseClass<Part>(this), CLASSXML_NVP(pressure));
    }
};

struct Point {
    double x = 0, y = 0;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(x), CLASSXML_NVP(y));
    }
};

// Every kind the archive takes: the same names in several shapes too ("name" is text here and
// a vector in Catalog, "item" holds text and containers).
struct Catalog {
    std::vector<std::string> name{"a", "b"};
    std::map<std::string, Point> places{{"home", {1, 2}}};
    std::vector<std::vector<int>> grid{{1, 2}, {}};
    std::optional<Point> origin = Point{};
    std::optional<int> missing;
    Kind kind = Kind::Mobile;
    std::variant<std::monostate, double, Point> extra = Point{3, 4};
    std::shared_ptr<Part> shared = std::make_shared<Valve>();
    std::shared_ptr<Part> again = shared;
    std::unique_ptr<Point> nothing;
    std::pair<int, std::string> pair{1, "one"};
    Valve valve;

    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(name), CLASSXML_NVP(places), CLASSXML_NVP(grid), CLASSXML_NVP(origin),
           CLASSXML_NVP(missing), CLASSXML_NVP(kind), CLASSXML_NVP(extra), CLASSXML_NVP(shared),
           CLASSXML_NVP(again), CLASSXML_NVP(nothing), CLASSXML_NVP(pair), CLASSXML_NVP(valve));
    }
};

struct Small {
    int count = 0;
    std::optional<std::string> note;
    std::vector<Point> points;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(count), CLASSXML_NVP(note), CLASSXML_NVP(points));
    }
};

} // namespace

template <>
struct classxml::EnumNames<Kind> {
    static constexpr std::pair<Kind, std::string_view> names[] = {{Kind::Fixed, "fixed"},
                                                                  {Kind::Mobile, "mobile"}};
};

CLASSXML_REGISTER_TYPE(Valve)

namespace {

using Handle = CXMLClassReaderWriter;
using classxml::testing::ReadFile;
using classxml::testing::WriteFile;

// The same text on every call and every platform.
TEST(ArchiveDtdTest, ADtdIsMadeFromTheTypesAlone) {
    EXPECT_EQ(classxml::DtdFor<Small>(), classxml::DtdFor<Small>());
    EXPECT_EQ(classxml::DtdFor<Small>(),
              "<!-- Class XML whose root element is Small, with every element it may hold. -->\n"
              "<!ELEMENT Small (count, note?, points)>\n"
              "<!ATTLIST Small varname CDATA #IMPLIED>\n"
              "<!ELEMENT Point (x, y)>\n"
              "<!ATTLIST Point varname CDATA #IMPLIED>\n"
              "<!ELEMENT count (#PCDATA)>\n"
              "<!ATTLIST count keytype CDATA #IMPLIED>\n"
              "<!ELEMENT note (#PCDATA)>\n"
              "<!ATTLIST note keytype CDATA #IMPLIED>\n"
              "<!ELEMENT points (Point)*>\n"
              "<!ATTLIST points keytype CDATA #IMPLIED varkeytype CDATA #IMPLIED>\n"
              "<!ELEMENT x (#PCDATA)>\n"
              "<!ATTLIST x keytype CDATA #IMPLIED>\n"
              "<!ELEMENT y (#PCDATA)>\n"
              "<!ATTLIST y keytype CDATA #IMPLIED>\n");
    const std::string catalog = classxml::DtdFor<Catalog>();
    for (const std::string_view declaration : {
             "<!ELEMENT Catalog ((name, places, grid, Point?, missing?, kind, variant, pointer, "
             "pointer, pointer, pair, Valve), deferred*)>",
             "<!ELEMENT deferred (Part | Point | Valve)*>", // what any pointer holds, deferred
             "<!ELEMENT name (#PCDATA | item)*>",          // text in Valve, a vector here
             "<!ELEMENT pointer (Part | Point | Valve)*>", // a pointer to Part, one to Point
             "<!ELEMENT variant (Point | item)?>",
             "<!ATTLIST pointer varid CDATA #IMPLIED varname CDATA #IMPLIED varref CDATA #IMPLIED>",
         })
        EXPECT_NE(catalog.find(declaration), std::string::npos) << declaration << "\n" << catalog;
}

class ArchiveDtdFiles : public ::testing::TestWithParam<classxml::Engine> {
protected:
    void SetUp() override {
        ASSERT_TRUE(classxml::SaveDtd<Catalog>((dir / "catalog.dtd").string()));
        Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
        Handle::SetDtdDirectory(classxml::testing::WidePath(dir.Path()), Handle::XMLIOTYPE_XERCES);
    }
    void TearDown() override {
        Handle::SetDtdDirectory({}, Handle::XMLIOTYPE_XERCES);
        Handle::UninitXMLEngine(Handle::XMLIOTYPE_XERCES);
    }

    // Whether each validator takes the file: both engines' loads, ReadFromFile, and on Linux
    // `classxml validate` and xmllint where it is installed: "LSRVX", a dash for each that
    // refuses it.
    std::string Verdicts(const std::filesystem::path& file) {
        std::string verdicts;
        for (const classxml::Engine engine : {classxml::Engine::Dom, classxml::Engine::Stream}) {
            Catalog loaded;
            testing::internal::CaptureStderr();
            const classxml::Result result = classxml::LoadFromFile(file.string(), loaded, engine);
            testing::internal::GetCapturedStderr();
            verdicts += result ? (engine == classxml::Engine::Dom ? "L" : "S") : "-";
            if (!result) {
                EXPECT_FALSE(result.diagnostics.empty()) << result.Message();
            }
        }
        verdicts += classxml::testing::ReadVerdict(file);
#if defined(__linux__)
        verdicts +=
            std::system(
                (CLASSXML_TOOL " validate " + file.string() + " > /dev/null 2>&1").c_str()) == 0
                ? "V"
                : "-";
#endif
        verdicts += classxml::testing::XmllintVerdict(file);
        return verdicts;
    }

    classxml::testing::TempDir dir;
};

CLASSXML_ON_BOTH_ENGINES(ArchiveDtdFiles);

TEST_P(ArchiveDtdFiles, WhatEitherEngineSavesIsValidAndEditedDocumentsAreNot) {
    const auto file = dir / "catalog.xml";
    ASSERT_TRUE(classxml::SaveToFile(file.string(), Catalog{},
                                     classxml::DocumentType{{}, "catalog.dtd"}, GetParam()));
    const std::string all = Verdicts(file);
    EXPECT_TRUE(all == "LSR" || all == "LSRV" || all == "LSRVX") << all;
    const std::string saved = ReadFile(file);
    for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
             {"<kind keytype=\"Kind\">mobile</kind>", ""},           // a member missing
             {"<kind ", "<colour keytype=\"int\">1</colour><kind "}, // one the type lacks
             {"<item keytype=\"int\">1</item>", "<Point/>"},         // an item's shape
             {"<pair varname=\"pair\"><first", "<pair varname=\"pair\"><second"}, // order
         }) {
        std::string edited = saved;
        edited.replace(edited.find(from), from.size(), to);
        WriteFile(dir / "edited.xml", edited);
        EXPECT_EQ(Verdicts(dir / "edited.xml"), std::string(all.size(), '-')) << to;
    }
}

} // namespace
