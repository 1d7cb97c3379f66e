#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "classxml/platform/Export.h"

// Points in time as UTC in ISO 8601, "2026-11-24T18:07:49.123456789Z": seconds since 1970 and
// the nanoseconds within the second, and back.
namespace classxml::value_text {

// `digits` of a second after the point (0 to 9).
CLASSXML_API std::string TimeText(std::int64_t seconds, std::uint32_t nanoseconds, int digits);
// YYYY-MM-DDThh:mm:ss, an optional fraction of 1 to 9 digits, and Z; years of four digits or
// more, "-" before a year before year 0. False for any other text, or a date that does not exist.
CLASSXML_API bool ParseTime(std::string_view text, std::int64_t& seconds,
                            std::uint32_t& nanoseconds);

// A time as a count of ticks of num/den seconds (a reduced ratio), and back, exactly: false when
// the time is not a whole number of ticks, or a count or its seconds do not fit in 64 bits.
CLASSXML_API bool TicksOfTime(std::int64_t seconds, std::uint32_t nanoseconds, std::int64_t num,
                              std::int64_t den, std::int64_t& ticks);
CLASSXML_API bool TimeOfTicks(std::int64_t ticks, std::int64_t num, std::int64_t den,
                              std::int64_t& seconds, std::uint32_t& nanoseconds);

} // namespace classxml::value_text
