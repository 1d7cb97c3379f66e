// The standard types a C++ object model holds, on both engines: each comes back exactly, both
// engines write the same bytes and read each other's documents; shared objects stay shared,
// polymorphic pointers keep their types, and what cannot be saved or loaded says why.
#include <array>
#include <bitset>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <variant>

#include <utility>

#include <gtest/gtest.h>

#include "classxml/archive/Archive.h"
#include "support/ArchiveEngines.h"

namespace {

using namespace std::chrono_literals;

struct Shape {
    virtual ~Shape() = default;
    std::string label;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(label));
    }
    virtual bool Same(const Shape& other) const { return label == other.label; }
};

struct Circle : Shape {
    double radius = 0;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(classxml::BaseClass<Shape>(this), CLASSXML_NVP(radius));
    }
    bool Same(const Shape& other) const override {
        const auto* circle = dynamic_cast<const Circle*>(&other);
        return circle && Shape::Same(other) && radius == circle->radius;
    }
};

struct Square : Shape {
    int side = 0;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(classxml::BaseClass<Shape>(this), CLASSXML_NVP(side));
    }
    bool Same(const Shape& other) const override {
        const auto* square = dynamic_cast<const Square*>(&other);
        return square && Shape::Same(other) && side == square->side;
    }
};

struct Unregistered : Shape {};

// A type that keeps an invariant and stores another form than it holds.
class Ratio {
public:
    Ratio() = default;
    Ratio(int numerator, int denominator) : m_numerator(numerator), m_denominator(denominator) {}
    template <class Archive>
    void save(Archive& ar) const {
        ar("text", std::to_string(m_numerator) + "/" + std::to_string(m_denominator));
    }
    template <class Archive>
    void load(Archive& ar) {
        std::string text;
        ar("text", text);
        const std::size_t slash = text.find('/');
        if (slash == std::string::npos) return;
        m_numerator = std::stoi(text.substr(0, slash));
        m_denominator = std::stoi(text.substr(slash + 1));
    }
    bool operator==(const Ratio&) const = default;

private:
    int m_numerator = 0, m_denominator = 1;
};

template <class P>
bool SamePointee(const P& a, const P& b) {
    if (!a || !b) return !a && !b;
    if constexpr (std::is_same_v<typename P::element_type, Shape>)
        return a->Same(*b);
    else
        return *a == *b;
}

const auto kEpoch = std::chrono::system_clock::time_point();

struct Model {
    std::array<int, 3> array{1, -2, 3};
    std::pair<std::string, double> pair{"pi", 3.14159};
    std::tuple<int, std::string, bool> tuple{7, "seven", true};
    std::unordered_map<std::string, int> counts{{"a", 1}, {"b", 2}};
    std::unordered_set<std::int64_t> ids{5, -9};
    std::bitset<10> flags{0b1000000101};
    std::filesystem::path file = std::filesystem::path(u8"data/été/x.bin");
    std::chrono::milliseconds timeout{1500};
    std::chrono::duration<double> fraction{0.1};
    std::chrono::system_clock::time_point when = kEpoch + 1'700'000'000'123'456'789ns;
    std::chrono::system_clock::time_point before = kEpoch - 1ns;
    std::variant<int, double, std::string> asInt = 0, asDouble = 0.0, asText = "0";
    std::variant<std::monostate, Ratio> none, ratio = Ratio(3, 4);
    std::unique_ptr<int> null, some = std::make_unique<int>(42);
    std::shared_ptr<std::string> first = std::make_shared<std::string>("shared"), second = first;
    std::unique_ptr<Shape> shape = [] {
        auto circle = std::make_unique<Circle>();
        circle->label = "c";
        circle->radius = 2.5;
        return circle;
    }();
    std::vector<std::optional<int>> maybe{1, std::nullopt, 3};
    std::optional<std::pair<int, int>> optionalPair = std::pair{1, 2};

    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(array), CLASSXML_NVP(pair), CLASSXML_NVP(tuple), CLASSXML_NVP(counts),
           CLASSXML_NVP(ids), CLASSXML_NVP(flags), CLASSXML_NVP(file), CLASSXML_NVP(timeout),
           CLASSXML_NVP(fraction), CLASSXML_NVP(when), CLASSXML_NVP(before));
        ar(CLASSXML_NVP(asInt), CLASSXML_NVP(asDouble), CLASSXML_NVP(asText), CLASSXML_NVP(none),
           CLASSXML_NVP(ratio), CLASSXML_NVP(null), CLASSXML_NVP(some), CLASSXML_NVP(first),
           CLASSXML_NVP(second), CLASSXML_NVP(shape), CLASSXML_NVP(maybe),
           CLASSXML_NVP(optionalPair));
    }

    bool operator==(const Model& o) const {
        return array == o.array && pair == o.pair && tuple == o.tuple && counts == o.counts &&
               ids == o.ids && flags == o.flags && file == o.file && timeout == o.timeout &&
               fraction == o.fraction && when == o.when && before == o.before &&
               asInt.index() == 0 && o.asInt == asInt && o.asDouble.index() == 1 &&
               asDouble == o.asDouble && o.asText.index() == 2 && asText == o.asText &&
               none == o.none && ratio == o.ratio && SamePointee(null, o.null) &&
               SamePointee(some, o.some) && SamePointee(first, o.first) &&
               (first == second) == (o.first == o.second) && SamePointee(shape, o.shape) &&
               maybe == o.maybe && optionalPair == o.optionalPair;
    }
};

