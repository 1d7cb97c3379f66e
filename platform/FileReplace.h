#pragma once

#include <cstddef>
#include <memory>

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"

// Writing a new version of a file so that what the file was stays: its text until the new one
// is complete, and its permissions, owner, group, extended attributes and links after.
namespace classxml::platform {

// What stands where a file is about to be written, and how it is written there.
struct WriteTarget {
    enum class Kind {
        MissingFolder, // the folder of the path does not exist: nothing is written
        Aside,         // written beside the path and moved over it in one step
        InPlace,       // an existing file that a new one could not stand in for (see below)
        Stream,        // a device or a pipe: written as the text comes
    };
    Kind kind;
    // The file itself: symbolic links followed to the file they name, a dangling one to the
    // file it would name.
    CBasicString<WideChar> path;
};

// A new file can stand in for the old one when the process may write the old file, the folder
// lets it create one, the old file's owner, group, permissions and extended attributes (ACLs
// included) can be given to the new one, and the old one has no other link. On Windows a file
// is always replaced.
CLASSXML_API WriteTarget InspectWriteTarget(const CBasicString<WideChar>& path);

// A new version of the file at a path, written as InspectWriteTarget says, its failures kept as
// the runtime library's error numbers.
// - Aside: the text goes into a new file beside the path, made with the old file's permissions
//   (never wider), owner and attributes, and Commit moves it over the path in one step once it is
//   on the device. On Linux the new file has no name until then; elsewhere, or where the file
//   system refuses that, it is ".<name>.tmp" (".<name>.<random>.tmp" while another save holds
//   that) from the start. One a crash leaves is removed by the next save or load of the file.
// - InPlace: the old file is opened for writing at once (so that a read-only file fails as a
//   plain open does), the text goes to an unnamed file aside, and Commit writes it over the old
//   text with the old text journaled (SaveJournal.h), so that a crash leaves one or the other.
// - Stream: the text goes straight to the device or pipe.
// A replacement destroyed before Commit leaves the path as it was (a stream excepted).
class CLASSXML_API FileReplacement {
public:
    explicit FileReplacement(const CBasicString<WideChar>& path);
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    WriteTarget::Kind Kind() const;
    // Ready for the text; false after a failure.
    bool IsOpen() const;
    // The first failure's error number; 0 while all is well.
    int Error() const;
    // Appends; false after a failure.
    bool Write(const void* data, std::size_t count);
    // Puts the new version in place: true when the whole of it is there.
    bool Commit();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

// What a save of the file at `path` that a crash cut short left: the old text put back from its
// journal, and a finished new text that had not taken the file's place yet removed. Every save
// and every load of a file does this first. 0, or the error number of a journal that could not
// be applied (it stays for the next try).
CLASSXML_API int RecoverInterruptedSave(const CBasicString<WideChar>& path);

// Creates a new, empty file at `path` for writing by a CVFile opened on it afterwards, with the
// permissions, owner and group of the file `like` (never wider than its permissions): 0, or the
// error number. The file must not exist yet.
CLASSXML_API int CreateFileLike(const CBasicString<WideChar>& path,
                                const CBasicString<WideChar>& like);

// Waits until the data of the file at `path`, and the folder entries of the folder that holds
// `path`, are on the device: 0, or the error number.
CLASSXML_API int SyncFileAt(const CBasicString<WideChar>& path);
CLASSXML_API int SyncFolderOf(const CBasicString<WideChar>& path);

// Waits until the descriptor's data is on the device: 0, or the error number.
CLASSXML_API int SyncFile(int descriptor);

// Puts the complete file `from` in the place of `to`, as a save would (InspectWriteTarget):
// moved over it in one step once `from` and the folder's entries are on the device, or copied
// over its text in place; `from` is gone afterwards. 0, or -1 with the error number in `error`;
// `to` is untouched then, and `from` still there.
CLASSXML_API int MoveOverFile(const CBasicString<WideChar>& from, const CBasicString<WideChar>& to,
                              int& error);

} // namespace classxml::platform
