#include "classxml/platform/SaveJournal.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "classxml/platform/FileIO.h"
#include "classxml/platform/FileReplaceSystem.h"

namespace classxml::platform::save_journal {
namespace {

using namespace replace_system;

// The journal's first bytes: what it is, the old text's length and its check sum, then the old
// text. A journal cut short by a crash fails the check and is only removed: the file was not
// touched before the journal was whole and on the device.
constexpr std::size_t kHeader = 64;
constexpr const char* kMagic = "classxml save journal 1";

std::uint64_t CheckSum(std::uint64_t sum, const unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        sum = (sum ^ bytes[i]) * 0x100000001B3ULL; // FNV-1a
    return sum;
}
constexpr std::uint64_t kSumStart = 0xCBF29CE484222325ULL;

std::string HeaderText(std::int64_t length, std::uint64_t sum) {
    char header[kHeader] = {};
    std::snprintf(header, sizeof header, "%s\n%lld\n%016llx\n", kMagic, (long long)length,
                  (unsigned long long)sum);
    return std::string(header, kHeader);
}

// Where a journal of `target` stands: beside it, or in the temporary folder.
fs::path Beside(const fs::path& target) {
    return FolderOf(target) / ("." + target.filename().string() + ".journal");
}
fs::path InTemporary(const fs::path& target) {
    const std::string identity = FileIdentity(target);
    if (identity.empty()) return {};
    std::error_code ignored;
    return fs::temp_directory_path(ignored) / ("classxml-journal-" + identity);
}

// Copies `count` bytes of `from` at `fromAt` to `to` at `toAt`, summing them: 0, or the error.
int Copy(int from, std::int64_t fromAt, int to, std::int64_t toAt, std::int64_t count,
         std::uint64_t* sum) {
    std::vector<unsigned char> buffer(std::size_t(1) << 20);
    for (std::int64_t done = 0; done < count;) {
        int error = 0;
        const std::size_t want = std::size_t(std::min<std::int64_t>(count - done, 1 << 20));
        const std::int64_t got = ReadFileAt(from, fromAt + done, buffer.data(), want, error);
        if (got < 0) return error;
        if (got == 0) return EIO; // shorter than it said
        if (sum) *sum = CheckSum(*sum, buffer.data(), std::size_t(got));
        if (const int put = WriteFileAt(to, toAt + done, buffer.data(), std::size_t(got)))
            return put;
        done += got;
    }
    return 0;
}

// Writes `length` bytes of `from` at `fromAt` over `to`, cut to that length: space reserved
// first, synced before the cut and after it.
int WriteOver(int from, std::int64_t fromAt, std::int64_t length, int to) {
    if (const int error = ReserveSpace(to, length)) return error;
    if (const int error = Copy(from, fromAt, to, 0, length, nullptr)) return error;
    if (const int error = SyncFile(to)) return error;
    if (const int error = ResizeFile(to, length)) return error;
    return SyncFile(to);
}

struct Kept {
    std::int64_t length = -1; // -1: not a whole journal
    std::uint64_t sum = 0;
};

// What a journal holds, checked against its sum.
Kept Read(int journal) {
    char header[kHeader + 1] = {};
    int error = 0;
    if (ReadFileAt(journal, 0, header, kHeader, error) != std::int64_t(kHeader)) return {};
    long long length = -1;
    unsigned long long sum = 0;
    char magic[32] = {};
    if (std::sscanf(header, "%31[^\n]\n%lld\n%llx", magic, &length, &sum) != 3 ||
        std::string(magic) != kMagic || length < 0)
        return {};
    const std::int64_t size = FileLength(journal, error);
    if (size != std::int64_t(kHeader) + length) return {};
    std::uint64_t actual = kSumStart;
    std::vector<unsigned char> buffer(std::size_t(1) << 20);
    for (std::int64_t done = 0; done < length;) {
        const std::size_t want = std::size_t(std::min<std::int64_t>(length - done, 1 << 20));
        const std::int64_t got = ReadFileAt(journal, kHeader + done, buffer.data(), want, error);
        if (got <= 0) return {};
        actual = CheckSum(actual, buffer.data(), std::size_t(got));
        done += got;
    }
    if (actual != sum) return {};
    return {length, sum};
}

// A new journal of `target`, locked: its descriptor and path, or -1 with the error.
int Create(const fs::path& target, fs::path& path, int& error) {
    for (const fs::path& candidate : {Beside(target), InTemporary(target)}) {
        if (candidate.empty()) continue;
        const int descriptor = CreateNamed(WidePath(candidate), true, error);
        if (descriptor < 0) continue; // a folder without create rights, or one left behind
        if ((error = LockExclusive(descriptor, true)) == 0) {
            path = candidate;
            return descriptor;
        }
        CloseFile(descriptor);
        int ignored = 0;
        RemoveFile(WidePath(candidate), ignored);
    }
    return -1;
}

void Remove(int journal, const fs::path& path) {
    int ignored = 0;
    RemoveFile(WidePath(path), ignored);
    SyncFolder(path);
    CloseFile(journal);
}

// A journal whose save is complete is emptied before it goes, so that one the system fails to
// remove can never put the old text back: 0, or the error number (the journal still holds).
int Retire(int journal, const fs::path& path) {
    int error = ResizeFile(journal, 0);
    if (error == 0) error = SyncFile(journal);
    if (error != 0) return error;
    Remove(journal, path);
    return 0;
}

} // namespace

int Overwrite(int from, int to, const fs::path& target) {
    int error = 0;
    const std::int64_t newLength = FileLength(from, error);
    const std::int64_t oldLength = newLength < 0 ? -1 : FileLength(to, error);
    if (oldLength < 0) return error;
    fs::path path;
    const int journal = Create(target, path, error);
    if (journal < 0) return error;
    std::uint64_t sum = kSumStart;
    error = Copy(to, 0, journal, kHeader, oldLength, &sum);
    if (error == 0) {
        const std::string header = HeaderText(oldLength, sum);
        error = WriteFileAt(journal, 0, header.data(), header.size());
    }
    if (error == 0) error = SyncFile(journal);
    if (error == 0) error = SyncFolder(path);
    if (error != 0) { // nothing was overwritten yet
        Remove(journal, path);
        return error;
    }
    // A full device now fails before the old text is touched; the journal puts back anything a
    // failure on the way has overwritten.
    error = WriteOver(from, 0, newLength, to);
    if (error == 0) error = Retire(journal, path);
    if (error == 0) return 0;
    // The old text goes back now; failing that, the journal stays for the next save or load.
    if (WriteOver(journal, kHeader, oldLength, to) != 0) {
        CloseFile(journal);
        return error;
    }
    Remove(journal, path);
    return error;
}

int Recover(const fs::path& target) {
    for (const fs::path& path : {Beside(target), InTemporary(target)}) {
        std::error_code missing;
        if (path.empty() || !fs::exists(path, missing)) continue;
        OpenOptions options;
        options.access = OpenOptions::Access::ReadWrite;
        int error = 0;
        const int journal = OpenFile(WidePath(path), options, error);
        if (journal < 0) return error;
        if (LockExclusive(journal, false) != 0) { // its save is still running
            CloseFile(journal);
            continue;
        }
        const Kept kept = Read(journal);
        if (kept.length >= 0) {
            options.access = OpenOptions::Access::Write;
            const int file = OpenFile(WidePath(target), options, error);
            if (file >= 0) {
                error = WriteOver(journal, kHeader, kept.length, file);
                CloseFile(file);
            }
            if (error != 0) {
                CloseFile(journal);
                return error;
            }
        }
        Remove(journal, path);
    }
    return 0;
}

} // namespace classxml::platform::save_journal
