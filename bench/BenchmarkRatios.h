#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace benchmark {
class State;
}

// Runs the registered benchmarks and compares pairs of them by their median real time.
namespace classxml::bench {

struct Ratio {
    std::string label;
    std::string measured; // benchmark name of the library's side
    std::string baseline; // benchmark name of the plain work
    double limit;         // measured / baseline must not exceed it; 0: shown for information
};

// A side's throughput: `bytes` per median run, printed in MB/s.
struct Rate {
    std::string label;
    std::string name;
    double bytes;
};

// A fresh directory for a benchmark's files: in memory (/dev/shm) where the system has one, so
// that writing back dirty pages to a device, which varies by seconds between runs, does not
// drown what is compared; the temporary directory otherwise.
std::filesystem::path ScratchDirectory(const char* name);

// Registers one side of a comparison: fixed iterations per repetition, medians reported.
void Register(const char* name, void (*function)(benchmark::State&), int iterations,
              int repetitions);
// The same for a piece of work whose result is kept from being optimised away.
void Register(const char* name, std::function<std::size_t()> work, int iterations, int repetitions);

// Runs every registered benchmark with the command line's options, prints both figures and
// each ratio, and the rates, and returns 0 when all ratios are within their limits.
int RunAndCompare(int argc, char** argv, const std::vector<Ratio>& ratios,
                  const std::vector<Rate>& rates = {});

} // namespace classxml::bench
