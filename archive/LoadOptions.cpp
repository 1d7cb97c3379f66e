#include "classxml/archive/LoadOptions.h"

#include <filesystem>

#include "classxml/platform/Utf.h"
#include "classxml/xmlio/XercesIO.h"

namespace classxml::archive_detail {

std::optional<CBasicString<WideChar>> DtdDirectoryFor(std::string_view path,
                                                      const LoadOptions& options) {
    const auto wide = [](std::string_view utf8) {
        return platform::Utf8ToUtf16(utf8);
    };
    if (!options.dtdDirectory.empty()) return wide(options.dtdDirectory);
    if (path.empty() || !CXercesIO::GetDtdDirectory().empty()) return std::nullopt;
    const std::filesystem::path file(std::u8string(path.begin(), path.end()));
    const std::u8string folder = file.has_parent_path() ? file.parent_path().u8string() : u8".";
    return wide({reinterpret_cast<const char*>(folder.data()), folder.size()});
}

} // namespace classxml::archive_detail
