#include "classxml/platform/FileReplace.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "classxml/platform/FileIO.h"
#include "classxml/platform/Utf.h"
#include "classxml/platform/Uuid.h"

#if defined(_WIN32)
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#endif

namespace classxml::platform {
namespace {

namespace fs = std::filesystem;
using Kind = WriteTarget::Kind;

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

fs::path FolderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

// The file a path names: symbolic links followed, live or dangling, as an editor follows them.
fs::path FollowLinks(fs::path path) {
    std::error_code error;
    for (int hops = 0; hops < 40 && fs::is_symlink(fs::symlink_status(path, error)); ++hops) {
        const fs::path target = fs::read_symlink(path, error);
        if (error) break;
        path = target.is_absolute() ? target : FolderOf(path) / target;
    }
    return path.lexically_normal();
}

// A name beside `target` for a file written before it takes the target's place, so that one
// left behind says where it came from.
CBasicString<WideChar> NameBeside(const fs::path& target) {
    CBasicString<WideChar> random = WIDE("0");
    NewUuidText(random);
    return WidePath(FolderOf(target)) + WideChar(fs::path::preferred_separator) + WIDE(".") +
           WidePath(target.filename()) + WIDE(".") + random + WIDE(".tmp");
}

// Copies the whole text of `from` over the start of `to`: 0, or the error number.
int CopyText(int from, int to, std::int64_t& length) {
    std::vector<unsigned char> buffer(std::size_t(1) << 20);
    for (length = 0;;) {
        int error = 0;
        const std::int64_t got = ReadFileAt(from, length, buffer.data(), buffer.size(), error);
        if (got < 0) return error;
        if (got == 0) return 0;
        if (const int put = WriteFileAt(to, length, buffer.data(), std::size_t(got))) return put;
        length += got;
    }
}

// Writes the text of `from` over the text of `to`, waits for the device, and only then cuts
// what is left of the old text (of a file; a device has no length): a failure on the way
// leaves the old length.
int CopyInPlace(int from, int to, bool cut) {
    std::int64_t length = 0;
    if (const int error = CopyText(from, to, length)) return error;
    if (const int error = SyncFile(to)) return error;
    if (!cut) return 0;
    if (const int error = ResizeFile(to, length)) return error;
    return SyncFile(to);
}

#if defined(_WIN32)

// Windows replaces a file by a moved one; what it cannot replace, the move refuses.
Kind KindOfExisting(const fs::path&) { return Kind::Aside; }

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
    return OpenFile(NameBeside(fs::temp_directory_path(ignored) / "classxml"), options, error);
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

#else

bool InGroup(gid_t group) {
    if (group == getegid()) return true;
    const int count = getgroups(0, nullptr);
    if (count <= 0) return false;
    std::vector<gid_t> groups(std::size_t(count), 0);
    if (getgroups(count, groups.data()) < 0) return false;
    return std::find(groups.begin(), groups.end(), group) != groups.end();
}

// Whether a new file of this process can be what the existing file at `path` is (its
// extended attributes are tried when the new file is made).
Kind KindOfExisting(const fs::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return Kind::InPlace;
    if (status.st_nlink > 1 || ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0 ||
        ::faccessat(AT_FDCWD, FolderOf(path).c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        return Kind::InPlace;
    if (geteuid() != 0 && (status.st_uid != geteuid() || !InGroup(status.st_gid)))
        return Kind::InPlace;
    return Kind::Aside;
}

// Gives the new file at `descriptor` what the file `like` has: its extended attributes (ACLs
// among them; the security labels a new file gets from its folder are left alone), then its
// owner and group, then its permissions. 0, or the error number of the first that fails.
int CarryAttributes(int descriptor, const fs::path& like) {
    const ssize_t size = ::listxattr(like.c_str(), nullptr, 0);
    if (size > 0) {
        std::vector<char> names(std::size_t(size) + 1, '\0');
        const ssize_t listed = ::listxattr(like.c_str(), names.data(), names.size() - 1);
        for (std::size_t at = 0; listed > 0 && at < std::size_t(listed);) {
            const std::string name(names.data() + at);
            at += name.size() + 1;
            if (name.rfind("security.", 0) == 0) continue;
            const ssize_t length = ::getxattr(like.c_str(), name.c_str(), nullptr, 0);
            if (length < 0) return errno;
            std::vector<char> value(std::size_t(length) + 1);
            const ssize_t got = ::getxattr(like.c_str(), name.c_str(), value.data(), value.size());
            if (got < 0 || ::fsetxattr(descriptor, name.c_str(), value.data(), std::size_t(got), 0))
                return errno;
        }
    }
    struct stat status {};
    if (::stat(like.c_str(), &status) != 0) return errno;
    struct stat own {};
    if (::fstat(descriptor, &own) != 0) return errno;
    if ((own.st_uid != status.st_uid || own.st_gid != status.st_gid) &&
        ::fchown(descriptor, status.st_uid, status.st_gid) != 0)
        return errno;
    return ::fchmod(descriptor, status.st_mode & 07777) == 0 ? 0 : errno;
}

int Open(const std::string& path, int flags, mode_t mode, int& error) {
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC, mode);
    } while (descriptor < 0 && errno == EINTR);
    error = descriptor < 0 ? errno : 0;
    return descriptor;
}

// A new file is made private (0600) and widened to its target's permissions once it has them;
// a file that replaces nothing gets what a plain open would give it.
mode_t ModeOfNew(bool replaces) { return replaces ? 0600 : 0666; }

int CreateNamed(const CBasicString<WideChar>& name, bool replaces, int& error) {
    return Open(WideToNarrow(name), O_WRONLY | O_CREAT | O_EXCL, ModeOfNew(replaces), error);
}

// A file in `folder` without a name, for writing (and reading back, with `readable`); where
// the system has none of those, -1.
int OpenUnnamed(const fs::path& folder, bool replaces, int& error, bool readable = false) {
#if defined(O_TMPFILE)
    // It is named through /proc once complete: without /proc it could not be named at all.
    if (::access("/proc/self/fd", X_OK) != 0) return error = ENOSYS, -1;
    return Open(folder.string(), (readable ? O_RDWR : O_WRONLY) | O_TMPFILE, ModeOfNew(replaces),
                error);
#else
    (void)readable;
    (void)folder;
    (void)replaces;
    return error = ENOSYS, -1;
#endif
}

int GiveName(int descriptor, const CBasicString<WideChar>& name) {
    const std::string self = "/proc/self/fd/" + std::to_string(descriptor);
    return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, WideToNarrow(name).c_str(),
                    AT_SYMLINK_FOLLOW) == 0
               ? 0
               : errno;
}

// A file for text on its way elsewhere, gone once closed.
int OpenScratch(int& error) {
    std::error_code ignored;
    const fs::path folder = fs::temp_directory_path(ignored);
    const int unnamed = OpenUnnamed(folder, true, error, true);
    if (unnamed >= 0) return unnamed;
    const CBasicString<WideChar> name = NameBeside(folder / "classxml");
    const int descriptor = Open(WideToNarrow(name), O_RDWR | O_CREAT | O_EXCL, 0600, error);
    if (descriptor >= 0) ::unlink(WideToNarrow(name).c_str());
    return descriptor;
}

int SyncFolder(const fs::path& file) {
    int error = 0;
    const int descriptor = Open(FolderOf(file).string(), O_RDONLY | O_DIRECTORY, 0, error);
    if (descriptor < 0) return error;
    error = SyncFile(descriptor);
    ::close(descriptor);
    return error;
}

int Move(const CBasicString<WideChar>& from, const fs::path& to) {
    if (std::rename(WideToNarrow(from).c_str(), to.c_str()) != 0) return errno;
    return SyncFolder(to);
}

#endif

WriteTarget Inspect(const CBasicString<WideChar>& given) {
    const fs::path file = FollowLinks(FilesystemPath(given));
    const CBasicString<WideChar> path = WidePath(file);
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (status.type() == fs::file_type::regular) return {KindOfExisting(file), path};
    if (status.type() != fs::file_type::not_found && status.type() != fs::file_type::none)
        return {Kind::Stream, path};
    if (!fs::is_directory(FolderOf(file), error)) return {Kind::MissingFolder, path};
    return {Kind::Aside, path};
}

} // namespace

