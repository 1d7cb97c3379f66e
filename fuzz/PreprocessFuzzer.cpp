// Arbitrary bytes as a class-XML file run through PreprocessReading. Whatever it answers, no
// text may be lost: the file afterwards, with every side file's path replaced by that side
// file's content, is the input. And a well-formed document stays one.
#include <cstdint>
#include <fstream>
#include <iterator>

#include "FuzzSupport.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace {

namespace fs = std::filesystem;
using Handle = CXMLClassReaderWriter;

// The path of a side file as it stands in the rewritten document: escaped.
std::string Escaped(const std::string& path) {
    std::string text;
    for (const char c : path)
        text += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    return text;
}

bool IsWellFormed(const std::string& bytes) {
    Handle handle(boost::shared_ptr<CLoggingFile>(), Handle::XMLIOTYPE_XERCES, false);
    const bool read = handle.ReadFromString(CBasicStringView<char>(bytes));
    handle.ReleaseDocument();
    return read;
}

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

    Handle::PreprocessReading(classxml::fuzz::Wide(input), nullptr, nullptr);

    const std::string rewritten = Contents(input);
    std::string rebuilt = rewritten;
    for (const auto& entry : fs::directory_iterator(directory)) {
        if (entry.path().extension() != ".base64") continue;
        const std::string path = Escaped(entry.path().string());
        const std::size_t at = rebuilt.find(path);
        if (at != std::string::npos) rebuilt.replace(at, path.size(), Contents(entry.path()));
    }
    // A UTF-16 input is rewritten as UTF-8 text by design, so only narrow inputs can be
    // compared byte for byte, or read again; UTF-16 ones are run for crashes and leaks.
    const bool utf16 =
        size >= 2 && ((data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xFE && data[1] == 0xFF));
    if (!utf16) {
        FUZZ_CHECK(rebuilt == original);
        if (rewritten != original && IsWellFormed(original)) FUZZ_CHECK(IsWellFormed(rewritten));
    }

    for (const auto& entry : fs::directory_iterator(directory))
        fs::remove(entry.path());
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Handle::InitXMLEngine(Handle::XMLIOTYPE_XERCES);
    // DTDs a document names are looked up in a directory that holds none.
    Handle::SetDtdDirectory(classxml::fuzz::Wide(classxml::fuzz::ScratchDirectory() / "dtd"),
                            Handle::XMLIOTYPE_XERCES);
    return 0;
}
