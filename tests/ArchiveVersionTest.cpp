// Files that outlive the release that wrote them: class versions, optional and renamed members,
// and a DTD that accepts the files of every version the program reads.
#include <filesystem>
#include <fstream>
#include <memory>

#include <gtest/gtest.h>

#include "classxml/archive/Archive.h"
#include "classxml/compat/Compatibility.h"
#include "support/ArchiveEngines.h"
#include "support/TempDir.h"

namespace v1 { // the first release
struct Item {
    std::string name = "bolt";
    std::int32_t count = 3;
    std::int32_t legacy = 7; // dropped by the next release
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(name), CLASSXML_NVP(count), CLASSXML_NVP(legacy));
    }
};
struct Box {
    std::vector<Item> items{Item{}, Item{"nut", 9, 0}};
    Item single;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(items), CLASSXML_NVP(single));
    }
};
} // namespace v1

namespace v2 { // the next: a member renamed, one removed, one added at version 1, one optional
struct Item {
    std::string title;
    std::int32_t count = 0;
    double weight = 1.5;
    std::int32_t retries = 4;
    std::uint32_t version = 99; // the version the last save or load gave
    bool operator==(const Item& other) const {
        return title == other.title && count == other.count && weight == other.weight &&
               retries == other.retries;
    }
    template <class Archive>
    void serialize(Archive& ar, std::uint32_t fileVersion) {
        version = fileVersion;
        ar(classxml::OldName("name", CLASSXML_NVP(title)), CLASSXML_NVP(count));
        if (fileVersion == 0) { // read and let go
            std::int32_t legacy = 0;
            ar(classxml::Optional(CLASSXML_NVP(legacy)));
        }
        if (fileVersion >= 1) ar(CLASSXML_NVP(weight));
        ar(classxml::Optional(CLASSXML_NVP(retries)));
    }
};
struct Box {
    std::vector<Item> items;
    Item single;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(items), CLASSXML_NVP(single));
    }
};
} // namespace v2

CLASSXML_CLASS_VERSION(v2::Item, 1)

// Two classes of one name, both registered: no file can tell them apart.
namespace first {
struct Mark {
    virtual ~Mark() = default;
    int x = 0;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(x));
    }
};
} // namespace first
namespace second {
struct Mark : first::Mark {};
} // namespace second
CLASSXML_REGISTER_TYPE(first::Mark)
CLASSXML_REGISTER_TYPE(second::Mark)

// Two classes of one name as members: no document or DTD can tell them apart.
namespace shop {
struct Item {
    int price = 1;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(price));
    }
};
} // namespace shop
namespace stock {
struct Item {
    int count = 2;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(count));
    }
};
} // namespace stock

// Two more of one name, each registered under a name of its own.
struct Figure {
    virtual ~Figure() = default;
    int x = 0;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(x));
    }
};
namespace geo {
struct Mark : Figure {
    double radius = 0;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(classxml::BaseClass<Figure>(this), CLASSXML_NVP(radius));
    }
};
} // namespace geo
namespace plot {
struct Mark : Figure {
    std::string label;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(classxml::BaseClass<Figure>(this), CLASSXML_NVP(label));
    }
};
} // namespace plot
CLASSXML_REGISTER_TYPE_AS(geo::Mark, "geo.Mark")
CLASSXML_REGISTER_TYPE_AS(plot::Mark, "plot.Mark")

namespace {

// Members named from a free function.
struct Pair {
    int left = 1, right = 2;
};
template <class Archive>
void serialize(Archive& ar, Pair& pair) {
    Pair* other = &pair;
    ar(CLASSXML_NVP(pair.left), CLASSXML_NVP(other->right));
}
struct HasPair {
    Pair pair;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(pair));
    }
};

struct Inventory {
    shop::Item sold;
    stock::Item held;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(sold), CLASSXML_NVP(held));
    }
};
struct Shop {
    shop::Item sold;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(sold));
    }
};

struct Marks {
    std::vector<std::unique_ptr<Figure>> marks;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(marks));
    }
};

struct Marked {
    std::unique_ptr<first::Mark> mark;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(mark));
    }
};

class ArchiveVersionTest : public classxml::testing::ArchiveEngineTest {};

CLASSXML_ON_BOTH_ENGINES(ArchiveVersionTest);

TEST_P(ArchiveVersionTest, AFileOfTheFirstReleaseLoadsIntoTheNext) {
    std::string xml;
    ASSERT_TRUE(classxml::SaveToString(xml, v1::Box{}, engine));
    EXPECT_EQ(xml.find("varversion"), std::string::npos); // version 0 writes what it always did
    v2::Box box;
    const classxml::Result result = classxml::LoadFromString(xml, box, engine);
    ASSERT_TRUE(result) << result.Message();
    ASSERT_EQ(box.items.size(), 2u);
    EXPECT_EQ(box.items[1], (v2::Item{"nut", 9, 1.5, 4}));
    EXPECT_EQ(box.single, (v2::Item{"bolt", 3, 1.5, 4}));
    EXPECT_EQ(box.items[0].version, 0u);
    EXPECT_EQ(box.single.version, 0u);
}

