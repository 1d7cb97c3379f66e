#include "archive/LoadOptions.h"

#include <filesystem>

#include "platform/Utf.h"
#include "xmlio/XercesIO.h"

namespace classxml::archive_detail {

std::optional<CBasicString<WideChar>> DtdDirectoryFor(std::string_view path,
                                                      const LoadOptions& options) {
    const auto wide = [](std::string_view utf8) {
        return platform::Utf8ToUtf16({reinterpret_cast<const char8_t*>(utf8.data()), utf8.size()});
    };
    if (!options.dtdDirectory.empty()) return wide(options.dtdDirectory);
    if (path.empty() || !CXercesIO::GetDtdDirectory().empty()) return std::nullopt;
    const std::filesystem::path file(std::u8string(path.begin(), path.end()));
    const std::u8string folder = file.has_parent_path() ? file.parent_path().u8string() : u8".";
    return wide({reinterpret_cast<const char*>(folder.data()), folder.size()});
}

} // namespace classxml::archive_detail
