// The file replacement's system calls on POSIX systems.
#include "classxml/platform/FileReplaceSystem.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "classxml/platform/FileIO.h"
#include "classxml/platform/Utf.h"

namespace classxml::platform {
namespace replace_system {
namespace {

bool InGroup(gid_t group) {
    if (group == getegid()) return true;
    const int count = getgroups(0, nullptr);
    if (count <= 0) return false;
    std::vector<gid_t> groups(std::size_t(count), 0);
    if (getgroups(count, groups.data()) < 0) return false;
    return std::find(groups.begin(), groups.end(), group) != groups.end();
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

// A file in `folder` without a name, for writing (and reading back, with `readable`); where
// the system has none of those, -1.
int OpenUnnamedFile(const fs::path& folder, bool replaces, int& error, bool readable) {
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

} // namespace

fs::path FilesystemPath(const CBasicString<WideChar>& path) { return fs::path(Utf16ToUtf8(path)); }

CBasicString<WideChar> WidePath(const fs::path& path) { return Utf8ToUtf16(path.u8string()); }

// Whether a new file of this process can be what the existing file at `path` is (its
// extended attributes are tried when the new file is made).
WriteTarget::Kind KindOfExisting(const fs::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return WriteTarget::Kind::InPlace;
    if (status.st_nlink > 1 || ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0 ||
        ::faccessat(AT_FDCWD, FolderOf(path).c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        return WriteTarget::Kind::InPlace;
    if (geteuid() != 0 && (status.st_uid != geteuid() || !InGroup(status.st_gid)))
        return WriteTarget::Kind::InPlace;
    return WriteTarget::Kind::Aside;
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

int CreateNamed(const CBasicString<WideChar>& name, bool replaces, int& error) {
    return Open(WideToNarrow(name), O_WRONLY | O_CREAT | O_EXCL, ModeOfNew(replaces), error);
}

int OpenUnnamed(const fs::path& folder, bool replaces, int& error) {
    return OpenUnnamedFile(folder, replaces, error, false);
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
    const int unnamed = OpenUnnamedFile(folder, true, error, true);
    if (unnamed >= 0) return unnamed;
    const CBasicString<WideChar> name = RandomNameBeside(folder / "classxml");
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

int LockExclusive(int descriptor, bool wait) {
    int result = 0;
    do {
        result = ::flock(descriptor, LOCK_EX | (wait ? 0 : LOCK_NB));
    } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

int ReserveSpace(int descriptor, std::int64_t length) {
    if (length <= 0) return 0;
    const int error = ::posix_fallocate(descriptor, 0, off_t(length));
    // File systems that cannot reserve say so; their writes are then the only check.
    return error == EOPNOTSUPP || error == EINVAL || error == ENOSYS ? 0 : error;
}

std::string FileIdentity(const fs::path& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) return {};
    return std::to_string(status.st_dev) + "-" + std::to_string(status.st_ino);
}

} // namespace replace_system

int SyncFile(int descriptor) {
    int result = 0;
    do {
        result = ::fsync(descriptor);
    } while (result != 0 && errno == EINTR);
    // Pipes and character devices cannot be synced; nothing waits in them either.
    return result == 0 || errno == EINVAL || errno == EROFS ? 0 : errno;
}

} // namespace classxml::platform