TEST_P(ArchiveVersionTest, VersionsAreWrittenPerClassAndGivenBackOnLoading) {
    v2::Box saved{{{"a", 1, 2.5, 7}}, {"b", 2, 0.25, 0}};
    std::string xml, otherXml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    ASSERT_TRUE(classxml::SaveToString(otherXml, saved, other));
    EXPECT_EQ(xml, otherXml);
    EXPECT_NE(xml.find("<Box><items keytype=\"vector\" varkeytype=\"Item\"><Item varversion=\"1\">"
                       "<title keytype=\"CUTF8String\">a</title>"),
              std::string::npos)
        << xml;
    EXPECT_NE(xml.find("<Item varname=\"single\" varversion=\"1\">"), std::string::npos) << xml;
    v2::Box loaded;
    const classxml::Result result = classxml::LoadFromString(xml, loaded, engine);
    ASSERT_TRUE(result) << result.Message();
    EXPECT_EQ(loaded.items, saved.items);
    EXPECT_EQ(loaded.single, saved.single);
    EXPECT_EQ(loaded.single.version, 1u);

    // A version written as 0 is version 0, as an element without one is.
    const std::string one = "varname=\"single\" varversion=\"1\"";
    xml.replace(xml.find(one), one.size(), "varname=\"single\" varversion=\"0\"");
    ASSERT_TRUE(classxml::LoadFromString(xml, loaded, engine)) << xml;
    EXPECT_EQ(loaded.single.version, 0u);
}

// A newer file, a malformed version, and members that are optional or renamed but malformed
// are refused, naming where, and the object stays as it was.
TEST_P(ArchiveVersionTest, WhatThisReleaseCannotReadIsRefusedAndTheObjectKept) {
    std::string valid;
    ASSERT_TRUE(classxml::SaveToString(valid, v2::Box{{}, {"b", 2, 0.25, 3}}, engine));
    const struct {
        std::string from, to, failure;
    } cases[] = {
        {"varversion=\"1\"", "varversion=\"2\"",
         "Box/single: version 1 or older of class Item / version 2 in the file"},
        {"varversion=\"1\"", "varversion=\"01x\"",
         "Box/single: a class version of 0 or more / "
         "\"01x\""},
        {">3</retries>", ">three</retries>", "Box/single/retries: int / \"three\""},
        {"<title keytype=\"CUTF8String\">b</title>", "", "Box/single/title: a member / none"},
    };
    for (const auto& c : cases) {
        std::string xml = valid;
        ASSERT_NE(xml.find(c.from), std::string::npos) << c.from;
        xml.replace(xml.find(c.from), c.from.size(), c.to);
        v2::Box box;
        box.single.title = "kept";
        const classxml::Result result = classxml::LoadFromString(xml, box, engine);
        EXPECT_FALSE(result) << c.to;
        EXPECT_EQ(result.path + ": " + result.expected + " / " + result.found, c.failure);
        EXPECT_EQ(box.single.title, "kept");
    }
    // A program that knows the next release's files takes them, given the file's version.
    std::string newer = valid;
    newer.replace(newer.find("varversion=\"1\""), 14, "varversion=\"2\"");
    v2::Box box;
    classxml::LoadOptions options;
    options.engine = engine;
    options.newerVersions = true;
    ASSERT_TRUE(classxml::LoadFromString(newer, box, options));
    EXPECT_EQ(box.single.version, 2u);
    EXPECT_EQ(box.single.weight, 0.25);
}

TEST_P(ArchiveVersionTest, TwoTypesRegisteredUnderOneNameFailEverySaveAndLoadNamingBoth) {
    std::string xml = "kept";
    const classxml::Result saved =
        classxml::SaveToString(xml, Marked{std::make_unique<second::Mark>()}, engine);
    EXPECT_FALSE(saved);
    EXPECT_EQ(saved.expected + " / " + saved.found,
              "one type registered as \"Mark\" / first::Mark and second::Mark");
    EXPECT_EQ(xml, "kept");
    Marked loaded;
    const classxml::Result read = classxml::LoadFromString(
        "<Marked><pointer varname=\"mark\"><Mark><x keytype=\"int\">1</x></Mark></pointer>"
        "</Marked>",
        loaded, engine);
    EXPECT_FALSE(read);
    EXPECT_EQ(read.path + ": " + read.found, "Marked/mark/Mark[1]: first::Mark and second::Mark");
}

TEST_P(ArchiveVersionTest, TwoClassesOfOneNameInOneModelFailItsSavesAndItsDtdNamingBoth) {
    std::string xml = "kept";
    const classxml::Result saved = classxml::SaveToString(xml, Inventory{}, engine);
    EXPECT_FALSE(saved);
    EXPECT_EQ(
        saved.path + ": " + saved.expected + " / " + saved.found,
        "Inventory/held: one class named \"Item\" in a document / shop::Item and stock::Item");
    EXPECT_EQ(xml, "kept");
    EXPECT_TRUE(classxml::SaveToString(xml, Shop{}, engine)); // one of them alone
    EXPECT_THROW(classxml::DtdFor<Inventory>(), std::invalid_argument);
    const classxml::testing::TempDir directory;
    const classxml::Result dtd = classxml::SaveDtd<Inventory>((directory / "i.dtd").string());
    EXPECT_EQ(dtd.expected + " / " + dtd.found,
              "one class named \"Item\" in a model / shop::Item and stock::Item");
    EXPECT_FALSE(std::filesystem::exists(directory / "i.dtd"));
    EXPECT_NO_THROW(classxml::DtdFor<Shop>());
}

