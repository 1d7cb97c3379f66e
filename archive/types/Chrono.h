#pragma once

#include <chrono>
#include <cstdint>
#include <numeric>
#include <optional>
#include <ratio>
#include <string>
#include <string_view>

#include "classxml/archive/types/Values.h"
#include "classxml/valuetext/TimeText.h"

// Durations and points of system_clock's time, exactly. A duration is a property element of its
// count of ticks, its keytype the tick ("milliseconds", "seconds", ... or "duration_N_D" for a
// tick of N/D seconds), so that a count is never read with another tick. A time point is UTC in
// ISO 8601, "2026-11-24T18:07:49.123456789Z", with as many digits of a second as its duration
// has; one that its type cannot hold exactly is an error, never rounded.
namespace classxml::archive_detail {

template <class Period>
std::string TickName() {
    if constexpr (std::is_same_v<Period, std::nano>)
        return "nanoseconds";
    else if constexpr (std::is_same_v<Period, std::micro>)
        return "microseconds";
    else if constexpr (std::is_same_v<Period, std::milli>)
        return "milliseconds";
    else if constexpr (std::is_same_v<Period, std::ratio<1>>)
        return "seconds";
    else if constexpr (std::is_same_v<Period, std::ratio<60>>)
        return "minutes";
    else if constexpr (std::is_same_v<Period, std::ratio<3600>>)
        return "hours";
    else if constexpr (std::is_same_v<Period, std::ratio<86400>>)
        return "days";
    else if constexpr (std::is_same_v<Period, std::ratio<604800>>)
        return "weeks";
    else if constexpr (std::is_same_v<Period, std::ratio<2629746>>)
        return "months";
    else if constexpr (std::is_same_v<Period, std::ratio<31556952>>)
        return "years";
    else
        return "duration_" + std::to_string(Period::num) + "_" + std::to_string(Period::den);
}

template <class Rep, class Period>
struct Archived<std::chrono::duration<Rep, Period>>
    : ArchivedValue<std::chrono::duration<Rep, Period>> {
    using T = std::chrono::duration<Rep, Period>;
    static std::string_view TypeText() {
        static const std::string tick = TickName<Period>();
        return TypeTextOr<T>(tick);
    }
    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t, const T& duration) {
        ar.Writer().Write(name, TypeText(), AsNumber(duration.count()));
    }
    template <class In>
    static void Load(In& ar, T& duration) {
        decltype(AsNumber(Rep())) count{};
        if (!ar.Reader().Read(TypeText(), count)) return;
        if (!Fits<Rep>(count))
            return (void)ar.Reader().Fail(std::string(TypeText()), NumberText(count));
        duration = T(static_cast<Rep>(count));
    }
};

template <class Duration>
struct Archived<std::chrono::time_point<std::chrono::system_clock, Duration>>
    : ArchivedValue<std::chrono::time_point<std::chrono::system_clock, Duration>> {
    using T = std::chrono::time_point<std::chrono::system_clock, Duration>;
    static std::string_view TypeText() { return TypeTextOr<T>("time_point"); }

    // The digits of a second that a tick of the duration needs: 9 for nanoseconds, 0 for
    // seconds; a tick no number of decimal digits up to 9 holds gets 9.
    static constexpr int Digits() {
        using Period = typename Duration::period;
        std::intmax_t scale = 1;
        for (int digits = 0; digits <= 9; ++digits, scale *= 10)
            if ((scale * Period::num) % Period::den == 0) return digits;
        return 9;
    }

    using Rep = typename Duration::rep;
    using Period = typename Duration::period;
    // Counts of whole ticks are converted exactly, with every product checked; a floating
    // count is converted as the standard library converts it.
    static constexpr bool kWholeTicks = std::is_integral_v<Rep> && sizeof(Rep) <= 8;

    template <class Out>
    static void Save(Out& ar, std::string_view name, std::size_t, const T& point) {
        using namespace std::chrono;
        const auto since = point.time_since_epoch();
        std::int64_t whole = 0;
        std::uint32_t fraction = 0;
        if constexpr (kWholeTicks) {
            if (!Fits<std::int64_t>(since.count()) ||
                !value_text::TimeOfTicks(std::int64_t(since.count()), Period::num, Period::den,
                                         whole, fraction))
                return ar.Writer().Refuse(name, "a time within 64 bits of seconds",
                                          NumberText(since.count()) + " ticks");
        } else {
            const auto seconds = floor<std::chrono::seconds>(since);
            whole = std::int64_t(seconds.count());
            fraction = std::uint32_t(duration_cast<nanoseconds>(since - seconds).count());
        }
        ar.Writer().Write(name, TypeText(), value_text::TimeText(whole, fraction, Digits()));
    }
    template <class In>
    static void Load(In& ar, T& point) {
        using namespace std::chrono;
        std::string text;
        if (!ar.Reader().Read(TypeText(), text)) return;
        std::int64_t whole = 0;
        std::uint32_t fraction = 0;
        const auto exact = [&] {
            if constexpr (kWholeTicks) {
                std::int64_t ticks = 0;
                if (!value_text::TicksOfTime(whole, fraction, Period::num, Period::den, ticks) ||
                    !Fits<Rep>(ticks))
                    return false;
                point = T(Duration(Rep(ticks)));
            } else {
                const Duration inSeconds = duration_cast<Duration>(seconds(whole));
                const Duration inFraction = duration_cast<Duration>(nanoseconds(fraction));
                if (duration_cast<seconds>(inSeconds) != seconds(whole) ||
                    duration_cast<nanoseconds>(inFraction) != nanoseconds(fraction))
                    return false;
                point = T(inSeconds + inFraction);
            }
            return true;
        };
        if (!value_text::ParseTime(text, whole, fraction) || !exact())
            ar.Reader().Fail("a UTC time " + std::string(TypeText()) + " holds exactly",
                             '"' + text + '"');
    }
};

} // namespace classxml::archive_detail
