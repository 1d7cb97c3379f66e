#include "classxml/platform/FileIO.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "classxml/platform/Utf.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace classxml::platform {

#if defined(_WIN32)

namespace {

const wchar_t* WidePath(const CBasicString<WideChar>& path) { return path.c_str(); }

} // namespace

int OpenFile(const CBasicString<WideChar>& path, const OpenOptions& options, int& error) {
    using Access = OpenOptions::Access;
    int flags = options.access == Access::ReadWrite ? _O_RDWR
                : options.access == Access::Write   ? _O_WRONLY
                                                    : _O_RDONLY;
    if (options.create) flags |= _O_CREAT;
    if (options.exclusive) flags |= _O_CREAT | _O_EXCL;
    if (options.truncate) flags |= _O_TRUNC;
    if (options.noInherit) flags |= _O_NOINHERIT;
    if (options.temporary) flags |= _O_TEMPORARY;
    if (options.shortLived) flags |= _O_SHORT_LIVED;
    flags |= options.text ? _O_TEXT : _O_BINARY;
    using Share = OpenOptions::Share;
    const int share = options.share == Share::DenyRead        ? _SH_DENYRD
                      : options.share == Share::DenyWrite     ? _SH_DENYWR
                      : options.share == Share::DenyReadWrite ? _SH_DENYRW
                                                              : _SH_DENYNO;
    const int permission = options.writablePermission ? (_S_IREAD | _S_IWRITE) : _S_IREAD;
    int descriptor = -1;
    error = _wsopen_s(&descriptor, WidePath(path), flags, share, permission);
    // Windows refuses to open a folder as a file with "access denied"; the reason is the folder.
    const DWORD attributes = error == EACCES ? GetFileAttributesW(WidePath(path)) : 0;
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        error = EISDIR;
    return error == 0 ? descriptor : -1;
}

int CloseFile(int descriptor) { return _close(descriptor) == 0 ? 0 : errno; }

std::int64_t ReadFileAt(int descriptor, std::int64_t offset, void* buffer, std::size_t count,
                        int& error) {
    if (_lseeki64(descriptor, offset, SEEK_SET) < 0) {
        error = errno;
        return -1;
    }
    std::size_t done = 0;
    while (done < count) {
        const unsigned chunk = static_cast<unsigned>(std::min<std::size_t>(count - done, 1u << 30));
        const int got = _read(descriptor, static_cast<char*>(buffer) + done, chunk);
        if (got < 0) {
            error = errno;
            return -1;
        }
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

std::int64_t ReadFile(int descriptor, void* buffer, std::size_t count, int& error) {
    const unsigned chunk = static_cast<unsigned>(std::min<std::size_t>(count, 1u << 30));
    const int got = _read(descriptor, buffer, chunk);
    if (got < 0) error = errno;
    return got;
}

int WriteFileAt(int descriptor, std::int64_t offset, const void* data, std::size_t count) {
    if (_lseeki64(descriptor, offset, SEEK_SET) < 0) return errno;
    std::size_t done = 0;
    while (done < count) {
        const unsigned chunk = static_cast<unsigned>(std::min<std::size_t>(count - done, 1u << 30));
        const int put = _write(descriptor, static_cast<const char*>(data) + done, chunk);
        if (put <= 0) return put < 0 ? errno : ENOSPC;
        done += static_cast<std::size_t>(put);
    }
    return 0;
}

int WriteFile(int descriptor, const void* data, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const unsigned chunk = static_cast<unsigned>(std::min<std::size_t>(count - done, 1u << 30));
        const int put = _write(descriptor, static_cast<const char*>(data) + done, chunk);
        if (put <= 0) return put < 0 ? errno : ENOSPC;
        done += static_cast<std::size_t>(put);
    }
    return 0;
}

std::int64_t FileLength(int descriptor, int& error) {
    const std::int64_t length = _filelengthi64(descriptor);
    if (length < 0) error = errno;
    return length;
}

int ResizeFile(int descriptor, std::int64_t length) { return _chsize_s(descriptor, length); }

FileKind KindOf(int descriptor) {
    struct _stat64 status {};
    if (_fstat64(descriptor, &status) != 0) return FileKind::Other;
    if ((status.st_mode & _S_IFMT) == _S_IFREG) return FileKind::Regular;
    return (status.st_mode & _S_IFMT) == _S_IFDIR ? FileKind::Folder : FileKind::Other;
}

int StandardInput() {
    _setmode(0, _O_BINARY);
    return 0;
}

int CreateFifo(const CBasicString<WideChar>&) { return ENOSYS; }

bool OwnerOf(const CBasicString<WideChar>&, unsigned&, unsigned&) { return false; }

int ChangeOwner(const CBasicString<WideChar>&, unsigned, unsigned) { return ENOSYS; }

int RemoveFile(const CBasicString<WideChar>& path, int& error) {
    const int result = _wunlink(WidePath(path));
    error = result == 0 ? 0 : errno;
    return result;
}

int RenameFile(const CBasicString<WideChar>& from, const CBasicString<WideChar>& to, int& error) {
    const int result = _wrename(WidePath(from), WidePath(to));
    error = result == 0 ? 0 : errno;
    return result;
}

#else

namespace {

std::string NarrowPath(const CBasicString<WideChar>& path) { return WideToNarrow(path); }

} // namespace

// Share modes have no meaning on POSIX; a temporary file is unlinked as soon as it is open.
int OpenFile(const CBasicString<WideChar>& path, const OpenOptions& options, int& error) {
    using Access = OpenOptions::Access;
    int flags = options.access == Access::ReadWrite ? O_RDWR
                : options.access == Access::Write   ? O_WRONLY
                                                    : O_RDONLY;
    if (options.create) flags |= O_CREAT;
    if (options.exclusive) flags |= O_CREAT | O_EXCL;
    if (options.truncate) flags |= O_TRUNC;
    if (options.noInherit) flags |= O_CLOEXEC;
    const mode_t permission = options.writablePermission ? 0666 : 0444;
    const std::string narrow = NarrowPath(path);
    int descriptor = -1;
    do {
        descriptor = ::open(narrow.c_str(), flags, permission);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) {
        error = errno;
        return -1;
    }
    if (options.temporary) ::unlink(narrow.c_str());
    error = 0;
    return descriptor;
}

int CloseFile(int descriptor) { return ::close(descriptor) == 0 ? 0 : errno; }

std::int64_t ReadFileAt(int descriptor, std::int64_t offset, void* buffer, std::size_t count,
                        int& error) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::pread(descriptor, static_cast<char*>(buffer) + done, count - done,
                                    static_cast<off_t>(offset + static_cast<std::int64_t>(done)));
        if (got < 0) {
            if (errno == EINTR) continue;
            error = errno;
            return -1;
        }
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

std::int64_t ReadFile(int descriptor, void* buffer, std::size_t count, int& error) {
    for (;;) {
        const ssize_t got = ::read(descriptor, buffer, count);
        if (got >= 0) return got;
        if (errno != EINTR) {
            error = errno;
            return -1;
        }
    }
}

int WriteFileAt(int descriptor, std::int64_t offset, const void* data, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t put =
            ::pwrite(descriptor, static_cast<const char*>(data) + done, count - done,
                     static_cast<off_t>(offset + static_cast<std::int64_t>(done)));
        if (put < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        done += static_cast<std::size_t>(put);
    }
    return 0;
}

int WriteFile(int descriptor, const void* data, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t put =
            ::write(descriptor, static_cast<const char*>(data) + done, count - done);
        if (put < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        done += static_cast<std::size_t>(put);
    }
    return 0;
}

std::int64_t FileLength(int descriptor, int& error) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) {
        error = errno;
        return -1;
    }
    return static_cast<std::int64_t>(status.st_size);
}

