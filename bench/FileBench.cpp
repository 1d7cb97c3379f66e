// Searching and copying a 256 MiB text file through CVFile, against reading and copying it in
// 1 MiB blocks with plain positional reads and writes (the same system calls as read() and
// write()). The file lives in memory where the system allows (see ScratchDirectory), so every
// side reads from the page cache.
#include <cstdio>
#include <filesystem>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "BenchmarkRatios.h"
#include "PlainFiles.h"
#include "classxml/basicio/VFile.h"
#include "classxml/platform/ProcessMemory.h"

namespace {

namespace platform = classxml::platform;
constexpr std::size_t kFileBytes = std::size_t(256) << 20;
constexpr std::size_t kBlock = std::size_t(1) << 20;

std::filesystem::path g_directory;
CBasicString<WideChar> Path(const char* name) { return classxml::bench::Wide(g_directory / name); }

// Base64-like lines: letters, digits, '+', '/', line breaks; the searched text never occurs.
void WriteSample() {
    static const char alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<char> block(kBlock);
    std::mt19937 random(1);
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = i % 77 == 76 ? '\n' : alphabet[random() % 64];
    std::FILE* file = std::fopen((g_directory / "sample.txt").string().c_str(), "wb");
    for (std::size_t written = 0; written < kFileBytes; written += block.size())
        std::fwrite(block.data(), 1, block.size(), file);
    std::fclose(file);
}

void PlainRead(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(classxml::bench::ReadPlain(g_directory / "sample.txt"));
}

void PlainCopy(benchmark::State& state) {
    for (auto _ : state)
        classxml::bench::CopyPlain(g_directory / "sample.txt", g_directory / "copy-plain.txt");
}

template <bool CaseSensitive>
void Search(benchmark::State& state) {
    const boost::shared_ptr<LocalizationManager> localization;
    for (auto _ : state) {
        CVFile file;
        file.Open(Path("sample.txt"), CVFile::kReadExisting);
        const FILE_CHAR_POS found =
            file.FindStringPositionInFile(CBasicStringView<WideChar>(WIDE("<FileTransport")),
                                          localization, CaseSensitive, FILE_CHAR_POS(0));
        if (found.get() != -1) state.SkipWithError("found a text that is not there");
    }
}

void AppendFileContent(benchmark::State& state) {
    for (auto _ : state) {
        CVFile source;
        CVFile target;
        source.Open(Path("sample.txt"), CVFile::kReadExisting);
        target.Open(Path("copy-vfile.txt"), CVFile::kCreateForWriting);
        target.AppendFileContent(source, FILE_CHAR_POS(0),
                                 FILE_CHAR_POS(std::int64_t(source.GetSizeInCharacters().get())));
        target.Close();
    }
}

} // namespace

int main(int argc, char** argv) {
    g_directory = classxml::bench::ScratchDirectory("classxml-file-bench");
    WriteSample();
    classxml::bench::Register("read/plain", PlainRead, 1, 9);
    classxml::bench::Register("search/case-sensitive", Search<true>, 1, 9);
    classxml::bench::Register("search/case-insensitive", Search<false>, 1, 9);
    classxml::bench::Register("copy/plain", PlainCopy, 1, 9);
    classxml::bench::Register("copy/AppendFileContent", AppendFileContent, 1, 9);
    const std::uint64_t residentBefore = platform::PeakResidentBytes();
    const int result = classxml::bench::RunAndCompare(
        argc, argv,
        {{"case-sensitive search vs read", "search/case-sensitive", "read/plain", 2.0},
         {"case-insensitive search vs read", "search/case-insensitive", "read/plain", 4.0},
         {"AppendFileContent vs read/write copy", "copy/AppendFileContent", "copy/plain", 2.0}});
    std::printf("peak resident memory: %.1f MiB before the runs, %.1f MiB after (file: %zu MiB)\n",
                double(residentBefore) / (1 << 20),
                double(platform::PeakResidentBytes()) / (1 << 20), kFileBytes >> 20);
    std::filesystem::remove_all(g_directory);
    return result;
}