TEST_P(ArchiveVersionTest, TypesRegisteredUnderNamesOfTheirOwnRoundTripAndAreDeclared) {
    Marks saved, loaded;
    auto circle = std::make_unique<geo::Mark>();
    circle->radius = 2.5;
    auto label = std::make_unique<plot::Mark>();
    label->label = "north";
    saved.marks.push_back(std::move(circle));
    saved.marks.push_back(std::move(label));
    std::string xml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    EXPECT_NE(xml.find("<geo.Mark><x keytype=\"int\">0</x><radius"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<plot.Mark><x keytype=\"int\">0</x><label"), std::string::npos) << xml;
    ASSERT_TRUE(classxml::LoadFromString(xml, loaded, engine));
    ASSERT_EQ(loaded.marks.size(), 2u);
    const auto* geoMark = dynamic_cast<const geo::Mark*>(loaded.marks[0].get());
    const auto* plotMark = dynamic_cast<const plot::Mark*>(loaded.marks[1].get());
    ASSERT_TRUE(geoMark && plotMark);
    EXPECT_EQ(geoMark->radius, 2.5);
    EXPECT_EQ(plotMark->label, "north");
    const std::string dtd = classxml::DtdFor<Marks>();
    for (const char* declared :
         {"<!ELEMENT geo.Mark (x, radius)>", "<!ELEMENT plot.Mark (x, label)>"})
        EXPECT_NE(dtd.find(declared), std::string::npos) << declared << "\n" << dtd;
}

TEST_P(ArchiveVersionTest, AFreeFunctionNamesMembersByTheirLastName) {
    std::string xml;
    ASSERT_TRUE(classxml::SaveToString(xml, HasPair{{5, 6}}, engine));
    EXPECT_NE(xml.find("<left keytype=\"int\">5</left><right keytype=\"int\">6</right>"),
              std::string::npos)
        << xml;
}

// The next release's DTD accepts the files of both releases, on the library's own validation.
TEST_P(ArchiveVersionTest, TheNextReleasesDtdAcceptsTheFirstReleasesFiles) {
    const classxml::testing::TempDir directory;
    ASSERT_TRUE(classxml::SaveDtd<v2::Box>((directory / "box.dtd").string()));
    const std::string dtd = classxml::DtdFor<v2::Box>();
    EXPECT_NE(dtd.find("<!ELEMENT Item ((name | title), count, legacy?, weight?, retries?)>"),
              std::string::npos)
        << dtd;
    const classxml::DocumentType doctype{{}, "box.dtd"};
    const std::string first = (directory / "first.xml").string();
    const std::string second = (directory / "second.xml").string();
    ASSERT_TRUE(classxml::SaveToFile(first, v1::Box{}, doctype, engine));
    ASSERT_TRUE(classxml::SaveToFile(second, v2::Box{{{"a", 1, 2, 3}}, {}}, doctype, engine));
    for (const std::string& file : {first, second}) {
        v2::Box box;
        const classxml::Result result = classxml::LoadFromFile(file, box, engine);
        EXPECT_TRUE(result) << file << ": " << result.Message();
    }
    std::string third = classxml::testing::ReadFile(second);
    third.replace(third.find("<count "), 0, "<legacy keytype=\"int\">1</legacy>");
    const std::string misplaced = (directory / "third.xml").string();
    std::ofstream(misplaced, std::ios::binary) << third;
    v2::Box box;
    EXPECT_FALSE(classxml::LoadFromFile(misplaced, box, engine)); // out of its place
}

// The check a team runs before a release: the DTD of the next release accepts every document
// of the first; the way back does not.
TEST(ArchiveVersionCompat, TheNextReleasesDtdPassesTheCheckAgainstTheFirstsAndNotBack) {
    const classxml::testing::TempDir directory;
    ASSERT_TRUE(classxml::SaveDtd<v1::Box>((directory / "first.dtd").string()));
    ASSERT_TRUE(classxml::SaveDtd<v2::Box>((directory / "second.dtd").string()));
    classxml::dtd_declarations::Declarations first, second;
    std::string problem;
    ASSERT_TRUE(classxml::dtd_declarations::Read(
        classxml::testing::WidePath(directory / "first.dtd"), first, problem));
    ASSERT_TRUE(classxml::dtd_declarations::Read(
        classxml::testing::WidePath(directory / "second.dtd"), second, problem));
    const auto forward = classxml::compat::Compare(first, second);
    EXPECT_TRUE(forward.empty()) << forward.front().element << ": " << forward.front().what;
    const auto back = classxml::compat::Compare(second, first);
    ASSERT_FALSE(back.empty());
    EXPECT_EQ(back.front().element, "Item") << back.front().what;
}

} // namespace