int ResizeFile(int descriptor, std::int64_t length) {
    return ::ftruncate(descriptor, static_cast<off_t>(length)) == 0 ? 0 : errno;
}

FileKind KindOf(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) return FileKind::Other;
    if (S_ISREG(status.st_mode)) return FileKind::Regular;
    return S_ISDIR(status.st_mode) ? FileKind::Folder : FileKind::Other;
}

int StandardInput() { return 0; }

int CreateFifo(const CBasicString<WideChar>& path) {
    return ::mkfifo(NarrowPath(path).c_str(), 0600) == 0 ? 0 : errno;
}

bool OwnerOf(const CBasicString<WideChar>& path, unsigned& user, unsigned& group) {
    struct stat status {};
    if (::stat(NarrowPath(path).c_str(), &status) != 0) return false;
    user = status.st_uid;
    group = status.st_gid;
    return true;
}

int ChangeOwner(const CBasicString<WideChar>& path, unsigned user, unsigned group) {
    return ::chown(NarrowPath(path).c_str(), user, group) == 0 ? 0 : errno;
}

int RemoveFile(const CBasicString<WideChar>& path, int& error) {
    const int result = ::unlink(NarrowPath(path).c_str());
    error = result == 0 ? 0 : errno;
    return result;
}

int RenameFile(const CBasicString<WideChar>& from, const CBasicString<WideChar>& to, int& error) {
    const int result = std::rename(NarrowPath(from).c_str(), NarrowPath(to).c_str());
    error = result == 0 ? 0 : errno;
    return result;
}

#endif

int OpenForReading(const CBasicString<WideChar>& path, int& error) {
    OpenOptions options;
    options.noInherit = true;
    const int descriptor = OpenFile(path, options, error);
    if (descriptor < 0 || KindOf(descriptor) != FileKind::Folder) return descriptor;
    CloseFile(descriptor);
    error = EISDIR;
    return -1;
}

std::string ErrorText(int error) {
    switch (error) {
    case ENOENT:
        return "no such file";
    case EACCES:
    case EPERM:
        return "permission denied";
    case EISDIR:
        return "is a directory";
    case ENOTDIR:
        return "a part of the path is not a directory";
    case ENAMETOOLONG:
        return "the name is too long";
    case EMFILE:
    case ENFILE:
        return "too many open files";
    default: {
        std::string text = std::generic_category().message(error);
        if (!text.empty()) text[0] = char(std::tolower(static_cast<unsigned char>(text[0])));
        return text;
    }
    }
}

std::int64_t FileLengthOf(const CBasicString<WideChar>& path) {
    int error = 0;
    const int descriptor = OpenFile(path, OpenOptions{}, error);
    if (descriptor < 0) return -1;
    const std::int64_t length = FileLength(descriptor, error);
    CloseFile(descriptor);
    return length;
}

} // namespace classxml::platform
