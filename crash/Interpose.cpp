// Loaded into a process with LD_PRELOAD by the crash harness: counts the calls that change
// files, ends the process at the one CLASSXML_CRASH_AT names (before it takes effect, as a kill
// between two calls would), and notes which files were written and which synced since, for the
// harness's power-loss check. With CLASSXML_CRASH_FAIL set, that call fails instead (ENOSPC, as a
// full device would) and the process goes on. With CLASSXML_CRASH_AT=0 it only counts, and notes
// the count when the process ends.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <set>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

long g_count = 0;
long g_crashAt = -1; // -1: not under the harness
bool g_fail = false; // the call at g_crashAt fails rather than ending the process
int g_log = -1;
std::set<int>* g_writing = nullptr; // descriptors opened for writing

void Log(const char* text, int length) {
    if (g_log >= 0) syscall(SYS_write, g_log, text, length);
}

void Init() {
    if (g_crashAt != -1) return;
    const char* at = std::getenv("CLASSXML_CRASH_AT");
    const char* log = std::getenv("CLASSXML_CRASH_LOG");
    g_crashAt = at ? std::atol(at) : -2;
    g_fail = std::getenv("CLASSXML_CRASH_FAIL") != nullptr;
    if (log) g_log = int(syscall(SYS_open, log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    g_writing = new std::set<int>;
}

// One more call that changes a file: the process ends here when it is the one asked for, or the
// call fails (true).
bool Step() {
    Init();
    if (g_crashAt < 0 || ++g_count != g_crashAt) return false;
    if (!g_fail) _exit(99);
    errno = ENOSPC;
    return true;
}

// The file behind a descriptor was written ('W') or synced ('S').
void Note(char what, int descriptor) {
    struct stat status {};
    if (g_log < 0 || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return;
    char line[64];
    const int length = std::snprintf(line, sizeof line, "%c %lu %lu\n", what,
                                     (unsigned long)status.st_dev, (unsigned long)status.st_ino);
    Log(line, length);
}

template <class Function>
Function Real(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool Writes(int flags) {
    return (flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0 ||
           (flags & O_TMPFILE) == O_TMPFILE;
}

int Opened(int descriptor, int flags) {
    if (descriptor >= 0 && Writes(flags)) {
        g_writing->insert(descriptor);
        if (flags & O_TRUNC) Note('W', descriptor);
    }
    return descriptor;
}

mode_t ModeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE ? mode_t(va_arg(arguments, int))
                                                                 : 0;
}

struct CountAtExit {
    ~CountAtExit() {
        if (g_crashAt != 0) return;
        char line[32];
        Log(line, std::snprintf(line, sizeof line, "N %ld\n", g_count));
    }
} g_countAtExit;

} // namespace

extern "C" {

#define CLASSXML_OPEN(name)                                                                        \
    int name(const char* path, int flags, ...) {                                                   \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = ModeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        Init();                                                                                    \
        if (Writes(flags) && Step()) return -1;                                                    \
        return Opened(Real<int (*)(const char*, int, ...)>(#name)(path, flags, mode), flags);      \
    }
CLASSXML_OPEN(open)
CLASSXML_OPEN(open64)
#undef CLASSXML_OPEN

#define CLASSXML_OPENAT(name)                                                                      \
    int name(int folder, const char* path, int flags, ...) {                                       \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = ModeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        Init();                                                                                    \
        if (Writes(flags) && Step()) return -1;                                                    \
        return Opened(Real<int (*)(int, const char*, int, ...)>(#name)(folder, path, flags, mode), \
                      flags);                                                                      \
    }
CLASSXML_OPENAT(openat)
CLASSXML_OPENAT(openat64)
#undef CLASSXML_OPENAT

ssize_t write(int descriptor, const void* data, size_t count) {
    if (Step()) return -1;
    Note('W', descriptor);
    return Real<ssize_t (*)(int, const void*, size_t)>("write")(descriptor, data, count);
}

ssize_t pwrite(int descriptor, const void* data, size_t count, off_t offset) {
    if (Step()) return -1;
    Note('W', descriptor);
    return Real<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite")(descriptor, data, count,
                                                                        offset);
}

ssize_t pwrite64(int descriptor, const void* data, size_t count, off_t offset) {
    if (Step()) return -1;
    Note('W', descriptor);
    return Real<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite64")(descriptor, data, count,
                                                                          offset);
}

ssize_t writev(int descriptor, const struct iovec* parts, int count) {
    if (Step()) return -1;
    Note('W', descriptor);
    return Real<ssize_t (*)(int, const struct iovec*, int)>("writev")(descriptor, parts, count);
}

int ftruncate(int descriptor, off_t length) {
    if (Step()) return -1;
    Note('W', descriptor);
    return Real<int (*)(int, off_t)>("ftruncate")(descriptor, length);
}

int fsync(int descriptor) {
    if (Step()) return -1;
    const int result = Real<int (*)(int)>("fsync")(descriptor);
    if (result == 0) Note('S', descriptor);
    return result;
}

int fdatasync(int descriptor) {
    if (Step()) return -1;
    const int result = Real<int (*)(int)>("fdatasync")(descriptor);
    if (result == 0) Note('S', descriptor);
    return result;
}

int close(int descriptor) {
    Init();
    const bool fails = g_writing->erase(descriptor) && Step();
    const int result = Real<int (*)(int)>("close")(descriptor); // closed even when it fails
    return fails ? (errno = EIO, -1) : result;
}

int rename(const char* from, const char* to) {
    if (Step()) return -1;
    return Real<int (*)(const char*, const char*)>("rename")(from, to);
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) {
    if (Step()) return -1;
    return Real<int (*)(int, const char*, int, const char*)>("renameat")(fromFolder, from, toFolder,
                                                                         to);
}

int link(const char* from, const char* to) {
    if (Step()) return -1;
    return Real<int (*)(const char*, const char*)>("link")(from, to);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) {
    if (Step()) return -1;
    return Real<int (*)(int, const char*, int, const char*, int)>("linkat")(fromFolder, from,
                                                                            toFolder, to, flags);
}

int unlink(const char* path) {
    if (Step()) return -1;
    return Real<int (*)(const char*)>("unlink")(path);
}

int unlinkat(int folder, const char* path, int flags) {
    if (Step()) return -1;
    return Real<int (*)(int, const char*, int)>("unlinkat")(folder, path, flags);
}

int fchmod(int descriptor, mode_t mode) {
    if (Step()) return -1;
    return Real<int (*)(int, mode_t)>("fchmod")(descriptor, mode);
}

int chmod(const char* path, mode_t mode) {
    if (Step()) return -1;
    return Real<int (*)(const char*, mode_t)>("chmod")(path, mode);
}

int fchown(int descriptor, uid_t user, gid_t group) {
    if (Step()) return -1;
    return Real<int (*)(int, uid_t, gid_t)>("fchown")(descriptor, user, group);
}

int fsetxattr(int descriptor, const char* name, const void* value, size_t size, int flags) {
    if (Step()) return -1;
    return Real<int (*)(int, const char*, const void*, size_t, int)>("fsetxattr")(
        descriptor, name, value, size, flags);
}

} // extern "C"
