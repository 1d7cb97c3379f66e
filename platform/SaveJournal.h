#pragma once

#include <filesystem>

// Writing a file over itself so that a crash or a power loss at any moment leaves its old text or
// its new one. The old text is first kept in a journal, a file of its own that is on the device
// before the first byte of the old text is overwritten; the journal goes once the new text is
// complete and on the device. A save or load of the file that finds a journal whose save no longer
// runs puts the old text back from it.
//
// The journal stands beside the file (".<name>.journal"), or where the folder refuses new files,
// in the temporary folder under the file's device and inode. Either way it is as private as a
// new file of a save (0600), and the save that writes it holds a lock on it, by which a recovery
// tells a running save from one a crash cut short.
namespace classxml::platform::save_journal {

namespace fs = std::filesystem;

// Overwrites the regular file `to` (open for writing, at `target`) with the whole text of `from`
// and cuts it to that length, the old text journaled as above; its space is reserved first, so
// that a full device fails the save before anything is overwritten. A failure on the way puts
// the old text back. 0, or the error number.
int Overwrite(int from, int to, const fs::path& target);

// Puts back the old text of a save of `target` that was cut short, and removes its journal; a
// journal that was not complete yet (the file was not touched) is only removed. 0, or the error
// number of a journal that could not be applied (it stays, for the next try).
int Recover(const fs::path& target);

} // namespace classxml::platform::save_journal
