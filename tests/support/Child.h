#pragma once

#include <algorithm>
#include <cstdlib>

#include <gtest/gtest.h>

#include "classxml/platform/ProcessLimits.h"

namespace classxml::testing {

// A suite run under valgrind is tens of times slower; its runner sets CLASSXML_TEST_TIME_SCALE
// so that the time limits keep their meaning.
inline platform::ProcessLimits ForThisRunner(platform::ProcessLimits limits) {
    if (const char* scale = std::getenv("CLASSXML_TEST_TIME_SCALE"))
        limits.cpuSeconds *= static_cast<unsigned>(std::max(1L, std::strtol(scale, nullptr, 10)));
    return limits;
}

} // namespace classxml::testing

// Runs the statements in a child process under `limits` (classxml::platform::ProcessLimits); the
// test fails unless the child finishes in time and the statements leave `ok` true. For what
// could crash, hang or exhaust memory without the limits the library keeps. Where the platform
// has no such limit (a file size on Windows) there is nothing to show, and the child passes.
#define EXPECT_IN_CHILD(limits, ...)                                                               \
    EXPECT_EXIT(                                                                                   \
        {                                                                                          \
            if (!::classxml::platform::LimitThisProcess(                                           \
                    ::classxml::testing::ForThisRunner(limits)))                                   \
                std::exit(0);                                                                      \
            bool ok = false;                                                                       \
            __VA_ARGS__;                                                                           \
            std::exit(ok ? 0 : 1);                                                                 \
        },                                                                                         \
        ::testing::ExitedWithCode(0), "")
