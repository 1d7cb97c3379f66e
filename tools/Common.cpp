#include <cstdio>
#include <fstream>

#include "Commands.h"
#include "platform/Utf.h"

namespace classxml::tool {

CBasicString<WideChar> Wide(const std::filesystem::path& path) {
    return platform::Utf8ToUtf16(path.u8string());
}

std::string Narrow(CBasicStringView<WideChar> text) { return platform::WideToNarrow(text); }

int Fail(const std::filesystem::path& file, const std::string& message) {
    std::fprintf(stderr, "classxml: %s: %s\n", file.string().c_str(), message.c_str());
    return 1;
}

std::set<std::filesystem::path> SideFiles(const std::filesystem::path& directory) {
    std::set<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error))
        if (entry.path().extension() == ".base64") files.insert(entry.path());
    return files;
}

bool CheckReadable(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::exists(file, error)) return Fail(file, "no such file"), false;
    if (!std::filesystem::is_regular_file(file, error)) return Fail(file, "not a file"), false;
    if (!std::ifstream(file, std::ios::binary)) return Fail(file, "cannot be opened"), false;
    if (std::filesystem::file_size(file, error) == 0) return Fail(file, "the file is empty"), false;
    return true;
}

} // namespace classxml::tool
