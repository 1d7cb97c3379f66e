#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"

// Files by wide path and positional reads and writes on their descriptors. Failures come back
// as the runtime library's error numbers (ENOENT 2, EBADF 9, ENOMEM 12, EACCES 13, EEXIST 17,
// EINVAL 22, EMFILE 24, ENOSPC 28 are the same on Windows and Linux).
namespace classxml::platform {

/// How a file is opened.
struct OpenOptions {
    /// What it is opened for.
    enum class Access { Read, Write, ReadWrite };
    /// What others may do with it meanwhile (Windows).
    enum class Share { DenyNone, DenyRead, DenyWrite, DenyReadWrite };
    Access access = Access::Read;   ///< for reading, writing or both
    Share share = Share::DenyNone;  ///< what other openers may do meanwhile (Windows)
    bool create = false;            ///< created when missing
    bool exclusive = false;         ///< fail when the file exists
    bool truncate = false;          ///< emptied when opened
    bool noInherit = false;         ///< not inherited by child processes
    bool text = false;              ///< CR LF translation where the platform has it
    bool temporary = false;         ///< removed when closed
    bool shortLived = false;        ///< a hint that it is closed soon (Windows)
    bool writablePermission = true; ///< permission of a created file
};

// A descriptor >= 0, or -1 with the error number in `error`.
CLASSXML_API int OpenFile(const CBasicString<WideChar>& path, const OpenOptions& options,
                          int& error);
// 0, or the error number.
CLASSXML_API int CloseFile(int descriptor);
// Reads up to `count` bytes at `offset`: the count read (less only at the end of the file), or
// -1 with the error number.
CLASSXML_API std::int64_t ReadFileAt(int descriptor, std::int64_t offset, void* buffer,
                                     std::size_t count, int& error);
// Reads up to `count` bytes at the descriptor's own position, which need not be seekable (a
// pipe, a terminal): the count read, 0 at the end, or -1 with the error number.
CLASSXML_API std::int64_t ReadFile(int descriptor, void* buffer, std::size_t count, int& error);
// Writes all `count` bytes at `offset`: 0, or the error number.
CLASSXML_API int WriteFileAt(int descriptor, std::int64_t offset, const void* data,
                             std::size_t count);
// Writes all `count` bytes at the descriptor's own position, which need not be seekable (a
// pipe, a device): 0, or the error number.
CLASSXML_API int WriteFile(int descriptor, const void* data, std::size_t count);
// The file's length in bytes, or -1 with the error number.
CLASSXML_API std::int64_t FileLength(int descriptor, int& error);
// The length in bytes of the file at `path`, or -1 when it cannot be opened.
CLASSXML_API std::int64_t FileLengthOf(const CBasicString<WideChar>& path);
// What an open descriptor stands for.
enum class FileKind { Regular, Folder, Other };
CLASSXML_API FileKind KindOf(int descriptor);
// Opens `path` for reading a document once: a descriptor >= 0, or -1 with the error number in
// `error` (EISDIR for a folder, which some systems open without complaint).
CLASSXML_API int OpenForReading(const CBasicString<WideChar>& path, int& error);
// The owner and group of the file at `path` (links followed); false where the platform has
// none or the file cannot be seen.
CLASSXML_API bool OwnerOf(const CBasicString<WideChar>& path, unsigned& user, unsigned& group);
// Gives the file at `path` another owner and group: 0, or the error number.
CLASSXML_API int ChangeOwner(const CBasicString<WideChar>& path, unsigned user, unsigned group);
// Makes a FIFO (a named pipe) at `path`: 0, or the error number (ENOSYS where the platform has
// none).
CLASSXML_API int CreateFifo(const CBasicString<WideChar>& path);
// The descriptor of standard input, set to read bytes as they are.
CLASSXML_API int StandardInput();
// Why an operation failed, in a few words: "no such file", "permission denied", ...
CLASSXML_API std::string ErrorText(int error);
// 0, or the error number.
CLASSXML_API int ResizeFile(int descriptor, std::int64_t length);
// Delete and rename by wide path: 0, or -1 with the error number in `error`.
CLASSXML_API int RemoveFile(const CBasicString<WideChar>& path, int& error);
CLASSXML_API int RenameFile(const CBasicString<WideChar>& from, const CBasicString<WideChar>& to,
                            int& error);

} // namespace classxml::platform
