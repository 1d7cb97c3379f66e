#include "classxml/valuetext/TimeText.h"

#include <charconv>
#include <cstdio>
#include <limits>

namespace classxml::value_text {
namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;

// Days since 1970-01-01 of a date in the proleptic Gregorian calendar, and back.
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) {
    year -= month <= 2;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = unsigned(year - era * 400);
    const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146'097 + std::int64_t(dayOfEra) - 719'468;
}

void CivilFromDays(std::int64_t days, std::int64_t& year, unsigned& month, unsigned& day) {
    days += 719'468;
    const std::int64_t era = (days >= 0 ? days : days - 146'096) / 146'097;
    const auto dayOfEra = unsigned(days - era * 146'097);
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned monthIndex = (5 * dayOfYear + 2) / 153;
    day = dayOfYear - (153 * monthIndex + 2) / 5 + 1;
    month = monthIndex < 10 ? monthIndex + 3 : monthIndex - 9;
    year = std::int64_t(yearOfEra) + era * 400 + (month <= 2);
}

unsigned DaysInMonth(std::int64_t year, unsigned month) {
    static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : kDays[month - 1];
}

// `count` digits at `at`, as a number; false unless all are digits.
bool Digits(std::string_view text, std::size_t at, std::size_t count, unsigned& value) {
    if (at + count > text.size()) return false;
    value = 0;
    for (std::size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        value = value * 10 + unsigned(text[i] - '0');
    }
    return true;
}

// a * b and a + b, false when they overflow.
bool Multiply(std::int64_t a, std::int64_t b, std::int64_t& product) {
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    if (a != 0 && b != 0 &&
        (a > 0 ? (b > 0 ? a > kMax / b : b < kMin / a) : (b > 0 ? a < kMin / b : a < kMax / b)))
        return false;
    product = a * b;
    return true;
}
bool Add(std::int64_t a, std::int64_t b, std::int64_t& sum) {
    if (b > 0 ? a > std::numeric_limits<std::int64_t>::max() - b
              : a < std::numeric_limits<std::int64_t>::min() - b)
        return false;
    sum = a + b;
    return true;
}

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

} // namespace

bool TicksOfTime(std::int64_t seconds, std::uint32_t nanoseconds, std::int64_t num,
                 std::int64_t den, std::int64_t& ticks) {
    // Before 1970 the fraction counts back from the next second, so that the earliest time a
    // count holds is reached without passing beyond it.
    std::int64_t fraction = nanoseconds;
    if (seconds < 0 && fraction != 0) ++seconds, fraction -= kNanosecondsPerSecond;
    // The ratio is reduced, so whole seconds make whole ticks only in multiples of num.
    std::int64_t whole = 0, unit = 0, part = 0;
    if (seconds % num != 0 || !Multiply(seconds / num, den, whole)) return false;
    if (fraction != 0) { // fraction * den / (num * 10^9) ticks, a whole number of them
        if (!Multiply(num, kNanosecondsPerSecond, unit) || !Multiply(fraction, den, part) ||
            part % unit != 0)
            return false;
        part /= unit;
    }
    return Add(whole, part, ticks);
}

bool TimeOfTicks(std::int64_t ticks, std::int64_t num, std::int64_t den, std::int64_t& seconds,
                 std::uint32_t& nanoseconds) {
    std::int64_t quotient = ticks / den, rest = ticks % den; // rest in [0, den) ticks
    if (rest < 0) rest += den, --quotient;
    std::int64_t restNum = 0, whole = 0;
    if (!Multiply(quotient, num, whole) || !Multiply(rest, num, restNum) ||
        !Add(whole, restNum / den, seconds))
        return false;
    // The fraction of a second left, (restNum % den) / den, to nanoseconds, digit by digit so
    // that no product overflows.
    std::uint64_t remainder = std::uint64_t(restNum % den), fraction = 0;
    for (int digit = 0; digit < 9; ++digit) {
        remainder *= 10;
        fraction = fraction * 10 + remainder / std::uint64_t(den);
        remainder %= std::uint64_t(den);
    }
    nanoseconds = std::uint32_t(fraction);
    return true;
}

std::string TimeText(std::int64_t seconds, std::uint32_t nanoseconds, int digits) {
    std::int64_t days = seconds / kSecondsPerDay, inDay = seconds % kSecondsPerDay;
    if (inDay < 0) inDay += kSecondsPerDay, --days;
    std::int64_t year = 0;
    unsigned month = 0, day = 0;
    CivilFromDays(days, year, month, day);
    char text[64];
    int length =
        std::snprintf(text, sizeof text, "%s%04lld-%02u-%02uT%02u:%02u:%02u", year < 0 ? "-" : "",
                      static_cast<long long>(year < 0 ? -year : year), month, day,
                      unsigned(inDay / 3600), unsigned(inDay / 60 % 60), unsigned(inDay % 60));
    if (digits > 0) {
        char fraction[16];
        std::snprintf(fraction, sizeof fraction, "%09u", unsigned(nanoseconds));
        length += std::snprintf(text + length, sizeof text - std::size_t(length), ".%.*s", digits,
                                fraction);
    }
    return std::string(text, std::size_t(length)) + "Z";
}

// YYYY-MM-DDThh:mm:ss, an optional fraction of 1 to 9 digits, and Z; years of four digits or
// more, "-" before a year before year 0.
bool ParseTime(std::string_view text, std::int64_t& seconds, std::uint32_t& nanoseconds) {
    const bool negative = !text.empty() && text[0] == '-';
    std::size_t at = negative ? 1 : 0;
    std::size_t yearDigits = 0;
    while (at + yearDigits < text.size() && text[at + yearDigits] >= '0' &&
           text[at + yearDigits] <= '9')
        ++yearDigits;
    std::int64_t year = 0;
    if (yearDigits < 4 || yearDigits > 12 ||
        std::from_chars(text.data() + at, text.data() + at + yearDigits, year).ec != std::errc())
        return false;
    if (negative) year = -year;
    at += yearDigits;
    unsigned month = 0, day = 0, hour = 0, minute = 0, second = 0;
    const auto is = [&](std::size_t offset, char c) {
        return at + offset < text.size() && text[at + offset] == c;
    };
    if (!is(0, '-') || !Digits(text, at + 1, 2, month) || !is(3, '-') ||
        !Digits(text, at + 4, 2, day) || !is(6, 'T') || !Digits(text, at + 7, 2, hour) ||
        !is(9, ':') || !Digits(text, at + 10, 2, minute) || !is(12, ':') ||
        !Digits(text, at + 13, 2, second))
        return false;
    at += 15;
    nanoseconds = 0;
    if (at < text.size() && text[at] == '.') {
        std::size_t digits = 0;
        while (at + 1 + digits < text.size() && text[at + 1 + digits] >= '0' &&
               text[at + 1 + digits] <= '9')
            ++digits;
        unsigned value = 0;
        if (digits == 0 || digits > 9 || !Digits(text, at + 1, digits, value)) return false;
        for (std::size_t i = digits; i < 9; ++i)
            value *= 10;
        nanoseconds = value;
        at += 1 + digits;
    }
    if (at + 1 != text.size() || text[at] != 'Z') return false;
    if (month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) || hour > 23 ||
        minute > 59 || second > 59)
        return false;
    // Twelve digits of years hold more seconds than 64 bits do; before 1970 the time of day
    // counts back from the next day, so that the earliest second is reached without passing it.
    std::int64_t days = DaysFromCivil(year, month, day), dayStart = 0;
    std::int64_t inDay = std::int64_t(hour) * 3600 + minute * 60 + second;
    if (days < 0 && inDay != 0) ++days, inDay -= kSecondsPerDay;
    return Multiply(days, kSecondsPerDay, dayStart) && Add(dayStart, inDay, seconds);
}

} // namespace classxml::value_text