WriteTarget InspectWriteTarget(const CBasicString<WideChar>& path) { return Inspect(path); }

class FileReplacement::Impl {
public:
    explicit Impl(const CBasicString<WideChar>& path) : m_target(Inspect(path)) {
        const fs::path target = FilesystemPath(m_target.path);
        switch (m_target.kind) {
        case WriteTarget::Kind::MissingFolder:
            break;
        case WriteTarget::Kind::Stream: {
            OpenOptions options;
            options.access = OpenOptions::Access::Write;
            options.truncate = true;
            m_descriptor = OpenFile(m_target.path, options, m_error);
            break;
        }
        case WriteTarget::Kind::Aside:
            if (OpenAside(target)) break;
            m_target.kind = WriteTarget::Kind::InPlace; // it could not be made what the old one is
            [[fallthrough]];
        case WriteTarget::Kind::InPlace:
            OpenInPlace();
            break;
        }
    }

    ~Impl() { Discard(); }

    WriteTarget::Kind TargetKind() const { return m_target.kind; }
    bool IsOpen() const { return m_descriptor >= 0 && m_error == 0; }
    int Error() const { return m_error; }

    bool Write(const void* data, std::size_t count) {
        if (!IsOpen()) return false;
        m_error = WriteFile(m_descriptor, data, count);
        return m_error == 0;
    }

