#include "classxml/valuetext/ValueText.h"

#include <charconv>
#include <cmath>
#include <string>

namespace classxml::value_text {

Text FromAscii(const char* text, std::size_t length) {
    Text result;
    for (std::size_t i = 0; i < length; ++i)
        result.m_text[i] = static_cast<WideChar>(text[i]);
    result.m_text[length] = 0;
    result.m_length = length;
    return result;
}

namespace {

template <class Number>
Text FormatWithToChars(Number value) {
    char text[32]{};
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return FromAscii(text, static_cast<std::size_t>(end - text));
}

// major.minor of a finite value in [0, 2^64).
std::string VersionText(double value) {
    const auto major = static_cast<std::uint64_t>(value);
    const auto minor =
        static_cast<std::uint64_t>(std::round(1000.0 * (value - static_cast<double>(major))));
    std::string text = std::to_string(major);
    if (minor == 0) return text;
    // Three digits stand as they are, two get one zero, any other count two: a fraction that
    // rounds up to 1000 makes 2.9996 "2.001000", which written files rely on.
    const std::string digits = std::to_string(minor);
    text += digits.size() == 3 ? "." : digits.size() == 2 ? ".0" : ".00";
    return text + digits;
}

// Digit values by the low byte of a code unit; 0xFF for everything that is not a digit.
constexpr std::array<std::uint8_t, 256> kDigitValues = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(0xFF);
    for (int digit = 0; digit < 10; ++digit)
        table['0' + digit] = static_cast<std::uint8_t>(digit);
    return table;
}();

// The value of the leading digits; nothing when there is no digit or it exceeds `limit`.
std::optional<std::uint64_t> ParseMagnitude(View digits, std::uint64_t limit) {
    const std::uint64_t cutoff = limit / 10;
    const std::uint64_t lastDigit = limit % 10;
    std::uint64_t magnitude = 0;
    std::size_t count = 0;
    for (const WideChar unit : digits) {
        const std::uint8_t digit = kDigitValues[static_cast<std::uint16_t>(unit) & 0xFF];
        if (digit >= 10) break;
        if (magnitude > cutoff || (magnitude == cutoff && digit > lastDigit)) return std::nullopt;
        magnitude = magnitude * 10 + digit;
        ++count;
    }
    if (count == 0) return std::nullopt;
    return magnitude;
}

} // namespace

Text FormatSigned(std::int64_t value) { return FormatWithToChars(value); }

Text FormatUnsigned(std::uint64_t value) { return FormatWithToChars(value); }

Text FormatDouble(double value) {
    if (std::isnan(value)) return std::signbit(value) ? FromAscii("-nan", 4) : FromAscii("nan", 3);
    if (std::isinf(value)) return std::signbit(value) ? FromAscii("-inf", 4) : FromAscii("inf", 3);
    char text[32]{};
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 17);
    return FromAscii(text, static_cast<std::size_t>(end.ptr - text));
}

// Negative, non-finite and huge values are outside the version format. Instead of casting them
// to an unsigned major number they are written so that they still read back: negatives as "-"
// and the text of their magnitude, values from 2^64 on and the non-finite ones as doubles.
Text FormatVersion(double value) {
    constexpr double kTwoToThe64 = 18446744073709551616.0;
    if (!std::isfinite(value) || std::fabs(value) >= kTwoToThe64) return FormatDouble(value);
    const std::string magnitude = VersionText(std::fabs(value));
    char text[48] = {'-'};
    const std::size_t sign = value < 0 ? 1 : 0;
    magnitude.copy(text + sign, magnitude.size());
    return FromAscii(text, sign + magnitude.size());
}

std::int64_t ParseSigned(View text, std::int64_t min, std::int64_t max) {
    const bool negative = !text.empty() && text.front() == WideChar('-');
    if (!text.empty() && (negative || text.front() == WideChar('+'))) text.remove_prefix(1);
    const std::uint64_t limit =
        negative ? static_cast<std::uint64_t>(-(min + 1)) + 1 : static_cast<std::uint64_t>(max);
    const std::optional<std::uint64_t> magnitude = ParseMagnitude(text, limit);
    if (!magnitude) return 0;
    if (!negative) return static_cast<std::int64_t>(*magnitude);
    return *magnitude == 0 ? 0 : -static_cast<std::int64_t>(*magnitude - 1) - 1;
}

std::uint64_t ParseUnsigned(View text, std::uint64_t max) {
    return ParseMagnitude(text, max).value_or(0);
}

double ParseDouble(View text) {
    // Only ASCII characters can belong to a number: convert the longest ASCII prefix.
    std::size_t length = 0;
    while (length < text.size() && static_cast<std::uint16_t>(text[length]) < 0x80)
        ++length;
    char small[64];
    std::string large;
    char* narrow = small;
    if (length > sizeof small) {
        large.resize(length);
        narrow = large.data();
    }
    for (std::size_t i = 0; i < length; ++i)
        narrow[i] = static_cast<char>(text[i]);
    double value = 0.0; // stays 0.0 for text that is no number or out of range
    std::from_chars(narrow, narrow + length, value, std::chars_format::general);
    return value;
}

std::optional<std::int64_t> ParseSignedExact(View text, std::int64_t min, std::int64_t max) {
    const bool negative = !text.empty() && text[0] == WideChar('-');
    const View digits = text.substr(negative || (!text.empty() && text[0] == WideChar('+')));
    const std::uint64_t limit =
        negative ? static_cast<std::uint64_t>(-(min + 1)) + 1 : static_cast<std::uint64_t>(max);
    const std::optional<std::uint64_t> magnitude = ParseUnsignedExact(digits, limit);
    if (!magnitude) return std::nullopt;
    if (!negative) return static_cast<std::int64_t>(*magnitude);
    return *magnitude == 0 ? 0 : -static_cast<std::int64_t>(*magnitude - 1) - 1;
}

// One pass: every unit an ASCII digit, the value within `max`.
std::optional<std::uint64_t> ParseUnsignedExact(View text, std::uint64_t max) {
    if (text.empty()) return std::nullopt;
    const std::uint64_t cutoff = max / 10, lastDigit = max % 10;
    std::uint64_t value = 0;
    for (const WideChar unit : text) {
        const unsigned digit = static_cast<unsigned>(unit) - unsigned('0');
        if (digit > 9 || value > cutoff || (value == cutoff && digit > lastDigit))
            return std::nullopt;
        value = value * 10 + digit;
    }
    return value;
}

std::optional<double> ParseDoubleExact(View text) {
    char narrow[64];
    if (text.empty() || text.size() > sizeof narrow) return std::nullopt;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (static_cast<std::uint16_t>(text[i]) >= 0x80) return std::nullopt;
        narrow[i] = static_cast<char>(text[i]);
    }
    double value = 0.0;
    const auto [end, error] =
        std::from_chars(narrow, narrow + text.size(), value, std::chars_format::general);
    if (error != std::errc() || end != narrow + text.size()) return std::nullopt;
    return value;
}

std::optional<bool> ParseBool(View text) {
    if (text == View(WIDE("true"))) return true;
    if (text == View(WIDE("false"))) return false;
    return std::nullopt;
}

} // namespace classxml::value_text
