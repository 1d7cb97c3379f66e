#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "classxml/BasicString.h"
#include "classxml/platform/Utf.h"

namespace classxml::testing {

// A fresh directory under the system's temporary directory, removed with everything in it.
class TempDir {
public:
    TempDir() {
        std::random_device random;
        const auto name = "classxml-test-" + std::to_string(random()) + std::to_string(random());
        m_path = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directories(m_path);
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

inline CBasicString<WideChar> WidePath(const std::filesystem::path& path) {
    return platform::Utf8ToUtf16(path.u8string());
}

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

} // namespace classxml::testing
