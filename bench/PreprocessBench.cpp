// PreprocessReading on a 512 MiB file holding 64 base64 blocks of 8 MiB, against copying the
// same file with plain positional reads and writes in 1 MiB blocks; its peak memory for a
// 64 MiB and a 512 MiB input; and what AddFileContentProperty holds beyond the DOM.
#include <cstdio>
#include <filesystem>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "BenchmarkRatios.h"
#include "PlainFiles.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/platform/ProcessMemory.h"

namespace {

namespace fs = std::filesystem;
namespace platform = classxml::platform;
using Handle = CXMLClassReaderWriter;
constexpr std::size_t kMiB = std::size_t(1) << 20;

fs::path g_directory;

using classxml::bench::CopyPlain;
using classxml::bench::Wide;

// A class-XML document with `blocks` transport elements of `blockMiB` MiB of base64 each.
void WriteDocument(const fs::path& path, int blocks, std::size_t blockMiB) {
    static const char alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<char> line(kMiB);
    std::mt19937 random(5);
    for (std::size_t i = 0; i < line.size(); ++i)
        line[i] = i % 77 == 76 ? '\n' : alphabet[random() % 64];
    std::FILE* file = std::fopen(path.string().c_str(), "wb");
    std::fputs("<?xml version=\"1.0\"?>\n<Root>\n", file);
    for (int block = 0; block < blocks; ++block) {
        std::fprintf(file, "  <FileTransport name=\"file%d.bin\"><fileContent>", block);
        for (std::size_t mib = 0; mib < blockMiB; ++mib)
            std::fwrite(line.data(), 1, line.size(), file);
        std::fputs("</fileContent></FileTransport>\n", file);
    }
    std::fputs("</Root>\n", file);
    std::fclose(file);
}

void RemoveSideFiles() {
    for (const auto& entry : fs::directory_iterator(g_directory))
        if (entry.path().extension() == ".base64") fs::remove(entry.path());
}

void PlainCopy(benchmark::State& state) {
    for (auto _ : state)
        CopyPlain(g_directory / "pristine.xml", g_directory / "copy.xml");
}

// The side files of the last run go just before the next, so that its writes get the memory
// they freed, as a plain copy over an existing file gets its own: in a virtual machine, memory
// freed for a while goes back to the host, and taking it again costs a multiple of the copy.
void Preprocess(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        CopyPlain(g_directory / "pristine.xml", g_directory / "input.xml");
        RemoveSideFiles();
        state.ResumeTiming();
        if (!Handle::PreprocessReading(Wide(g_directory / "input.xml"), nullptr, nullptr))
            state.SkipWithError("PreprocessReading failed");
    }
    RemoveSideFiles();
}

double MiB(std::uint64_t bytes) { return double(bytes) / double(kMiB); }

// Peak memory stays flat when the input grows eightfold. (The peak only ever rises, so the
// smaller input goes first.)
void ReportPreprocessMemory() {
    const std::uint64_t before = platform::PeakResidentBytes();
    for (const auto& [blocks, blockMiB] :
         {std::pair{8, std::size_t(8)}, std::pair{64, std::size_t(8)}}) {
        WriteDocument(g_directory / "memory.xml", blocks, blockMiB);
        Handle::PreprocessReading(Wide(g_directory / "memory.xml"), nullptr, nullptr);
        std::printf("PreprocessReading of a %zu MiB file: peak resident memory %.1f MiB "
                    "(%.1f MiB before)\n",
                    blocks * blockMiB, MiB(platform::PeakResidentBytes()), MiB(before));
        RemoveSideFiles();
    }
    fs::remove(g_directory / "memory.xml");
}

// The DOM keeps 2 bytes a character; anything above that is what the writer itself holds.
void ReportFileContentMemory() {
    constexpr std::size_t kCharacters = 25'000'000;
    {
        std::FILE* file = std::fopen((g_directory / "content.txt").string().c_str(), "wb");
        const std::vector<char> line(kCharacters / 25, 'x');
        for (int i = 0; i < 25; ++i)
            std::fwrite(line.data(), 1, line.size(), file);
        std::fclose(file);
    }
    Handle root(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, true);
    root.CreateDocument(WIDE("Root"), {}, {});
    const std::uint64_t before = platform::PeakResidentBytes();
    root.AddFileContentProperty(WIDE("file"), WIDE("text"), Wide(g_directory / "content.txt"));
    const std::uint64_t grown = platform::PeakResidentBytes() - before;
    std::printf("AddFileContentProperty of %zu characters: peak grew %.1f MiB, of which the DOM's "
                "text is %.1f MiB; beyond it %.1f MiB (one slice is %.1f MiB)\n",
                kCharacters, MiB(grown), MiB(2 * kCharacters), MiB(grown) - MiB(2 * kCharacters),
                MiB(2 * 10'000'000));
    root.ReleaseDocument();
    fs::remove(g_directory / "content.txt");
}

} // namespace

int main(int argc, char** argv) {
    g_directory = classxml::bench::ScratchDirectory("classxml-preprocess-bench");
    Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
    ReportPreprocessMemory();
    ReportFileContentMemory();
    WriteDocument(g_directory / "pristine.xml", 64, 8);
    classxml::bench::Register("copy/plain", PlainCopy, 1, 15);
    classxml::bench::Register("PreprocessReading", Preprocess, 1, 15);
    const int result = classxml::bench::RunAndCompare(
        argc, argv,
        {{"PreprocessReading 512 MiB vs a plain copy", "PreprocessReading", "copy/plain", 1.5}});
    Handle::UninitXMLEngine(Handle::XMLIOTYPE_XERCES);
    fs::remove_all(g_directory);
    return result;
}