struct Drawing {
    std::vector<std::shared_ptr<Shape>> shapes;
    std::unique_ptr<Shape> featured;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(shapes), CLASSXML_NVP(featured));
    }
};

struct Times {
    std::chrono::sys_time<std::chrono::nanoseconds> fine;
    std::chrono::sys_seconds coarse;
    std::chrono::sys_time<std::chrono::hours> hours;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(fine), CLASSXML_NVP(coarse), CLASSXML_NVP(hours));
    }
};

// A ring of links, each knowing the one before it.
struct Link {
    int value = 0;
    std::shared_ptr<Link> next;
    std::weak_ptr<Link> previous;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(value), CLASSXML_NVP(next), CLASSXML_NVP(previous));
    }
};
struct Ring {
    std::shared_ptr<Link> head;
    std::weak_ptr<Link> gone; // expired
    void Break() {            // a ring owns itself: broken so that nothing leaks
        for (std::shared_ptr<Link> link = head; link;)
            link = std::exchange(link->next, nullptr);
    }
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(head), CLASSXML_NVP(gone));
    }
};

// One object seen through two bases.
struct Named {
    virtual ~Named() = default;
    std::string name;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(name));
    }
};
struct Priced {
    virtual ~Priced() = default;
    double price = 0;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(price));
    }
};
struct Product : Named, Priced {
    template <class Archive>
    void serialize(Archive& ar) {
        ar(classxml::BaseClass<Named>(this), classxml::BaseClass<Priced>(this));
    }
};
struct Catalogue {
    std::shared_ptr<Named> named;
    std::shared_ptr<Priced> priced;
    template <class Archive>
    void serialize(Archive& ar) {
        ar(CLASSXML_NVP(named), CLASSXML_NVP(priced));
    }
};

} // namespace

CLASSXML_REGISTER_TYPE(Circle)
CLASSXML_REGISTER_TYPE(Square)
CLASSXML_REGISTER_TYPE(Product)

