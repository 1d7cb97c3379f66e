// Property elements through the handle: the documented XML, every typed member round-tripping
// through a file, the type check, containers and maps.
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "support/Document.h"
#include "support/TempDir.h"

namespace {

using Handle = CXMLClassReaderWriter;
using View = Handle::View;
using classxml::testing::WidePath;

class PropertiesTest : public classxml::testing::DocumentFixture {};

TEST_F(PropertiesTest, WorkedExamplesProduceTheDocumentedXml) {
    for (Handle* root : {&typed, &untyped}) {
        root->AddintProperty(WIDE("count"), WIDE("int"), 42);
        root->AddboolProperty(WIDE("visible"), WIDE("bool"), true);
        root->AdddoubleProperty(WIDE("ratio"), WIDE("double"), 0.1);
        Handle values = root->AddVECTORProperty(WIDE("values"), WIDE("int"));
        values.AddintVECTORProperty(WIDE("item"), WIDE("int"), 5);
        values.AddintVECTORProperty(WIDE("item"), WIDE("int"), 7);
        root->AddMAPProperty(WIDE("limits"), WIDE("CString"), WIDE("int"));
    }
    EXPECT_EQ(Body(typed), "<Root><count keytype=\"int\">42</count>"
                           "<visible keytype=\"bool\">true</visible>"
                           "<ratio keytype=\"double\">0.10000000000000001</ratio>"
                           "<values keytype=\"vector\" varkeytype=\"int\">"
                           "<item keytype=\"int\">5</item><item keytype=\"int\">7</item></values>"
                           "<limits keytype=\"map\" varkeytype=\"CString\" vartype=\"int\"/>"
                           "</Root>");
    EXPECT_EQ(Body(untyped), "<Root><count>42</count><visible>true</visible>"
                             "<ratio>0.10000000000000001</ratio>"
                             "<values><item>5</item><item>7</item></values><limits/></Root>");
}

// One writer call and the reader call that checks it, for every typed member.
struct Case {
    std::function<void(Handle&)> write;
    std::function<void(Handle&)> check;
};

template <class Value>
bool SameBits(const Value& a, const Value& b) {
    if constexpr (std::is_same_v<Value, double>)
        return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
    else
        return a == b;
}

// Writes with Add<Writer>Property and reads back with Get<Reader>Property; the element is
// named after the writer, its type text after the reader's family.
#define VALUE_CASE(Writer, Reader, Value, value)                                                   \
    Case {                                                                                         \
        [](Handle& h) { h.Add##Writer##Property(WIDE(#Writer), WIDE(#Reader), value); },           \
            [](Handle& h) {                                                                        \
                Value read{};                                                                      \
                EXPECT_TRUE(h.Get##Reader##Property(WIDE(#Writer), WIDE(#Reader), read))           \
                    << #Writer;                                                                    \
                EXPECT_TRUE(SameBits<Value>(read, value)) << #Writer;                              \
            }                                                                                      \
    }
#define STRING_CASE(Writer, Reader, value)                                                         \
    Case {                                                                                         \
        [](Handle& h) { h.Add##Writer##Property(WIDE(#Writer), WIDE(#Reader), value); },           \
            [](Handle& h) {                                                                        \
                WideChar* read = nullptr;                                                          \
                std::size_t length = 0;                                                            \
                EXPECT_TRUE(h.Get##Reader##Property(WIDE(#Writer), WIDE(#Reader), &read, length)); \
                EXPECT_EQ(View(read, length), View(value)) << #Writer;                             \
                Handle::FreeMemory(&read);                                                         \
            }                                                                                      \
    }
#define ALL_FIVE(Case, Stem, ...)                                                                  \
    Case(Stem, Stem, __VA_ARGS__), Case(Stem##LIST, Stem##LIST, __VA_ARGS__),                      \
        Case(Stem##SET, Stem##SET, __VA_ARGS__), Case(Stem##VECTOR, Stem##VECTOR, __VA_ARGS__),    \
        Case(Stem##MAP, Stem##MAP, __VA_ARGS__)

const double kNan = std::numeric_limits<double>::quiet_NaN();

std::vector<Case> EveryMember() {
    return {
        ALL_FIVE(VALUE_CASE, int, int, std::numeric_limits<int>::min()),
        ALL_FIVE(VALUE_CASE, long, std::int32_t, 2147483647),
        ALL_FIVE(VALUE_CASE, UINT, UINT, 4294967295u),
        ALL_FIVE(VALUE_CASE, DWORD, DWORD, 123456u),
        VALUE_CASE(Ulong, Ulong, std::uint32_t, 99u),
        // Spelled out: on Windows __int64 is a macro, which ALL_FIVE would expand.
        VALUE_CASE(__int64, __int64, std::int64_t, std::numeric_limits<std::int64_t>::min()),
        VALUE_CASE(__int64LIST, __int64LIST, std::int64_t, -2),
        VALUE_CASE(__int64SET, __int64SET, std::int64_t, -3),
        VALUE_CASE(__int64VECTOR, __int64VECTOR, std::int64_t, 4),
        VALUE_CASE(__int64MAP, __int64MAP, std::int64_t, std::numeric_limits<std::int64_t>::max()),
        ALL_FIVE(VALUE_CASE, time_t, std::int64_t, 1700000000123),
        VALUE_CASE(DWORD64, DWORD64, DWORD64, std::numeric_limits<DWORD64>::max()),
        VALUE_CASE(DWORD64MAP, DWORD64, DWORD64, 5u),
        VALUE_CASE(DB_ID, DB_ID, DB_ID, DB_ID(18446744073709551615u)),
        VALUE_CASE(DB_IDLIST, DB_ID, DB_ID, DB_ID(1)),
        VALUE_CASE(DB_IDSET, DB_ID, DB_ID, DB_ID(2)),
        VALUE_CASE(DB_IDMAP, DB_ID, DB_ID, DB_ID(3)),
        // Group and user identifiers have readers only; they read identifier texts.
        Case{[](Handle& h) { h.AddDB_IDProperty(WIDE("group"), WIDE("id"), DB_ID(7)); },
             [](Handle& h) {
                 DB_GROUP_ID group;
                 DB_USER_ID user;
                 EXPECT_TRUE(h.GetDB_GROUP_IDProperty(WIDE("group"), WIDE("id"), group));
                 EXPECT_TRUE(h.GetDB_USER_IDProperty(WIDE("group"), WIDE("id"), user));
                 EXPECT_EQ(group.get() + user.get(), 14u);
             }},
        ALL_FIVE(VALUE_CASE, bool, bool, true),
        VALUE_CASE(boolMAP, bool, bool, true),
        ALL_FIVE(VALUE_CASE, double, double, 0.30000000000000004), // needs all 17 digits
        VALUE_CASE(double, double, double, kNan),
        VALUE_CASE(doubleLIST, double, double, -std::numeric_limits<double>::infinity()),
        VALUE_CASE(doubleSET, double, double, std::numeric_limits<double>::denorm_min()),
        VALUE_CASE(doubleVECTOR, double, double, -0.0),
        VALUE_CASE(doubleMAP, double, double, 1e300),
        VALUE_CASE(DB_TIME_TYPE, DB_TIME_TYPE, DB_TIME_TYPE, DB_TIME_TYPE(45678.123456789)),
        VALUE_CASE(DB_TIME_TYPEMAP, DB_TIME_TYPE, DB_TIME_TYPE, DB_TIME_TYPE(-1.5)),
        VALUE_CASE(DB_UTC_TIME_TYPE, DB_UTC_TIME_TYPE, DB_UTC_TIME_TYPE, DB_UTC_TIME_TYPE(3.25)),
        VALUE_CASE(DB_VERSIONNUMBER, DB_VERSIONNUMBER, DB_VERSIONNUMBER, DB_VERSIONNUMBER(2.05)),
        VALUE_CASE(DB_VERSIONNUMBERLIST, DB_VERSIONNUMBER, DB_VERSIONNUMBER, DB_VERSIONNUMBER(3)),
        VALUE_CASE(DB_VERSIONNUMBERSET, DB_VERSIONNUMBER, DB_VERSIONNUMBER, DB_VERSIONNUMBER(1.1)),
        VALUE_CASE(DB_VERSIONNUMBERMAP, DB_VERSIONNUMBER, DB_VERSIONNUMBER,
                   DB_VERSIONNUMBER(10.125)),
        ALL_FIVE(STRING_CASE, AlpTString, WIDE("alp \u00E9 <&> \U0001F600")),
        ALL_FIVE(STRING_CASE, ENUM, WIDE("eRed")),
        ALL_FIVE(STRING_CASE, UnilexString, WIDE("unilex")),
        STRING_CASE(AlpTString, CSortString, WIDE("sorted")),
        STRING_CASE(AlpTStringLIST, CSortStringLIST, WIDE("s1")),
        STRING_CASE(AlpTStringSET, CSortStringSET, WIDE("s2")),
        STRING_CASE(AlpTStringVECTOR, CSortStringVECTOR, WIDE("s3")),
        STRING_CASE(AlpTStringMAP, CSortStringMAP, WIDE("s4")),
        STRING_CASE(StringAsCDATA, StringAsCDATA, WIDE("cdata ]]> <&>\nline")),
        STRING_CASE(StringAsCDATALIST, StringAsCDATA, WIDE("a")),
        STRING_CASE(StringAsCDATASET, StringAsCDATA, WIDE("]]>")),
        STRING_CASE(StringAsCDATAVECTOR, StringAsCDATA, WIDE("c")),
        STRING_CASE(StringAsCDATAMAP, StringAsCDATA, WIDE("d")),
        Case{[](Handle& h) {
                 h.AddCUTF8StringMAPProperty(WIDE("utf8"), WIDE("CUTF8String"),
                                             u8"caf\u00E9 \U0001F600");
             },
             [](Handle& h) {
                 char8_t* read = nullptr;
                 std::size_t length = 0;
                 EXPECT_TRUE(
                     h.GetCUTF8StringProperty(WIDE("utf8"), WIDE("CUTF8String"), &read, length));
                 EXPECT_EQ(CBasicStringView<char8_t>(read, length), u8"caf\u00E9 \U0001F600");
                 Handle::FreeMemory(&read);
             }},
    };
}

// Reads the saved class back with a handle of the given kind and checks every member in order.
void CheckEveryMember(const std::filesystem::path& file, bool typeCheck) {
    Handle reader(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, typeCheck);
    ASSERT_TRUE(reader.ReadFromFile(WidePath(file)));
    Handle member = reader.GetFirstSubElement(WIDE("Sample")).GetFirstSubElement();
    for (const Case& c : EveryMember()) {
        ASSERT_TRUE(member.IsDefined());
        c.check(member);
        member = member.GetNextElement();
    }
    EXPECT_FALSE(member.IsDefined());
    reader.ReleaseDocument();
}

TEST_F(PropertiesTest, EveryMemberRoundTripsThroughAFile) {
    Handle sample = typed.CreateClass(WIDE("Sample"), WIDE("sample"));
    for (const Case& c : EveryMember())
        c.write(sample);
    classxml::testing::TempDir dir;
    ASSERT_TRUE(typed.SaveToFile(WidePath(dir / "every.xml")));
    CheckEveryMember(dir / "every.xml", true);
    CheckEveryMember(dir / "every.xml", false);
}

TEST_F(PropertiesTest, TypeTextsAreComparedExactlyOnTypedHandlesOnly) {
    Handle empty = typed.AddintProperty(WIDE("n"), {}, 5);
    EXPECT_EQ(Body(typed), R"(<Root><n keytype="">5</n></Root>)");
    int value = -1;
    EXPECT_FALSE(empty.GetintProperty(WIDE("n"), WIDE("int"), value));
    EXPECT_EQ(value, -1);
    EXPECT_TRUE(empty.GetintProperty(WIDE("n"), {}, value));
    EXPECT_EQ(value, 5);

    Handle plain = untyped.AddintProperty(WIDE("n"), WIDE("int"), 6);
    EXPECT_TRUE(plain.GetintProperty(WIDE("n"), WIDE("anything"), value));
    EXPECT_EQ(value, 6);
    Handle typedView = typed; // a typed handle on an element without keytype
    Handle bare = typedView.AddElementAttributesContent(WIDE("n"), {}, WIDE("7"));
    EXPECT_FALSE(bare.GetintProperty(WIDE("n"), WIDE("int"), value));
    EXPECT_TRUE(bare.GetintProperty(WIDE("n"), {}, value));
    EXPECT_EQ(value, 7);
    EXPECT_FALSE(bare.GetintProperty(WIDE("N"), {}, value)); // names are case-sensitive
}

TEST_F(PropertiesTest, ReadersLookAtTheCurrentElementOnly) {
    typed.AddintProperty(WIDE("first"), WIDE("int"), 1);
    Handle second = typed.AddintProperty(WIDE("second"), WIDE("int"), 2);
    int value = -1;
    EXPECT_FALSE(typed.GetintProperty(WIDE("first"), WIDE("int"), value)); // on the root
    EXPECT_FALSE(second.GetintProperty(WIDE("first"), WIDE("int"), value));
    EXPECT_EQ(value, -1);
    WideChar* text = reinterpret_cast<WideChar*>(&value);
    std::size_t length = 9;
    EXPECT_FALSE(second.GetAlpTStringProperty(WIDE("first"), WIDE("int"), &text, length));
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(length, 0u);
    Handle none(log, Handle::XMLIOTYPE_NONE, true);
    EXPECT_FALSE(none.GetintProperty({}, {}, value));
}

TEST_F(PropertiesTest, EmptyStringsAreFoundWithoutAnArray) {
    Handle empty = typed.AddAlpTStringProperty(WIDE("s"), WIDE("t"), {});
    WideChar* text = nullptr;
    std::size_t length = 3;
    EXPECT_TRUE(empty.GetAlpTStringProperty(WIDE("s"), WIDE("t"), &text, length));
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(Body(typed), R"(<Root><s keytype="t"/></Root>)");
}

TEST_F(PropertiesTest, VariableNames) {
    Handle named = typed.CreateClass(WIDE("C"), WIDE("v"));
    Handle anonymous = typed.CreateClass(WIDE("C"));
    EXPECT_TRUE(named.IsVariableName(WIDE("v")));
    EXPECT_FALSE(named.IsVariableName(WIDE("w")));
    EXPECT_FALSE(named.IsVariableName({}));
    EXPECT_TRUE(anonymous.IsVariableName({}));
    EXPECT_FALSE(anonymous.IsVariableName(WIDE("v")));
    Handle plain = untyped.CreateClass(WIDE("C"), WIDE("v"));
    EXPECT_TRUE(plain.IsVariableName(WIDE("anything")));
}

TEST_F(PropertiesTest, DequesAreListsInAFile) {
    Handle list = typed.AddLISTProperty(WIDE("seq"), WIDE("int"));
    Handle deque = typed.AddDEQUEProperty(WIDE("seq"), WIDE("int"));
    EXPECT_EQ(Body(typed), R"(<Root><seq keytype="list" varkeytype="int"/>)"
                           R"(<seq keytype="list" varkeytype="int"/></Root>)");
    EXPECT_TRUE(list.IsDEQUEProperty(WIDE("seq"), WIDE("int")));
    EXPECT_TRUE(deque.IsLISTProperty(WIDE("seq"), WIDE("int")));
    EXPECT_FALSE(list.IsSETProperty(WIDE("seq"), WIDE("int")));
    EXPECT_FALSE(list.IsLISTProperty(WIDE("seq"), WIDE("double")));
    EXPECT_FALSE(list.IsLISTProperty(WIDE("other"), WIDE("int")));
}

TEST_F(PropertiesTest, ContainerTestsWithPairsAndEmptyItemTypes) {
    Handle vector = typed.AddVECTORProperty(WIDE("v"), WIDE("double"));
    EXPECT_TRUE(vector.IsVECTORProperty(WIDE("v"), Handle::TypePair(WIDE("int"), WIDE("double"))));
    EXPECT_TRUE(vector.IsVECTORProperty(WIDE("v"), Handle::TypePair(WIDE("double"), WIDE("x"))));
    EXPECT_FALSE(vector.IsVECTORProperty(WIDE("v"), Handle::TypePair(WIDE("int"), WIDE("x"))));
    Handle set = typed.AddSETProperty(WIDE("s"), {});
    EXPECT_TRUE(set.HasAttribute(Handle::VARKEY_TYPE));
    EXPECT_TRUE(set.IsSETProperty(WIDE("s"), View()));
    EXPECT_FALSE(set.GetFirstSubElement().IsDefined()); // an empty container has no children

    Handle scalar = untyped.AddintProperty(WIDE("s"), WIDE("int"), 1);
    EXPECT_TRUE(scalar.IsSETProperty(WIDE("s"), WIDE("whatever")));
    EXPECT_TRUE(untyped.AddVECTORProperty(WIDE("s"), WIDE("int")).IsSETProperty(WIDE("s"), View()));
}

TEST_F(PropertiesTest, MapTestsWithPairs) {
    Handle map = typed.AddMAPProperty(WIDE("limits"), WIDE("CString"), WIDE("int"));
    const Handle::TypePair keys(WIDE("int"), WIDE("CString"));
    const Handle::TypePair values(WIDE("double"), WIDE("int"));
    EXPECT_TRUE(map.IsMAPProperty(WIDE("limits"), WIDE("CString"), WIDE("int")));
    EXPECT_TRUE(map.IsMAPProperty(WIDE("limits"), keys, values));
    EXPECT_TRUE(map.IsMAPProperty(WIDE("limits"), keys, WIDE("int")));
    EXPECT_TRUE(map.IsMAPProperty(WIDE("limits"), WIDE("CString"), values));
    EXPECT_FALSE(map.IsMAPProperty(WIDE("limits"), WIDE("CString"), WIDE("double")));
    EXPECT_FALSE(map.IsMAPProperty(WIDE("limits"), WIDE("int"), WIDE("int")));

    Handle list = typed.AddLISTProperty(WIDE("limits"), WIDE("CString"));
    EXPECT_FALSE(list.IsMAPProperty(WIDE("limits"), WIDE("CString"), View()));
    EXPECT_FALSE(list.IsMAPProperty(WIDE("limits"), keys, values));
    Handle plain = untyped.AddLISTProperty(WIDE("limits"), WIDE("CString"));
    EXPECT_TRUE(plain.IsMAPProperty(WIDE("limits"), WIDE("a"), WIDE("b")));
    EXPECT_TRUE(plain.IsMAPProperty(WIDE("limits"), keys, values));
}

} // namespace
