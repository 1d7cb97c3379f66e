#include "classxml/archive/detail/SaveFailure.h"

#include "classxml/platform/FileIO.h"
#include "classxml/platform/FileReplace.h"
#include "classxml/platform/Utf.h"

namespace classxml::archive_detail {

bool FolderMissing(std::string_view path) {
    return platform::InspectWriteTarget(platform::Utf8ToUtf16(path)).kind ==
           platform::WriteTarget::Kind::MissingFolder;
}

std::string CannotSave(std::string_view path, int error) {
    const std::string start = "cannot save " + std::string(path) + ": ";
    if (FolderMissing(path)) {
        const std::size_t slash = path.find_last_of("/\\");
        const std::string_view folder =
            slash == std::string_view::npos ? std::string_view(".") : path.substr(0, slash);
        return start + "the folder " + std::string(folder) + " does not exist";
    }
    return start + (error ? platform::ErrorText(error) : "the save failing");
}

} // namespace classxml::archive_detail
