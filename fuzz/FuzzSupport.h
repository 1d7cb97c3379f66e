#pragma once

// What the fuzz targets share: a private scratch directory and a hard stop for a broken
// property, so that libFuzzer keeps the input.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "classxml/BasicString.h"
#include "classxml/platform/Utf.h"

namespace classxml::fuzz {

inline const std::filesystem::path& ScratchDirectory() {
    static const std::filesystem::path directory = [] {
        std::random_device random;
        auto path = std::filesystem::temp_directory_path() /
                    ("classxml-fuzz-" + std::to_string(random()) + std::to_string(random()));
        std::filesystem::create_directories(path);
        return path;
    }();
    return directory;
}

inline CBasicString<WideChar> Wide(const std::filesystem::path& path) {
    return platform::Utf8ToUtf16(path.u8string());
}

[[noreturn]] inline void Broken(const char* property) {
    std::fprintf(stderr, "property broken: %s\n", property);
    std::abort();
}

#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) ::classxml::fuzz::Broken(#condition);                                    \
    } while (false)

} // namespace classxml::fuzz
