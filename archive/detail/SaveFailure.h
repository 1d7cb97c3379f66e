#pragma once

#include <string>
#include <string_view>

namespace classxml::archive_detail {

// Why a save could not write the file at `path` (UTF-8), for a Result: "cannot save PATH: the
// folder FOLDER does not exist", or the system's reason for `error` (a runtime error number; 0
// when the folder is missing or the reason is not known).
std::string CannotSave(std::string_view path, int error);

// Whether the folder `path` would be written in is missing.
bool FolderMissing(std::string_view path);

} // namespace classxml::archive_detail
