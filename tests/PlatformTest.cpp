#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "classxml/platform/LoggingFile.h"
#include "classxml/platform/Utf.h"
#include "support/TempDir.h"

using classxml::platform::Utf16ToUtf8;
using classxml::platform::Utf8ToUtf16;

namespace {

CBasicString<WideChar> FromBytes(const std::string& bytes) { return Utf8ToUtf16(bytes); }

std::string ToBytes(const CBasicString<WideChar>& text) {
    const auto utf8 = Utf16ToUtf8(text);
    return {reinterpret_cast<const char*>(utf8.data()), utf8.size()};
}

TEST(Utf, ValidTextRoundTripsInBothDirections) {
    const std::string bytes = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z"; // a é € 😀 z
    const CBasicString<WideChar> wide = FromBytes(bytes);
    EXPECT_EQ(wide, CBasicString<WideChar>(WIDE("a\u00E9\u20AC\U0001F600z")));
    EXPECT_EQ(ToBytes(wide), bytes);
    EXPECT_TRUE(FromBytes("").empty());
    EXPECT_TRUE(ToBytes({}).empty());
}

TEST(Utf, IllFormedUtf8BecomesOneReplacementPerMaximalSubpart) {
    const CBasicString<WideChar> r(1, WideChar(0xFFFD));
    EXPECT_EQ(FromBytes("a\xC3"), WIDE("a") + r);            // truncated at the end
    EXPECT_EQ(FromBytes("\xE2\x82x"), r + WIDE("x"));        // truncated three-byte form
    EXPECT_EQ(FromBytes("\xC0\xAF"), r + r);                 // overlong
    EXPECT_EQ(FromBytes("\xED\xA0\x80"), r + r + r);         // encoded surrogate
    EXPECT_EQ(FromBytes("\xF4\x90\x80\x80"), r + r + r + r); // above U+10FFFF
    EXPECT_EQ(FromBytes("\x80\xBFok"), r + r + WIDE("ok"));  // stray continuations
    EXPECT_EQ(FromBytes("\xF0\x9F\x98"), r);                 // truncated four-byte form
    EXPECT_EQ(FromBytes(std::string("x\0y", 3)), CBasicString<WideChar>(WIDE("x\0y"), 3));
}

// Each conversion to UTF-8 alike: at the start, middle and end of a text.
TEST(Utf, UnpairedSurrogatesBecomeReplacementCharactersAndEveryLengthIsRight) {
    const std::string r = "\xEF\xBF\xBD", pair = "\xF0\x9F\x98\x80";
    constexpr WideChar H = 0xD83D, L = 0xDE00;
    const struct {
        std::vector<WideChar> units;
        std::string utf8;
    } cases[] = {
        {{H, 'a'}, r + "a"},
        {{'a', L}, "a" + r},
        {{L, H}, r + r},
        {{H}, r},
        {{L}, r},
        {{H, H, L}, r + pair},
        {{'a', H, H, 'b'}, "a" + r + r + "b"},
        {{L, 'a', L}, r + "a" + r},
        {{H, L, H}, pair + r},
        {{'x', L, H, L}, "x" + r + pair},
        {{L, L}, r + r},
        {{0x7F, 0x80}, "\x7F\xC2\x80"},
        {{0x7FF, 0x800}, "\xDF\xBF\xE0\xA0\x80"},
        {{0xFFFF}, "\xEF\xBF\xBF"},
    };
    for (const auto& c : cases) {
        const CBasicStringView<WideChar> units(c.units.data(), c.units.size());
        EXPECT_EQ(ToBytes(CBasicString<WideChar>(units)), c.utf8);
        std::string appended = "<";
        classxml::platform::AppendUtf16ToUtf8(units, appended);
        EXPECT_EQ(appended, "<" + c.utf8);
        std::string encoded(3 * units.size(), '\0');
        encoded.resize(classxml::platform::EncodeUtf16AsUtf8(units, encoded.data()));
        EXPECT_EQ(encoded, c.utf8);
    }
}

TEST(LoggingFile, WritesEntriesAtOrBelowItsLevelAndAllErrors) {
    classxml::testing::TempDir dir;
    const auto path = dir / "log.txt";
    {
        CLoggingFile log(classxml::testing::WidePath(path), 3);
        EXPECT_EQ(log.GetLoggingLevel(), 3);
        const LoggingSourcePos position{"Source.cpp", 42, "Sun Nov 22 10:00:00 2026", "void f()"};
        log.LogInfo(2, 3, position, WIDE("kept info"));
        log.LogInfo(5, 3, position, WIDE("dropped info"));
        log.LogError(WIDE("an error \u00E9"), position);
    }
    const std::string text = classxml::testing::ReadFile(path);
    EXPECT_NE(text.find("kept info"), std::string::npos);
    EXPECT_EQ(text.find("dropped info"), std::string::npos);
    EXPECT_NE(text.find("[ERROR] Source.cpp:42 (void f()) an error \xC3\xA9\n"), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
}

} // namespace
