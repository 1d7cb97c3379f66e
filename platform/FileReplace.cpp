#include "classxml/platform/FileReplace.h"

#include <vector>

#include "classxml/platform/FileIO.h"
#include "classxml/platform/FileReplaceSystem.h"
#include "classxml/platform/SaveJournal.h"
#include "classxml/platform/Utf.h"
#include "classxml/platform/Uuid.h"

namespace classxml::platform {

namespace replace_system {

fs::path FolderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

CBasicString<WideChar> NameBeside(const fs::path& target) {
    return WidePath(FolderOf(target)) + WideChar(fs::path::preferred_separator) + WIDE(".") +
           WidePath(target.filename()) + WIDE(".tmp");
}

CBasicString<WideChar> RandomNameBeside(const fs::path& target) {
    CBasicString<WideChar> random = WIDE("0");
    NewUuidText(random);
    fs::path named = target;
    named += FilesystemPath(WIDE(".") + random);
    return NameBeside(named);
}

} // namespace replace_system

namespace {

using namespace replace_system;
using Kind = WriteTarget::Kind;

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

// The old file of a write in place, opened to read its text into the journal as well as to
// write it; a file this process may write but not read is opened for writing only.
int OpenOld(const CBasicString<WideChar>& path, bool& readable, int& error) {
    OpenOptions options;
    options.access = OpenOptions::Access::ReadWrite;
    int descriptor = OpenFile(path, options, error);
    readable = descriptor >= 0;
    if (descriptor >= 0 || error != EACCES) return descriptor;
    options.access = OpenOptions::Access::Write;
    return OpenFile(path, options, error);
}

// Writes the text of `from` over `to` at `target`: a readable file journaled, so that a crash
// leaves the old text or the new one; a file that cannot be read copied over and then cut; a
// device as the text comes. Each waits for the device at the end.
int CopyInPlace(int from, int to, const fs::path& target, bool file, bool readable) {
    if (file && readable) return save_journal::Overwrite(from, to, target);
    std::int64_t length = 0;
    if (const int error = CopyText(from, to, length)) return error;
    if (const int error = SyncFile(to)) return error;
    if (!file) return 0;
    if (const int error = ResizeFile(to, length)) return error;
    return SyncFile(to);
}

// A file a save of `target` named and a crash left before it took the target's place; one whose
// save still runs is locked, and stays.
void RemoveLeftTemporary(const fs::path& target) {
    const CBasicString<WideChar> name = NameBeside(target);
    std::error_code missing;
    if (!fs::exists(FilesystemPath(name), missing)) return;
    OpenOptions options;
    options.access = OpenOptions::Access::Write;
    int error = 0;
    const int descriptor = OpenFile(name, options, error);
    if (descriptor < 0) return;
    const bool left = LockExclusive(descriptor, false) == 0;
    CloseFile(descriptor);
    if (left) RemoveFile(name, error);
}

// The name a new file of a save takes beside `target` just before it moves: NameBeside, unless
// a running save holds that.
CBasicString<WideChar> FreeNameBeside(const fs::path& target) {
    RemoveLeftTemporary(target);
    std::error_code missing;
    const CBasicString<WideChar> name = NameBeside(target);
    return fs::exists(FilesystemPath(name), missing) ? RandomNameBeside(target) : name;
}

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

int RecoverInterruptedSave(const CBasicString<WideChar>& path) {
    const fs::path file = FollowLinks(FilesystemPath(path));
    RemoveLeftTemporary(file);
    return save_journal::Recover(file);
}

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
        if (m_error == 0 && !aside)
            m_error = CopyInPlace(m_descriptor, m_old, FilesystemPath(m_target.path), true,
                                  m_oldReadable);
        // A file without a name gets one just before it is moved, so that it is seen under a
        // name of its own for as short a time as can be.
        bool moved = false;
        if (m_error == 0 && aside && m_name.empty()) {
            m_name = FreeNameBeside(FilesystemPath(m_target.path));
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
            m_name = FreeNameBeside(target);
            m_descriptor = CreateNamed(m_name, replaces, m_error);
            if (m_descriptor < 0) {
                m_name.clear();
                return true; // the save fails as an open for writing there would
            }
        }
        LockExclusive(m_descriptor, true); // tells a later recovery that this save runs
        if (!replaces || CarryAttributes(m_descriptor, target) == 0) return true;
        Discard();
        m_error = 0;
        return false;
    }

    // The old file is opened for writing at once; the text waits in a scratch file.
    void OpenInPlace() {
        m_old = OpenOld(m_target.path, m_oldReadable, m_error);
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
    bool m_oldReadable = false;    // and its old text journaled first
    CBasicString<WideChar> m_name; // the new file's name beside the target, once it has one
    int m_error = 0;
};

FileReplacement::FileReplacement(const CBasicString<WideChar>& path)
    : m_impl((RecoverInterruptedSave(path), std::make_unique<Impl>(path))) {}
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
    RecoverInterruptedSave(to);
    const WriteTarget target = Inspect(to);
    error = SyncFileAt(from);
    // The folder's entries too: files the moved one names (side files) are there before it.
    if (error == 0) error = SyncFolderOf(from);
    if (error == 0 && target.kind == Kind::Aside) error = Move(from, FilesystemPath(target.path));
    if (error == 0 && target.kind != Kind::Aside) {
        error = target.kind == Kind::MissingFolder ? ENOENT : 0;
        OpenOptions options;
        const int source = error == 0 ? OpenFile(from, options, error) : -1;
        bool readable = false; // a device is written as a device
        options.access = OpenOptions::Access::Write;
        const int old = source < 0                     ? -1
                        : target.kind == Kind::InPlace ? OpenOld(target.path, readable, error)
                                                       : OpenFile(target.path, options, error);
        if (old >= 0)
            error = CopyInPlace(source, old, FilesystemPath(target.path),
                                target.kind == Kind::InPlace, readable);
        if (old >= 0) CloseFile(old);
        if (source >= 0) CloseFile(source);
        int ignored = 0;
        if (error == 0) RemoveFile(from, ignored);
    }
    return error == 0 ? 0 : -1;
}

} // namespace classxml::platform
