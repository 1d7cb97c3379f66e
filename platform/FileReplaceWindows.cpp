// The file replacement's system calls on Windows.
#include "classxml/platform/FileReplaceSystem.h"

#include <cerrno>

#include <io.h>
#include <windows.h>

#include "classxml/platform/FileIO.h"

namespace classxml::platform {
namespace replace_system {
namespace {

int ErrorNumberOf(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
        return EACCES;
    case ERROR_INVALID_NAME:
        return EINVAL;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return ENOSPC;
    default:
        return EIO;
    }
}

} // namespace

fs::path FilesystemPath(const CBasicString<WideChar>& path) { return fs::path(path); }

CBasicString<WideChar> WidePath(const fs::path& path) { return path.wstring(); }

// Windows replaces a file by a moved one; what it cannot replace, the move refuses.
WriteTarget::Kind KindOfExisting(const fs::path&) { return WriteTarget::Kind::Aside; }

int CarryAttributes(int, const fs::path&) { return 0; }

int CreateNamed(const CBasicString<WideChar>& name, bool, int& error) {
    OpenOptions options;
    options.access = OpenOptions::Access::Write;
    options.exclusive = true;
    options.noInherit = true;
    return OpenFile(name, options, error);
}

int OpenUnnamed(const fs::path&, bool, int& error) {
    error = ENOSYS;
    return -1;
}

int GiveName(int, const CBasicString<WideChar>&) { return ENOSYS; }

// A file for text on its way elsewhere, gone once closed.
int OpenScratch(int& error) {
    OpenOptions options;
    options.access = OpenOptions::Access::ReadWrite;
    options.exclusive = true;
    options.temporary = true;
    std::error_code ignored;
    return OpenFile(RandomNameBeside(fs::temp_directory_path(ignored) / "classxml"), options,
                    error);
}

int SyncFolder(const fs::path&) { return 0; } // a move with MOVEFILE_WRITE_THROUGH waits itself

int Move(const CBasicString<WideChar>& from, const fs::path& to) {
    std::error_code ignored;
    const fs::file_status existing = fs::status(to, ignored);
    if (existing.type() == fs::file_type::regular)
        fs::permissions(FilesystemPath(from), existing.permissions(), ignored);
    if (!MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return ErrorNumberOf(GetLastError());
    return 0;
}

int LockExclusive(int descriptor, bool wait) {
    OVERLAPPED whole{};
    const DWORD flags = LOCKFILE_EXCLUSIVE_LOCK | (wait ? 0 : LOCKFILE_FAIL_IMMEDIATELY);
    if (LockFileEx(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), flags, 0, MAXDWORD,
                   MAXDWORD, &whole))
        return 0;
    return GetLastError() == ERROR_LOCK_VIOLATION ? EWOULDBLOCK : ErrorNumberOf(GetLastError());
}

// Files are replaced by moved ones here, never written over in place.
int ReserveSpace(int, std::int64_t) { return 0; }
std::string FileIdentity(const fs::path&) { return {}; }

} // namespace replace_system

int SyncFile(int descriptor) { return _commit(descriptor) == 0 ? 0 : errno; }

} // namespace classxml::platform
