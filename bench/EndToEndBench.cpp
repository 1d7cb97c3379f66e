// The handle end to end, against the same work done with Xerces directly, on records of an
// int, a double, a short string, a bool, a vector of 8 ints and a map of 4 strings to ints:
// write is the document built and saved into a UTF-8 buffer, read is that buffer parsed and
// walked back into records. Both at 10,000 and 100,000 records; peak memory from a fresh
// process per side.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <benchmark/benchmark.h>

#include "BenchmarkRatios.h"
#include "HandleRecords.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/platform/ProcessMemory.h"

namespace {

using namespace classxml::bench;
using Handle = CXMLClassReaderWriter;

struct Size {
    std::size_t records;
    int repetitions;
    std::vector<Record> data;
    std::string xml;
};
Size g_sizes[] = {{10'000, 9, {}, {}}, {100'000, 5, {}, {}}};

template <int S>
void WriteHandle(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(WriteWithHandle(g_sizes[S].data));
}
template <int S>
void WriteXerces(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(WriteWithXerces(g_sizes[S].data));
}
template <int S>
void ReadHandle(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadWithHandle(g_sizes[S].xml).size());
}
template <int S>
void ReadXerces(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadWithXerces(g_sizes[S].xml).size());
}

// Runs one side once in this process and prints how far it took the peak resident memory. A
// write starts from the records, a read from the document's text in `xmlFile`: nothing else
// has raised the peak before.
int ReportPeak(const std::string& side, std::size_t count, const char* xmlFile) {
    const bool write = side.starts_with("write");
    const std::vector<Record> records = write ? MakeRecords(count) : std::vector<Record>();
    std::string xml;
    if (!write) {
        std::ifstream in(xmlFile, std::ios::binary);
        xml.assign(std::istreambuf_iterator<char>(in), {});
    }
    const double before = double(classxml::platform::PeakResidentBytes());
    if (side == "write-handle") WriteWithHandle(records);
    if (side == "write-xerces") WriteWithXerces(records);
    if (side == "read-handle") ReadWithHandle(xml);
    if (side == "read-xerces") ReadWithXerces(xml);
    std::printf("%.1f\n", (double(classxml::platform::PeakResidentBytes()) - before) / (1 << 20));
    return 0;
}

void PrintPeaks(const char* program) {
    const auto scratch = ScratchDirectory("classxml-end-to-end");
    const std::string output = (scratch / "peak.txt").string();
    const std::string xmlFile = (scratch / "records.xml").string();
    std::printf("\npeak memory growth (MiB, a fresh process each)  handle   xerces\n");
    for (const Size& size : g_sizes) {
        std::ofstream(xmlFile, std::ios::binary) << size.xml;
        for (const char* step : {"write", "read"}) {
            double peaks[2] = {};
            for (int i = 0; i < 2; ++i) {
                const std::string command =
                    std::string(program) + " --peak=" + step + (i == 0 ? "-handle " : "-xerces ") +
                    std::to_string(size.records) + " " + xmlFile + " > " + output;
                std::ifstream answer;
                if (std::system(command.c_str()) == 0) answer.open(output);
                if (!(answer >> peaks[i])) peaks[i] = -1;
            }
            std::printf("%-6s %7zu records %30.1f %8.1f\n", step, size.records, peaks[0], peaks[1]);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
    if (argc == 4 && std::string(argv[1]).starts_with("--peak="))
        return ReportPeak(std::string(argv[1]).substr(7), std::stoul(argv[2]), argv[3]);
    for (Size& size : g_sizes) {
        size.data = MakeRecords(size.records);
        std::string fromHandle;
        WriteWithHandle(size.data, &fromHandle);
        WriteWithXerces(size.data, &size.xml);
        if (fromHandle != size.xml || ReadWithHandle(size.xml) != size.data ||
            ReadWithXerces(size.xml) != size.data) {
            std::fprintf(stderr, "the two sides do not do the same work\n");
            return 1;
        }
    }
    Register("write/handle/10000", WriteHandle<0>, 1, g_sizes[0].repetitions);
    Register("write/xerces/10000", WriteXerces<0>, 1, g_sizes[0].repetitions);
    Register("read/handle/10000", ReadHandle<0>, 1, g_sizes[0].repetitions);
    Register("read/xerces/10000", ReadXerces<0>, 1, g_sizes[0].repetitions);
    Register("write/handle/100000", WriteHandle<1>, 1, g_sizes[1].repetitions);
    Register("write/xerces/100000", WriteXerces<1>, 1, g_sizes[1].repetitions);
    Register("read/handle/100000", ReadHandle<1>, 1, g_sizes[1].repetitions);
    Register("read/xerces/100000", ReadXerces<1>, 1, g_sizes[1].repetitions);
    const int result = RunAndCompare(
        argc, argv,
        {{"write 10,000 records, build and save", "write/handle/10000", "write/xerces/10000", 1.1},
         {"read 10,000 records, parse and walk", "read/handle/10000", "read/xerces/10000", 1.1},
         {"write 100,000 records", "write/handle/100000", "write/xerces/100000", 1.1},
         {"read 100,000 records", "read/handle/100000", "read/xerces/100000", 1.1}});
    PrintPeaks(argv[0]);
    Handle::UninitXMLEngine(Handle::XMLIOTYPE_XERCES);
    return result;
}
