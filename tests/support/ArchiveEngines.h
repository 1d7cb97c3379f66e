#pragma once

#include <gtest/gtest.h>

#include "classxml/archive/Engine.h"

namespace classxml::testing {

// An archive test run on each engine: `engine` is the one under test, `other` the other one,
// for documents that must cross between them.
class ArchiveEngineTest : public ::testing::TestWithParam<Engine> {
protected:
    const Engine engine = GetParam();
    const Engine other = engine == Engine::Dom ? Engine::Stream : Engine::Dom;
};

// Both engines, named in the tests' names.
#define CLASSXML_ON_BOTH_ENGINES(Suite)                                                            \
    INSTANTIATE_TEST_SUITE_P(                                                                      \
        Engines, Suite, ::testing::Values(classxml::Engine::Dom, classxml::Engine::Stream),        \
        [](const auto& info) { return info.param == classxml::Engine::Dom ? "Dom" : "Stream"; })

} // namespace classxml::testing
