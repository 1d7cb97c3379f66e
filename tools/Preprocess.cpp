// classxml preprocess: moves the base64 blocks of a file into side files.
#include <cstdio>

#include "Commands.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace classxml::tool {

int Preprocess(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return Fail(file.string(), "no such file");
    if (status.type() != std::filesystem::file_type::regular)
        return Fail(file.string(), "not a file: preprocess rewrites a file in place");
    const std::filesystem::path directory =
        file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    const auto before = SideFiles(directory);
    const bool complete = CXMLClassReaderWriter::PreprocessReading(Wide(file), nullptr, nullptr);
    std::size_t moved = 0;
    for (const auto& side : SideFiles(directory)) {
        if (before.count(side)) continue;
        std::printf("  %s (%ju bytes)\n", side.string().c_str(),
                    std::uintmax_t(std::filesystem::file_size(side)));
        ++moved;
    }
    std::printf("%zu base64 block%s moved out of %s\n", moved, moved == 1 ? "" : "s",
                file.string().c_str());
    if (!complete)
        return Fail(file.string(),
                    "stopped at an incomplete FileTransport element or a file error");
    return 0;
}

} // namespace classxml::tool
