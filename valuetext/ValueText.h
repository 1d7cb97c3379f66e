#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <type_traits>

#include "classxml/BasicString.h"
#include "classxml/DatabaseTypes.h"

// The text form of every property value, one place per direction: how a value is written into
// a property element and how the element's content is read back.
namespace classxml::value_text {

using View = CBasicStringView<WideChar>;

// A value's text in the caller's stack frame, zero-terminated as the back end expects.
class Text {
public:
    View view() const { return {m_text.data(), m_length}; }

private:
    friend Text FromAscii(const char* text, std::size_t length);
    // Room for the longest text: a 64-bit integer, a %.17g double, a version number.
    std::array<WideChar, 48> m_text{};
    std::size_t m_length = 0;
};

Text FormatSigned(std::int64_t value);
Text FormatUnsigned(std::uint64_t value);
// "nan"/"inf" (with "-" for a set sign bit), otherwise printf's %.17g, which round-trips.
Text FormatDouble(double value);
// major.minor with minor = round(1000 * fraction): 3 gives "3", 2.05 "2.050", 2.9996 "2.001000".
Text FormatVersion(double value);

// An optional "-" or "+" and the decimal digits up to the first non-digit; a code unit is a
// digit by its low byte alone. Out of [min, max], or no digit: 0.
std::int64_t ParseSigned(View text, std::int64_t min, std::int64_t max);
// Digits only, no sign; above max, or no digit: 0.
std::uint64_t ParseUnsigned(View text, std::uint64_t max);
// The general floating format from the first character (no "+", no blanks; inf and nan in any
// case), up to the first character that does not fit; 0.0 when there is no number or it is
// out of range.
double ParseDouble(View text);
// Exactly "true" or "false".
std::optional<bool> ParseBool(View text);

// Strict forms, for readers that take the whole text as the value: no blanks, nothing after
// the number, nothing out of range. Integers may carry one sign; doubles are the general
// floating format. Nothing when the text is not exactly one value. A value's text is ASCII,
// so these read the bytes of UTF-8 text as they stand.
using Narrow = std::string_view;
std::optional<std::int64_t> ParseSignedExact(Narrow text, std::int64_t min, std::int64_t max);
std::optional<std::uint64_t> ParseUnsignedExact(Narrow text, std::uint64_t max);
std::optional<double> ParseDoubleExact(Narrow text);
std::optional<bool> ParseBoolExact(Narrow text);

// Writing and reading one value type; every typed property member goes through these.
template <class Value>
struct Codec;

template <std::integral Value>
requires(!std::same_as<Value, bool>) struct Codec<Value> {
    static Text Format(Value value) {
        if constexpr (std::is_signed_v<Value>)
            return FormatSigned(value);
        else
            return FormatUnsigned(value);
    }
    static Value Parse(View text) {
        using Limits = std::numeric_limits<Value>;
        if constexpr (std::is_signed_v<Value>)
            return static_cast<Value>(ParseSigned(text, Limits::min(), Limits::max()));
        else
            return static_cast<Value>(ParseUnsigned(text, Limits::max()));
    }
    static std::optional<Value> ParseExact(Narrow text) {
        using Limits = std::numeric_limits<Value>;
        if constexpr (std::is_signed_v<Value>) {
            const auto value = ParseSignedExact(text, Limits::min(), Limits::max());
            return value ? std::optional<Value>(static_cast<Value>(*value)) : std::nullopt;
        } else {
            const auto value = ParseUnsignedExact(text, Limits::max());
            return value ? std::optional<Value>(static_cast<Value>(*value)) : std::nullopt;
        }
    }
};

template <>
struct Codec<double> {
    static Text Format(double value) { return FormatDouble(value); }
    static double Parse(View text) { return ParseDouble(text); }
    static std::optional<double> ParseExact(Narrow text) { return ParseDoubleExact(text); }
};

template <>
struct Codec<bool> {
    static std::optional<bool> ParseExact(Narrow text) { return ParseBoolExact(text); }
};

// Identifiers and times are their underlying number.
template <class Number, class Tag>
struct Codec<NamedType<Number, Tag>> {
    static Text Format(NamedType<Number, Tag> value) { return Codec<Number>::Format(value.get()); }
    static NamedType<Number, Tag> Parse(View text) {
        return NamedType<Number, Tag>(Codec<Number>::Parse(text));
    }
    static std::optional<NamedType<Number, Tag>> ParseExact(Narrow text) {
        const auto number = Codec<Number>::ParseExact(text);
        return number ? std::optional(NamedType<Number, Tag>(*number)) : std::nullopt;
    }
};

// Version numbers are written in their own form and read back as any double.
template <>
struct Codec<DB_VERSIONNUMBER> {
    static Text Format(DB_VERSIONNUMBER value) { return FormatVersion(value.get()); }
    static DB_VERSIONNUMBER Parse(View text) { return DB_VERSIONNUMBER(ParseDouble(text)); }
    static std::optional<DB_VERSIONNUMBER> ParseExact(Narrow text) {
        const auto number = ParseDoubleExact(text);
        return number ? std::optional(DB_VERSIONNUMBER(*number)) : std::nullopt;
    }
};

} // namespace classxml::value_text
