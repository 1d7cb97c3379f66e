#include "platform/FileReplace.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "platform/FileIO.h"
#include "platform/Utf.h"
#include "platform/Uuid.h"

#if defined(_WIN32)
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace classxml::platform {
namespace {

namespace fs = std::filesystem;

fs::path FilesystemPath(const CBasicString<WideChar>& path) {
#if defined(_WIN32)
    return fs::path(path);
#else
    return fs::path(Utf16ToUtf8(path));
#endif
}

CBasicString<WideChar> WidePath(const fs::path& path) {
#if defined(_WIN32)
    return path.wstring();
#else
    return Utf8ToUtf16(path.u8string());
#endif
}

#if defined(_WIN32)

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

#else

// A rename is durable once the folder that records it is on the device too.
void SyncFolderOf(const fs::path& file) {
    const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    ::fsync(descriptor);
    ::close(descriptor);
}

#endif

// The data of a closed file on the device before it takes another file's place.
int SyncPath(const CBasicString<WideChar>& path) {
    OpenOptions options;
    options.access = OpenOptions::Access::Write; // Windows flushes only what it may write
    int error = 0;
    const int descriptor = OpenFile(path, options, error);
    if (descriptor < 0) return error;
    const int syncError = SyncFile(descriptor);
    CloseFile(descriptor);
    return syncError;
}

} // namespace

WriteTarget InspectWriteTarget(const CBasicString<WideChar>& path) {
    const fs::path file = FilesystemPath(path);
    std::error_code error;
    const fs::file_status status = fs::status(file, error); // follows symbolic links
    if (status.type() == fs::file_type::regular) {
        if (!fs::is_symlink(fs::symlink_status(file, error)))
            return {WriteTarget::Kind::RegularFile, path};
        const fs::path linked = fs::canonical(file, error);
        return {WriteTarget::Kind::RegularFile, error ? path : WidePath(linked)};
    }
    if (status.type() != fs::file_type::not_found && status.type() != fs::file_type::none)
        return {WriteTarget::Kind::Other, path};
    const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, error)) return {WriteTarget::Kind::MissingFolder, path};
    return {WriteTarget::Kind::NewFile, path};
}

int CreateFileBeside(const CBasicString<WideChar>& target, CBasicString<WideChar>& path,
                     int& error) {
    CBasicString<WideChar> name;
    if (!NewUuidText(name)) {
        error = EIO;
        return -1;
    }
    const fs::path file = FilesystemPath(target);
    path = WidePath(file.parent_path());
    if (!path.empty() && path.back() != WideChar('/') && path.back() != WideChar('\\'))
        path.push_back(WideChar(fs::path::preferred_separator));
    path += WIDE(".~") + name + WIDE(".tmp");
    OpenOptions options;
    options.access = OpenOptions::Access::Write;
    options.exclusive = true;
    options.noInherit = true;
    return OpenFile(path, options, error);
}

int SyncFile(int descriptor) {
#if defined(_WIN32)
    return _commit(descriptor) == 0 ? 0 : errno;
#else
    int result = 0;
    do {
        result = ::fsync(descriptor);
    } while (result != 0 && errno == EINTR);
    // Pipes and character devices cannot be synced; nothing waits in them either.
    return result == 0 || errno == EINVAL || errno == EROFS ? 0 : errno;
#endif
}

int MoveOverFile(const CBasicString<WideChar>& from, const CBasicString<WideChar>& to, int& error) {
    error = SyncPath(from);
    if (error != 0) return -1;
    const fs::path source = FilesystemPath(from);
    const fs::path target = FilesystemPath(to);
    std::error_code ignored;
    const fs::file_status existing = fs::status(target, ignored);
    if (existing.type() == fs::file_type::regular)
        fs::permissions(source, existing.permissions(), ignored);
#if defined(_WIN32)
    if (!MoveFileExW(from.c_str(), to.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        error = ErrorNumberOf(GetLastError());
        return -1;
    }
#else
    if (std::rename(source.c_str(), target.c_str()) != 0) {
        error = errno;
        return -1;
    }
    SyncFolderOf(target);
#endif
    return 0;
}

} // namespace classxml::platform
