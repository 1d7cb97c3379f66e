#pragma once

#include "BasicString.h"
#include "platform/Export.h"

// Replacing a file in one step, so that a reader (or a crash) sees the old file or the new one,
// never a mixture or nothing. Errors come back as the runtime library's numbers.
namespace classxml::platform {

// What stands where a file is about to be written.
struct WriteTarget {
    enum class Kind {
        MissingFolder, // the folder of the path does not exist
        NewFile,       // nothing there yet, in an existing folder
        RegularFile,   // an existing file, to be replaced
        Other,         // a device, a pipe or a folder: written in place, if at all
    };
    Kind kind;
    CBasicString<WideChar> path; // symbolic links followed to the file they name
};
CLASSXML_API WriteTarget InspectWriteTarget(const CBasicString<WideChar>& path);

// Creates a new empty file beside `target` under a fresh hidden name, opened for writing: the
// descriptor and its path, or -1 with the error number in `error`.
CLASSXML_API int CreateFileBeside(const CBasicString<WideChar>& target,
                                  CBasicString<WideChar>& path, int& error);

// Waits until the descriptor's data is on the device: 0, or the error number.
CLASSXML_API int SyncFile(int descriptor);

// Moves `from` over `to` in one step, once `from`'s data is on the device; an existing `to` is
// replaced and its permissions carried over. 0, or -1 with the error number in `error`; `to`
// is untouched then.
CLASSXML_API int MoveOverFile(const CBasicString<WideChar>& from, const CBasicString<WideChar>& to,
                              int& error);

} // namespace classxml::platform
