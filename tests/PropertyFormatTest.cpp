// The text of property values: what the writers put into the document and what the readers
// make of any content.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/Document.h"

namespace {

using Handle = CXMLClassReaderWriter;
using View = Handle::View;

class PropertyFormatTest : public classxml::testing::DocumentFixture {
protected:
    // A property element <p keytype="t">content</p> under the root of the typed document.
    Handle Property(View content) {
        return typed.AddElementAttributesContent(WIDE("p"), {{Handle::KEY_TYPE, WIDE("t")}},
                                                 content);
    }
    template <class Value, class Reader>
    Value Read(View content, Reader reader, bool expectedResult = true) {
        Handle property = Property(content);
        Value value{};
        EXPECT_EQ((property.*reader)(WIDE("p"), WIDE("t"), value), expectedResult);
        return value;
    }
    // The content a writer produced.
    template <class Writer, class Value>
    CBasicString<WideChar> Written(Writer writer, Value value) {
        return (typed.*writer)(WIDE("w"), WIDE("t"), value).GetContent();
    }
};

TEST_F(PropertyFormatTest, SignedIntegersReadTheirLeadingNumber) {
    EXPECT_EQ(Read<int>(WIDE("+17"), &Handle::GetintProperty), 17);
    EXPECT_EQ(Read<int>(WIDE("12abc"), &Handle::GetintProperty), 12);
    EXPECT_EQ(Read<int>(WIDE("abc"), &Handle::GetintProperty), 0); // still found: true
    EXPECT_EQ(Read<int>(WIDE(""), &Handle::GetintProperty), 0);
    EXPECT_EQ(Read<int>(WIDE("-"), &Handle::GetintProperty), 0);
    EXPECT_EQ(Read<int>(WIDE(" 5"), &Handle::GetintProperty), 0);
    EXPECT_EQ(Read<int>(WIDE("+-5"), &Handle::GetintProperty), 0);
    EXPECT_EQ(Read<int>(WIDE("2147483647"), &Handle::GetintProperty), 2147483647);
    EXPECT_EQ(Read<int>(WIDE("2147483648"), &Handle::GetintProperty), 0);
    EXPECT_EQ(Read<int>(WIDE("-2147483648"), &Handle::GetintProperty), -2147483647 - 1);
    EXPECT_EQ(Read<int>(WIDE("-2147483649"), &Handle::GetintProperty), 0);
    EXPECT_EQ(Read<std::int32_t>(WIDE("-00042x"), &Handle::GetlongProperty), -42);
    EXPECT_EQ(Read<std::int64_t>(WIDE("-9223372036854775808"), &Handle::Get__int64Property),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(Read<std::int64_t>(WIDE("9223372036854775808"), &Handle::Gettime_tProperty), 0);
    EXPECT_EQ(Read<std::int64_t>(WIDE("99999999999999999999999"), &Handle::Get__int64Property), 0);
}

TEST_F(PropertyFormatTest, DigitsAreTakenByTheirLowByte) {
    // U+0131 and U+0132 have the low bytes of "1" and "2".
    EXPECT_EQ(Read<int>(WIDE("\u0131\u0132"), &Handle::GetintProperty), 12);
    EXPECT_EQ(Read<UINT>(WIDE("\u01337"), &Handle::GetUINTProperty), 37);
    // The sign is compared as a whole code unit: U+012D is no minus.
    EXPECT_EQ(Read<int>(WIDE("\u012D5"), &Handle::GetintProperty), 0);
}

TEST_F(PropertyFormatTest, UnsignedIntegersTakeNoSign) {
    EXPECT_EQ(Read<UINT>(WIDE("-5"), &Handle::GetUINTProperty), 0u);
    EXPECT_EQ(Read<UINT>(WIDE("+5"), &Handle::GetUINTProperty), 0u);
    EXPECT_EQ(Read<DWORD>(WIDE("4294967295"), &Handle::GetDWORDProperty), 4294967295u);
    EXPECT_EQ(Read<std::uint32_t>(WIDE("4294967296"), &Handle::GetUlongProperty), 0u);
    EXPECT_EQ(Read<DWORD64>(WIDE("18446744073709551615"), &Handle::GetDWORD64Property),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(Read<DB_ID>(WIDE("18446744073709551616"), &Handle::GetDB_IDProperty), DB_ID(0));
    EXPECT_EQ(Read<DB_USER_ID>(WIDE("77"), &Handle::GetDB_USER_IDProperty), DB_USER_ID(77));
}

TEST_F(PropertyFormatTest, DoublesReadTheGeneralFormatOnly) {
    EXPECT_EQ(Read<double>(WIDE("1e-3"), &Handle::GetdoubleProperty), 0.001);
    EXPECT_EQ(Read<double>(WIDE("+1"), &Handle::GetdoubleProperty), 0.0);
    EXPECT_EQ(Read<double>(WIDE(" 1"), &Handle::GetdoubleProperty), 0.0);
    EXPECT_EQ(Read<double>(WIDE("-2.5x"), &Handle::GetdoubleProperty), -2.5);
    EXPECT_EQ(Read<double>(WIDE("1e400"), &Handle::GetdoubleProperty), 0.0);
    EXPECT_EQ(Read<double>(WIDE("INFINITY"), &Handle::GetdoubleProperty), HUGE_VAL);
    EXPECT_TRUE(std::isnan(Read<double>(WIDE("NaN"), &Handle::GetdoubleProperty)));
    EXPECT_EQ(Read<DB_VERSIONNUMBER>(WIDE("2.050"), &Handle::GetDB_VERSIONNUMBERProperty).get(),
              2.05);
    EXPECT_EQ(Read<DB_TIME_TYPE>(WIDE("12.5"), &Handle::GetDB_TIME_TYPEProperty).get(), 12.5);
}

TEST_F(PropertyFormatTest, BoolsAreExactlyTrueOrFalse) {
    EXPECT_TRUE(Read<bool>(WIDE("true"), &Handle::GetboolProperty));
    for (View other : {View(WIDE("TRUE")), View(WIDE(" true")), View(WIDE("1")), View(),
                       View(WIDE("true ")), View(WIDE("trueX")), View(WIDE("1 "))}) {
        Handle property = Property(other);
        bool value = true;
        EXPECT_FALSE(property.GetboolProperty(WIDE("p"), WIDE("t"), value));
        EXPECT_TRUE(value); // untouched
        value = false;
        EXPECT_FALSE(property.GetboolProperty(WIDE("p"), WIDE("t"), value));
        EXPECT_FALSE(value);
    }
    bool value = true;
    EXPECT_TRUE(Property(WIDE("false")).GetboolLISTProperty(WIDE("p"), WIDE("t"), value));
    EXPECT_FALSE(value);
}

TEST_F(PropertyFormatTest, NumbersAreWrittenInTheirFixedForms) {
    EXPECT_EQ(Written(&Handle::AddintProperty, std::numeric_limits<int>::min()),
              WIDE("-2147483648"));
    EXPECT_EQ(Written(&Handle::Add__int64Property, std::numeric_limits<std::int64_t>::min()),
              WIDE("-9223372036854775808"));
    EXPECT_EQ(Written(&Handle::AddDWORD64Property, std::numeric_limits<DWORD64>::max()),
              WIDE("18446744073709551615"));
    EXPECT_EQ(Written(&Handle::AddboolProperty, false), WIDE("false"));
    EXPECT_EQ(Written(&Handle::AdddoubleProperty, 0.1), WIDE("0.10000000000000001"));
    EXPECT_EQ(Written(&Handle::AdddoubleProperty, 1.0), WIDE("1"));
    EXPECT_EQ(Written(&Handle::AdddoubleProperty, 1e300), WIDE("1.0000000000000001e+300"));
    EXPECT_EQ(Written(&Handle::AdddoubleProperty, std::nan("")), WIDE("nan"));
    EXPECT_EQ(Written(&Handle::AdddoubleProperty, -HUGE_VAL), WIDE("-inf"));
    EXPECT_EQ(Written(&Handle::AddDB_TIME_TYPEProperty, DB_TIME_TYPE(-0.0)), WIDE("-0"));
}

TEST_F(PropertyFormatTest, VersionNumbersKeepThreeDecimals) {
    const std::pair<double, View> cases[] = {
        {1.0, WIDE("1")},
        {1.001, WIDE("1.001")},
        {1.01, WIDE("1.010")},
        {1.1, WIDE("1.100")},
        {2.5, WIDE("2.500")},
        {10.125, WIDE("10.125")},
        {2.05, WIDE("2.050")},
        {2.005, WIDE("2.005")},
        {2.9996, WIDE("2.001000")},
        {0.0004, WIDE("0")},
        {-1.5, WIDE("-1.500")},
        // The major number is any unsigned 64-bit integer; from 2^64 on the value is a double.
        {1.8e19, WIDE("18000000000000000000")},
        {18446744073709549568.0, WIDE("18446744073709549568")},
        {18446744073709551616.0, WIDE("1.8446744073709552e+19")},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(Written(&Handle::AddDB_VERSIONNUMBERProperty, DB_VERSIONNUMBER(value)), text)
            << value;
}

} // namespace
