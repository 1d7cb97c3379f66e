// Replays the inputs that once broke a fuzz target (tests/fuzz-regressions/<target>/, and for
// some targets a corpus too: FUZZ_REGRESSION_INPUTS lists folders separated by "|") through that
// target's own code, built into an ordinary test: a broken property aborts the test.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::string> Folders() {
    std::vector<std::string> folders;
    std::stringstream list(FUZZ_REGRESSION_INPUTS);
    for (std::string folder; std::getline(list, folder, '|');)
        folders.push_back(folder);
    return folders;
}

TEST(FuzzRegression, StoredInputsKeepTheProperty) {
    LLVMFuzzerInitialize(nullptr, nullptr);
    int replayed = 0;
    for (const std::string& folder : Folders()) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().filename().string().starts_with(".")) continue; // a placeholder
            std::ifstream in(entry.path(), std::ios::binary);
            const std::string input{std::istreambuf_iterator<char>(in),
                                    std::istreambuf_iterator<char>()};
            SCOPED_TRACE(entry.path().string());
            EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()),
                                             input.size()),
                      0);
            ++replayed;
        }
    }
    std::printf("replayed %d stored inputs\n", replayed);
}

} // namespace