    bool Commit() {
        if (!IsOpen()) return false;
        const bool aside = m_target.kind == WriteTarget::Kind::Aside;
        m_error = SyncFile(m_descriptor);
        if (m_error == 0 && !aside) m_error = CopyInPlace(m_descriptor, m_old, true);
        // A file without a name gets one just before it is moved, so that it is seen under a
        // name of its own for as short a time as can be.
        bool moved = false;
        if (m_error == 0 && aside && m_name.empty()) {
            m_name = NameBeside(FilesystemPath(m_target.path));
            m_error = GiveName(m_descriptor, m_name);
            if (m_error != 0) m_name.clear();
            if (m_error == 0) m_error = Move(m_name, FilesystemPath(m_target.path));
            moved = true;
        }
        const int closed = CloseFile(m_descriptor); // a named file: before it moves (Windows)
        m_descriptor = -1;
        if (m_error == 0) m_error = closed;
        if (m_error == 0 && aside && !moved) m_error = Move(m_name, FilesystemPath(m_target.path));
        if (m_error == 0) m_name.clear(); // in place now: nothing to discard
        Discard();
        return m_error == 0;
    }

private:
    // The new file beside the target, with what the old one has: true when it is ready.
    bool OpenAside(const fs::path& target) {
        const bool replaces = fs::exists(target);
        int error = 0;
        m_descriptor = OpenUnnamed(FolderOf(target), replaces, error);
        if (m_descriptor < 0) {
            m_name = NameBeside(target);
            m_descriptor = CreateNamed(m_name, replaces, m_error);
            if (m_descriptor < 0) {
                m_name.clear();
                return true; // the save fails as an open for writing there would
            }
        }
        if (!replaces || CarryAttributes(m_descriptor, target) == 0) return true;
        Discard();
        m_error = 0;
        return false;
    }

    // The old file is opened for writing at once; the text waits in a scratch file.
    void OpenInPlace() {
        OpenOptions options;
        options.access = OpenOptions::Access::Write;
        m_old = OpenFile(m_target.path, options, m_error);
        if (m_old >= 0) m_descriptor = OpenScratch(m_error);
    }

    void Discard() {
        if (m_descriptor >= 0) CloseFile(m_descriptor);
        if (m_old >= 0) CloseFile(m_old);
        m_descriptor = m_old = -1;
        int ignored = 0;
        if (!m_name.empty()) RemoveFile(m_name, ignored);
        m_name.clear();
    }

    WriteTarget m_target;
    int m_descriptor = -1;         // where the text goes
    int m_old = -1;                // the old file, written in place at Commit
    CBasicString<WideChar> m_name; // the new file's name beside the target, once it has one
    int m_error = 0;
};

FileReplacement::FileReplacement(const CBasicString<WideChar>& path)
    : m_impl(std::make_unique<Impl>(path)) {}
FileReplacement::~FileReplacement() = default;
WriteTarget::Kind FileReplacement::Kind() const { return m_impl->TargetKind(); }
bool FileReplacement::IsOpen() const { return m_impl->IsOpen(); }
int FileReplacement::Error() const { return m_impl->Error(); }
bool FileReplacement::Write(const void* data, std::size_t count) {
    return m_impl->Write(data, count);
}
bool FileReplacement::Commit() { return m_impl->Commit(); }

int CreateFileLike(const CBasicString<WideChar>& path, const CBasicString<WideChar>& like) {
    int error = 0;
    const int descriptor = CreateNamed(path, true, error);
    if (descriptor < 0) return error;
    error = CarryAttributes(descriptor, FilesystemPath(like));
    CloseFile(descriptor);
    return error;
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

int SyncFileAt(const CBasicString<WideChar>& path) {
    OpenOptions options;
    options.access = OpenOptions::Access::Write; // Windows flushes only what it may write
    int error = 0;
    const int descriptor = OpenFile(path, options, error);
    if (descriptor < 0) return error;
    const int syncError = SyncFile(descriptor);
    CloseFile(descriptor);
    return syncError;
}

int SyncFolderOf(const CBasicString<WideChar>& path) { return SyncFolder(FilesystemPath(path)); }

int MoveOverFile(const CBasicString<WideChar>& from, const CBasicString<WideChar>& to, int& error) {
    const WriteTarget target = Inspect(to);
    error = SyncFileAt(from);
    // The folder's entries too: files the moved one names (side files) are there before it.
    if (error == 0) error = SyncFolderOf(from);
    if (error == 0 && target.kind == Kind::Aside) error = Move(from, FilesystemPath(target.path));
    if (error == 0 && target.kind != Kind::Aside) {
        error = target.kind == Kind::MissingFolder ? ENOENT : 0;
        OpenOptions options;
        const int source = error == 0 ? OpenFile(from, options, error) : -1;
        options.access = OpenOptions::Access::Write;
        const int old = source >= 0 ? OpenFile(target.path, options, error) : -1;
        if (old >= 0) error = CopyInPlace(source, old, target.kind == Kind::InPlace);
        if (old >= 0) CloseFile(old);
        if (source >= 0) CloseFile(source);
        int ignored = 0;
        if (error == 0) RemoveFile(from, ignored);
    }
    return error == 0 ? 0 : -1;
}

} // namespace classxml::platform
