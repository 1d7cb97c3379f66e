#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "classxml/BasicString.h"
#include "classxml/platform/LowerCase.h"

namespace classxml::basicio {

// Blanks are space, carriage return, line feed and tab, nothing else.
template <class Char>
constexpr bool IsBlank(Char unit) {
    return unit == Char(' ') || unit == Char('\r') || unit == Char('\n') || unit == Char('\t');
}

// Lower-casing for comparisons without case: ASCII letters in narrow text (whatever its code
// page), the simple Unicode mapping in UTF-16.
inline void LowerCase(char* units, std::size_t count) { platform::ToLowerAscii(units, count); }
inline void LowerCase(WideChar* units, std::size_t count) { platform::ToLower(units, count); }

// Finds a needle in blocks of text, fast where it matters: markup searched in large files whose
// content rarely holds the needle's first character.
template <class Char>
class TextSearcher {
public:
    using View = CBasicStringView<Char>;
    static constexpr std::size_t npos = View::npos;

    explicit TextSearcher(View needle) : m_needle(needle) {}

    // The first position of the needle in `haystack`, or npos.
    std::size_t FindIn(View haystack) const {
        if constexpr (sizeof(Char) == 1) {
            return haystack.find(m_needle); // memchr for the first character, then a compare
        } else {
            if (m_needle.empty()) return 0;
            if (haystack.size() < m_needle.size()) return npos;
            const std::size_t last = haystack.size() - m_needle.size();
            for (std::size_t i = 0;; ++i) {
                i = NextOf(m_needle.front(), haystack.data(), i, last + 1);
                if (i > last) return npos;
                if (View(haystack.data() + i + 1, m_needle.size() - 1) == m_needle.substr(1))
                    return i;
            }
        }
    }

private:
    // The first i in [from, end) with text[i] == unit, or end: four units per step.
    static std::size_t NextOf(Char unit, const Char* text, std::size_t from, std::size_t end) {
        std::size_t i = from;
        if constexpr (std::endian::native == std::endian::little) {
            constexpr std::uint64_t ones = 0x0001000100010001ull;
            constexpr std::uint64_t highs = 0x8000800080008000ull;
            const std::uint64_t pattern = ones * static_cast<std::uint16_t>(unit);
            for (; i + 4 <= end; i += 4) {
                std::uint64_t word;
                std::memcpy(&word, text + i, sizeof word);
                const std::uint64_t x = word ^ pattern; // a zero lane where the unit stands
                const std::uint64_t zeros = (x - ones) & ~x & highs;
                if (zeros) return i + std::size_t(std::countr_zero(zeros) / 16);
            }
        }
        while (i < end && text[i] != unit)
            ++i;
        return i;
    }

    View m_needle;
};

} // namespace classxml::basicio
