// Arbitrary bytes as a class-XML file run through PreprocessReading. Whatever it answers, no
// text may be lost: the file afterwards, with every side file's path replaced by that side
// file's content, is the input.
#include <cstdint>
#include <fstream>
#include <iterator>

#include "FuzzSupport.h"
#include "XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace {

namespace fs = std::filesystem;

std::string Contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fs::path directory = classxml::fuzz::ScratchDirectory();
    const fs::path input = directory / "input.xml";
    const std::string original(reinterpret_cast<const char*>(data), size);
    std::ofstream(input, std::ios::binary) << original;

    CXMLClassReaderWriter::PreprocessReading(classxml::fuzz::Wide(input), nullptr, nullptr);

    std::string rebuilt = Contents(input);
    for (const auto& entry : fs::directory_iterator(directory)) {
        if (entry.path().extension() != ".base64") continue;
        const std::string path = entry.path().string();
        const std::size_t at = rebuilt.find(path);
        if (at != std::string::npos) rebuilt.replace(at, path.size(), Contents(entry.path()));
    }
    // A UTF-16 input is rewritten as UTF-8 text by design, so only narrow inputs can be
    // compared byte for byte; UTF-16 ones are run for crashes and leaks.
    const bool utf16 =
        size >= 2 && ((data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xFE && data[1] == 0xFF));
    if (!utf16) FUZZ_CHECK(rebuilt == original);

    for (const auto& entry : fs::directory_iterator(directory))
        fs::remove(entry.path());
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) { return 0; }
