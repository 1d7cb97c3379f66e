#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace classxml::platform {

// Whether two byte strings are equal. Element and attribute names and short values, compared
// by the million in a read, are mostly under 16 bytes: two overlapping word loads settle those
// without the call into the C library that comparing a string view makes.
[[gnu::always_inline]] inline bool SameBytes(std::string_view a, std::string_view b) {
    const std::size_t size = a.size();
    if (size != b.size()) return false;
    const char* x = a.data();
    const char* y = b.data();
    const auto word = [](const char* at, auto zero) {
        decltype(zero) value;
        std::memcpy(&value, at, sizeof value);
        return value;
    };
    if (size >= 8 && size <= 16)
        return word(x, std::uint64_t()) == word(y, std::uint64_t()) &&
               word(x + size - 8, std::uint64_t()) == word(y + size - 8, std::uint64_t());
    if (size >= 4 && size < 8)
        return word(x, std::uint32_t()) == word(y, std::uint32_t()) &&
               word(x + size - 4, std::uint32_t()) == word(y + size - 4, std::uint32_t());
    if (size < 4) {
        for (std::size_t i = 0; i < size; ++i)
            if (x[i] != y[i]) return false;
        return true;
    }
    return std::memcmp(x, y, size) == 0;
}

} // namespace classxml::platform
