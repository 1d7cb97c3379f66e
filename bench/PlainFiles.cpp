#include "PlainFiles.h"

#include <vector>

#include "classxml/platform/FileIO.h"
#include "classxml/platform/Utf.h"

namespace classxml::bench {
namespace {

constexpr std::size_t kBlock = std::size_t(1) << 20;

int Open(const std::filesystem::path& path, bool write) {
    platform::OpenOptions options;
    options.access =
        write ? platform::OpenOptions::Access::Write : platform::OpenOptions::Access::Read;
    options.create = options.truncate = write;
    int error = 0;
    return platform::OpenFile(Wide(path), options, error);
}

} // namespace

CBasicString<WideChar> Wide(const std::filesystem::path& path) {
    return platform::Utf8ToUtf16(path.u8string());
}

std::int64_t ReadPlain(const std::filesystem::path& file) {
    std::vector<char> block(kBlock);
    const int descriptor = Open(file, false);
    int error = 0;
    std::int64_t offset = 0;
    for (std::int64_t got;
         (got = platform::ReadFileAt(descriptor, offset, block.data(), block.size(), error)) > 0;)
        offset += got;
    platform::CloseFile(descriptor);
    return offset;
}

void CopyPlain(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::vector<char> block(kBlock);
    const int source = Open(from, false);
    const int target = Open(to, true);
    int error = 0;
    std::int64_t offset = 0;
    for (std::int64_t got;
         (got = platform::ReadFileAt(source, offset, block.data(), block.size(), error)) > 0;) {
        platform::WriteFileAt(target, offset, block.data(), static_cast<std::size_t>(got));
        offset += got;
    }
    platform::CloseFile(source);
    platform::CloseFile(target);
}

} // namespace classxml::bench
