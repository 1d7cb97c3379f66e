#include "BenchmarkRatios.h"

#include <cstdio>
#include <map>

#include <benchmark/benchmark.h>

namespace classxml::bench {
namespace {

// Keeps the median of each benchmark's repetitions while printing as usual.
class MedianCollector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                medians[run.run_name.function_name] = run.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> medians; // in the benchmark's time unit
};

// Fixed iterations per repetition, medians reported.
void Configure(benchmark::internal::Benchmark* benchmark, int iterations, int repetitions) {
    benchmark->Unit(benchmark::kMillisecond)
        ->Iterations(iterations)
        ->Repetitions(repetitions)
        ->ReportAggregatesOnly(true);
}

} // namespace

std::filesystem::path ScratchDirectory(const char* name) {
    std::error_code ignored;
    const std::filesystem::path memory = "/dev/shm";
    const std::filesystem::path base = std::filesystem::is_directory(memory, ignored)
                                           ? memory
                                           : std::filesystem::temp_directory_path();
    const std::filesystem::path directory = base / name;
    std::filesystem::remove_all(directory, ignored);
    std::filesystem::create_directories(directory);
    return directory;
}

void Register(const char* name, void (*function)(benchmark::State&), int iterations,
              int repetitions) {
    Configure(benchmark::RegisterBenchmark(name, function), iterations, repetitions);
}

void Register(const char* name, std::function<std::size_t()> work, int iterations,
              int repetitions) {
    const auto run = [work](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(work());
    };
    Configure(benchmark::RegisterBenchmark(name, run), iterations, repetitions);
}

int RunAndCompare(int argc, char** argv, const std::vector<Ratio>& ratios,
                  const std::vector<Rate>& rates) {
    // Repetitions of the two sides run interleaved in random order, so that whatever drifts
    // during the run (heap state, page cache, frequency) weighs on both alike.
    std::vector<char*> arguments(argv, argv + argc);
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleave);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    MedianCollector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::Shutdown();

    int failures = 0;
    std::printf("\n%-44s %10s %10s %7s %7s\n", "comparison (median time)", "library", "baseline",
                "ratio", "limit");
    for (const Ratio& ratio : ratios) {
        const auto measured = collector.medians.find(ratio.measured);
        const auto baseline = collector.medians.find(ratio.baseline);
        if (measured == collector.medians.end() || baseline == collector.medians.end()) continue;
        const double value = measured->second / baseline->second;
        const bool informational = ratio.limit <= 0;
        const bool within = informational || value <= ratio.limit;
        failures += within ? 0 : 1;
        std::printf("%-44s %10.3f %10.3f %7.3f %7.2f %s\n", ratio.label.c_str(), measured->second,
                    baseline->second, value, ratio.limit,
                    informational ? "info"
                    : within      ? "ok"
                                  : "OVER");
    }
    if (!rates.empty()) std::printf("\n%-44s %10s\n", "throughput (median time)", "MB/s");
    for (const Rate& rate : rates)
        if (const auto median = collector.medians.find(rate.name);
            median != collector.medians.end())
            std::printf("%-44s %10.0f\n", rate.label.c_str(),
                        rate.bytes / 1e6 / (median->second / 1e3));
    return failures == 0 ? 0 : 1;
}

} // namespace classxml::bench
