#include <algorithm>

#include <gtest/gtest.h>

#include "classxml/platform/LoggingFile.h"
#include "classxml/platform/Utf.h"
#include "support/TempDir.h"

using classxml::platform::Utf16ToUtf8;
using classxml::platform::Utf8ToUtf16;

namespace {

CBasicString<WideChar> FromBytes(const std::string& bytes) {
    return Utf8ToUtf16(bytes);
}

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

TEST(Utf, UnpairedSurrogatesBecomeReplacementCharacters) {
    const std::string replacement = "\xEF\xBF\xBD";
    const WideChar loneHigh[] = {0xD83D, 'a'};
    const WideChar loneLow[] = {'a', 0xDE00};
    const WideChar reversed[] = {0xDE00, 0xD83D};
    EXPECT_EQ(ToBytes({loneHigh, 2}), replacement + "a");
    EXPECT_EQ(ToBytes({loneLow, 2}), "a" + replacement);
    EXPECT_EQ(ToBytes({reversed, 2}), replacement + replacement);
    EXPECT_EQ(ToBytes({loneHigh, 1}), replacement);
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