namespace {

class ArchiveTypesTest : public classxml::testing::ArchiveEngineTest {};

CLASSXML_ON_BOTH_ENGINES(ArchiveTypesTest);

TEST_P(ArchiveTypesTest, EveryStandardTypeComesBackExactlyAndBothEnginesWriteTheSame) {
    const Model saved;
    std::string xml, otherXml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    ASSERT_TRUE(classxml::SaveToString(otherXml, saved, other));
    EXPECT_EQ(xml, otherXml);
    for (const std::string_view text : {
             "<pair varname=\"pair\"><first keytype=\"CUTF8String\">pi</first>",
             "<flags keytype=\"bitset\">1000000101</flags>",
             "<timeout keytype=\"milliseconds\">1500</timeout>",
             "<when keytype=\"time_point\">2023-11-14T22:13:20.123456789Z</when>",
             "<before keytype=\"time_point\">1969-12-31T23:59:59.999999999Z</before>",
             "<variant varindex=\"1\" varname=\"asDouble\"><item keytype=\"double\">0</item>",
             "<pointer varname=\"second\" varref=\"1\"/>",
             "<pointer varname=\"shape\"><Circle><label ",
         })
        EXPECT_NE(xml.find(text), std::string::npos) << text << "\n" << xml;
    for (const std::string* document : {&xml, &otherXml}) {
        Model loaded;
        loaded.some.reset();
        loaded.shape.reset();
        loaded.asDouble = 5;
        const classxml::Result result = classxml::LoadFromString(*document, loaded, engine);
        ASSERT_TRUE(result) << result.Message();
        EXPECT_TRUE(loaded == saved);
        EXPECT_EQ(loaded.first.get(), loaded.second.get());
    }
}

// Objects shared by many pointers come back as one object each, shared the same way, and keep
// their own types behind the base.
TEST_P(ArchiveTypesTest, SharingAndTypesAreKeptAcrossALargeVector) {
    Drawing saved;
    std::vector<std::shared_ptr<Shape>> objects;
    for (int i = 0; i < 100; ++i) {
        std::shared_ptr<Shape> object;
        if (i % 2) {
            auto circle = std::make_shared<Circle>();
            circle->radius = i;
            object = circle;
        } else {
            auto square = std::make_shared<Square>();
            square->side = i;
            object = square;
        }
        object->label = std::to_string(i);
        objects.push_back(object);
    }
    for (int i = 0; i < 10'000; ++i)
        saved.shapes.push_back(i % 101 == 0 ? nullptr : objects[(i * 7) % 100]);
    std::string xml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    Drawing loaded;
    const classxml::Result result = classxml::LoadFromString(xml, loaded, other);
    ASSERT_TRUE(result) << result.Message();
    ASSERT_EQ(loaded.shapes.size(), saved.shapes.size());
    std::map<const Shape*, const Shape*> loadedAs; // each saved object's loaded one
    std::set<const Shape*> distinct;
    for (std::size_t i = 0; i < saved.shapes.size(); ++i) {
        ASSERT_TRUE(SamePointee(saved.shapes[i], loaded.shapes[i])) << i;
        if (!saved.shapes[i]) continue;
        const auto [entry, first] = loadedAs.emplace(saved.shapes[i].get(), loaded.shapes[i].get());
        EXPECT_EQ(entry->second, loaded.shapes[i].get()) << i;
        distinct.insert(loaded.shapes[i].get());
    }
    EXPECT_EQ(distinct.size(), 100u);
    EXPECT_EQ(loaded.shapes[1].use_count(), saved.shapes[1].use_count() - 1);
}

// Time points hold exactly what their type holds: the ends of its range come back, a time past
// them is refused naming it, and no text overflows on its way in or out.
TEST_P(ArchiveTypesTest, TimePointsAreExactAtTheEndsOfTheirRange) {
    using namespace std::chrono;
    using Fine = sys_time<nanoseconds>;
    for (const Fine fine : {Fine::max(), Fine::min()}) {
        Times saved{fine, sys_seconds(seconds(std::int64_t(9'000'000'000'000))),
                    sys_time<hours>(hours(-2'000'000'000))};
        std::string xml;
        ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
        Times loaded;
        const classxml::Result result = classxml::LoadFromString(xml, loaded, engine);
        ASSERT_TRUE(result) << result.Message() << xml;
        EXPECT_TRUE(loaded.fine == saved.fine && loaded.coarse == saved.coarse &&
                    loaded.hours == saved.hours)
            << xml;
    }
    const std::string valid = "2000-01-01T00:00:00Z";
    const struct {
        std::string fine, coarse;
        std::string_view failing;
    } cases[] = {
        {"2262-04-11T23:47:16.854775807Z", valid, ""},
        {"2262-04-11T23:47:16.854775808Z", valid, "fine"},
        {"1677-09-21T00:12:43.145224192Z", valid, ""},
        {"1677-09-21T00:12:43.145224191Z", valid, "fine"},
        {"99999-01-01T00:00:00Z", valid, "fine"},
        {"2016-12-31T23:59:60Z", valid, "fine"}, // no leap seconds in system_clock's time
        {"2023-02-29T00:00:00Z", valid, "fine"},
        {"2024-02-29T24:00:00Z", valid, "fine"},
        {valid, "292277026596-12-04T15:30:07Z", ""},
        {valid, "292277026596-12-04T15:30:08Z", "coarse"},
        {valid, "-292277022657-01-27T08:29:52Z", ""},
        {valid, "-292277022657-01-27T08:29:51Z", "coarse"},
        {valid, "999999999999-12-31T23:59:59Z", "coarse"},
        {valid, "-999999999999-01-01T00:00:00Z", "coarse"},
    };
    for (const auto& c : cases) {
        const std::string xml = "<Times><fine keytype=\"time_point\">" + c.fine +
                                "</fine><coarse keytype=\"time_point\">" + c.coarse +
                                "</coarse><hours keytype=\"time_point\">1970-01-01T01:00:00Z"
                                "</hours></Times>";
        Times loaded;
        const classxml::Result result = classxml::LoadFromString(xml, loaded, engine);
        EXPECT_EQ(bool(result), c.failing.empty()) << c.fine << " " << c.coarse;
        EXPECT_EQ(result.path, c.failing.empty() ? "" : "Times/" + std::string(c.failing));
    }
}

// A ring of shared_ptrs with weak links back comes back as the same ring, large or small; an
// expired weak_ptr comes back expired.
TEST_P(ArchiveTypesTest, RingsWithWeakLinksBackComeBackAsTheSameRing) {
    for (const int size : {1, 3, 100}) {
        Ring saved;
        std::vector<std::shared_ptr<Link>> links(size);
        for (int i = 0; i < size; ++i)
            links[i] = std::make_shared<Link>(Link{i, {}, {}});
        for (int i = 0; i < size; ++i) {
            links[i]->next = links[(i + 1) % size];
            links[(i + 1) % size]->previous = links[i];
        }
        saved.head = links[0];
        saved.gone = std::make_shared<Link>();
        links.clear();
        std::string xml, otherXml;
        ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
        ASSERT_TRUE(classxml::SaveToString(otherXml, saved, other));
        EXPECT_EQ(xml, otherXml);
        Ring loaded;
        const classxml::Result result = classxml::LoadFromString(xml, loaded, engine);
        ASSERT_TRUE(result) << result.Message();
        EXPECT_TRUE(loaded.gone.expired());
        std::shared_ptr<Link> link = loaded.head;
        for (int i = 0; i < size && link && link->next; ++i) {
            EXPECT_EQ(link->value, i);
            EXPECT_EQ(link->next->previous.lock(), link);
            link = link->next;
        }
        EXPECT_EQ(link, loaded.head) << size;
        // A load that fails after its ring was made frees the ring (make asan finds a leak).
        const std::string gone = "<pointer varname=\"gone\"/>";
        ASSERT_NE(xml.find(gone), std::string::npos) << xml;
        Ring failed;
        EXPECT_FALSE(classxml::LoadFromString(
            xml.replace(xml.find(gone), gone.size(), "<pointer varname=\"gone\" varref=\"0\"/>"),
            failed, engine));
        EXPECT_FALSE(failed.head);
        saved.Break();
        loaded.Break();
    }
}

// One object held through pointers to two different bases is saved once and loaded as one.
TEST_P(ArchiveTypesTest, OneObjectThroughTwoBasesComesBackAsOne) {
    const auto product = std::make_shared<Product>();
    product->name = "lamp";
    product->price = 12.5;
    Catalogue saved{product, product};
    std::string xml;
    ASSERT_TRUE(classxml::SaveToString(xml, saved, engine));
    EXPECT_NE(xml.find("varref=\"1\""), std::string::npos) << xml;
    Catalogue loaded;
    const classxml::Result result = classxml::LoadFromString(xml, loaded, other);
    ASSERT_TRUE(result) << result.Message();
    ASSERT_TRUE(loaded.named && loaded.priced);
    EXPECT_EQ(dynamic_cast<Product*>(loaded.named.get()),
              dynamic_cast<Product*>(loaded.priced.get()));
    EXPECT_EQ(loaded.named->name, "lamp");
    EXPECT_EQ(loaded.priced->price, 12.5);
}

// What cannot be saved or loaded says what and where, and the object stays as it was.
TEST_P(ArchiveTypesTest, UnregisteredTypesAndWrongShapesAreErrorsThatNameThem) {
    Drawing drawing;
    drawing.featured = std::make_unique<Unregistered>();
    std::string xml = "untouched";
    classxml::Result result = classxml::SaveToString(xml, drawing, engine);
    EXPECT_FALSE(result);
    EXPECT_EQ(result.path, "Drawing/featured");
    EXPECT_NE(result.found.find("Unregistered"), std::string::npos) << result.found;
    EXPECT_EQ(xml, "untouched");

    const auto failure = [&](const std::string& member) {
        Model model;
        model.array = {9, 9, 9};
        const std::string document = "<Model>" + member + "</Model>";
        const classxml::Result failed = classxml::LoadFromString(document, model, engine);
        EXPECT_FALSE(failed) << member;
        EXPECT_EQ(model.array, (std::array<int, 3>{9, 9, 9}));
        return failed.path + ": " + failed.expected + " / " + failed.found;
    };
    EXPECT_EQ(failure("<array keytype=\"vector\" varkeytype=\"int\"><item keytype=\"int\">1</item>"
                      "</array>"),
              "Model/array: 3 items / 1");
    EXPECT_EQ(
        failure(
            "<array keytype=\"vector\" varkeytype=\"int\"><item keytype=\"int\">1</item><item "
            "keytype=\"int\">2</item><item keytype=\"int\">3</item><item keytype=\"int\">4</item>"
            "</array>"),
        "Model/array/item[4]: 3 items / more");
    const std::string array = "<array keytype=\"vector\" varkeytype=\"int\"><item keytype=\"int\">1"
                              "</item><item keytype=\"int\">2</item><item keytype=\"int\">3</item>"
                              "</array>";
    EXPECT_EQ(failure(array + "<pair varname=\"pair\"><first keytype=\"CUTF8String\">x</first>"
                              "</pair>"),
              "Model/pair/second: a member / none");
    const Model defaults;
    std::string valid;
    ASSERT_TRUE(classxml::SaveToString(valid, defaults, engine));
    const auto edited = [&](const std::string& from, const std::string& to) {
        std::string document = valid;
        for (std::size_t at = 0; (at = document.find(from, at)) != std::string::npos;
             at += to.size())
            document.replace(at, from.size(), to);
        Model model;
        model.array = {9, 9, 9};
        const classxml::Result failed = classxml::LoadFromString(document, model, engine);
        EXPECT_FALSE(failed) << to;
        EXPECT_EQ(model.array, (std::array<int, 3>{9, 9, 9}));
        return failed.path + ": " + failed.expected + " / " + failed.found;
    };
    EXPECT_EQ(edited("1000000101</flags>", "101</flags>"),
              "Model/flags: 10 bits of 0 and 1 / \"101\"");
    EXPECT_EQ(edited("<timeout keytype=\"milliseconds\">", "<timeout keytype=\"seconds\">"),
              "Model/timeout: milliseconds / keytype seconds");
    EXPECT_EQ(
        edited("22:13:20.123456789Z", "22:13:20.1234567891Z"),
        "Model/when: a UTC time time_point holds exactly / \"2023-11-14T22:13:20.1234567891Z\"");
    EXPECT_EQ(edited("<variant varindex=\"1\" varname=\"asDouble\">",
                     "<variant varindex=\"7\" varname=\"asDouble\">"),
              "Model/asDouble: an alternative from 0 to 2 / \"7\"");
    EXPECT_EQ(edited("Circle>", "Hexagon>"), "Model/shape/Hexagon[1]: one of the types registered "
                                             "for Shape: Circle, Square / element Hexagon");
    EXPECT_EQ(edited("varref=\"1\"", "varref=\"2\""),
              "Model/second: an object with varid 2 / none");
}

} // namespace
