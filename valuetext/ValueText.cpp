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

// A code unit's digit value: by its low byte alone (the handle's lenient readers), or only for
// the ASCII digits themselves (the strict ones); 10 or more for anything else.
unsigned LowByteDigit(WideChar unit) {
    return kDigitValues[static_cast<std::uint16_t>(unit) & 0xFF];
}
unsigned ExactDigit(char unit) { return static_cast<unsigned char>(unit) - unsigned('0'); }

// The decimal digits at the start of `text`: how many units are digits, and their value, which
// is nothing once it passes `limit`. Any 19 digits fit in 64 bits, so only a longer run needs
// its steps checked; past 64 bits the arithmetic wraps harmlessly, the value being dropped.
struct Digits {
    std::size_t count = 0;
    std::optional<std::uint64_t> value = 0;
};
template <class Unit, class DigitOf>
Digits LeadingDigits(std::basic_string_view<Unit> text, std::uint64_t limit, DigitOf digitOf) {
    constexpr std::size_t kSafeDigits = 19;
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t value = 0;
    std::size_t count = 0;
    bool wrapped = false;
    for (const Unit unit : text) {
        const unsigned digit = digitOf(unit);
        if (digit > 9) break;
        if (count >= kSafeDigits &&
            (value > kMost / 10 || (value == kMost / 10 && digit > kMost % 10)))
            wrapped = true;
        value = value * 10 + digit;
        ++count;
    }
    if (wrapped || value > limit) return {count, std::nullopt};
    return {count, value};
}

// The magnitude of a lenient number: its leading digits; nothing when there is none or it
// passes `limit`.
std::optional<std::uint64_t> LeadingMagnitude(View text, std::uint64_t limit) {
    const Digits digits = LeadingDigits(text, limit, LowByteDigit);
    return digits.count == 0 ? std::nullopt : digits.value;
}

// The magnitude of a strict number: every unit an ASCII digit, within `limit`.
std::optional<std::uint64_t> ExactMagnitude(Narrow text, std::uint64_t limit) {
    const Digits digits = LeadingDigits(text, limit, ExactDigit);
    return text.empty() || digits.count != text.size() ? std::nullopt : digits.value;
}

// An optional sign and a magnitude within [min, max], read by `magnitudeOf`.
template <class Unit, class MagnitudeOf>
std::optional<std::int64_t> SignedValue(std::basic_string_view<Unit> text, std::int64_t min,
                                        std::int64_t max, MagnitudeOf magnitudeOf) {
    const bool negative = !text.empty() && text.front() == Unit('-');
    if (!text.empty() && (negative || text.front() == Unit('+'))) text.remove_prefix(1);
    const std::uint64_t limit =
        negative ? static_cast<std::uint64_t>(-(min + 1)) + 1 : static_cast<std::uint64_t>(max);
    const std::optional<std::uint64_t> magnitude = magnitudeOf(text, limit);
    if (!magnitude) return std::nullopt;
    if (!negative) return static_cast<std::int64_t>(*magnitude);
    return *magnitude == 0 ? 0 : -static_cast<std::int64_t>(*magnitude - 1) - 1;
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
    return SignedValue(text, min, max, LeadingMagnitude).value_or(0);
}

std::uint64_t ParseUnsigned(View text, std::uint64_t max) {
    return LeadingMagnitude(text, max).value_or(0);
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

std::optional<std::int64_t> ParseSignedExact(Narrow text, std::int64_t min, std::int64_t max) {
    return SignedValue(text, min, max, ExactMagnitude);
}

std::optional<std::uint64_t> ParseUnsignedExact(Narrow text, std::uint64_t max) {
    return ExactMagnitude(text, max);
}

std::optional<double> ParseDoubleExact(Narrow text) {
    double value = 0.0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::general);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<bool> ParseBool(View text) {
    if (text == View(WIDE("true"))) return true;
    if (text == View(WIDE("false"))) return false;
    return std::nullopt;
}

std::optional<bool> ParseBoolExact(Narrow text) {
    if (text == "true") return true;
    if (text == "false") return false;
    return std::nullopt;
}

} // namespace classxml::value_text
