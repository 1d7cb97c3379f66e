// Replays the inputs that once broke a fuzz target (tests/fuzz-regressions/<target>/) through
// that target's own code, built into an ordinary test: a broken property aborts the test.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

TEST(FuzzRegression, StoredInputsKeepTheProperty) {
    LLVMFuzzerInitialize(nullptr, nullptr);
    int replayed = 0;
    for (const auto& entry : std::filesystem::directory_iterator(FUZZ_REGRESSION_INPUTS)) {
        if (entry.path().filename().string().starts_with(".")) continue; // a folder's placeholder
        std::ifstream in(entry.path(), std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>()};
        SCOPED_TRACE(entry.path().string());
        EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()),
                                         input.size()),
                  0);
        ++replayed;
    }
    std::printf("replayed %d stored inputs\n", replayed);
}

} // namespace
