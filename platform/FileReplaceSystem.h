#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "classxml/BasicString.h"
#include "classxml/platform/FileReplace.h"

// What the file replacement asks of the system, given once for POSIX (FileReplacePosix.cpp) and
// once for Windows (FileReplaceWindows.cpp). Descriptors are the runtime library's, failures
// its error numbers.
namespace classxml::platform::replace_system {

namespace fs = std::filesystem;

fs::path FilesystemPath(const CBasicString<WideChar>& path);
CBasicString<WideChar> WidePath(const fs::path& path);
// A name beside `target` for a file written before it takes the target's place, so that one
// left behind says where it came from: ".<name>.tmp", where the next save or load of the target
// looks for one a crash left (FileReplace.cpp).
CBasicString<WideChar> NameBeside(const fs::path& target);
// The same with a random part, for when that name is taken: ".<name>.<random>.tmp".
CBasicString<WideChar> RandomNameBeside(const fs::path& target);
fs::path FolderOf(const fs::path& file);

// How an existing regular file is replaced (Aside or InPlace).
WriteTarget::Kind KindOfExisting(const fs::path& path);
// Gives the new file at `descriptor` what the file `like` has: extended attributes, owner and
// group, permissions. 0, or the error number of the first that fails.
int CarryAttributes(int descriptor, const fs::path& like);
// A new file `name` for writing, private when it `replaces` a file: its descriptor, or -1.
int CreateNamed(const CBasicString<WideChar>& name, bool replaces, int& error);
// A file in `folder` without a name, for writing; -1 where the system has none.
int OpenUnnamed(const fs::path& folder, bool replaces, int& error);
// Gives the unnamed file at `descriptor` the name `name`: 0, or the error number.
int GiveName(int descriptor, const CBasicString<WideChar>& name);
// A file for text on its way elsewhere, for reading and writing, gone once closed.
int OpenScratch(int& error);
// Waits until the entries of the folder that holds `file` are on the device.
int SyncFolder(const fs::path& file);
// Moves `from` over `to` in one step, and waits until the move is on the device.
int Move(const CBasicString<WideChar>& from, const fs::path& to);
// Takes the lock of the file at `descriptor` for as long as it stays open, waiting for it or
// not: 0, or the error number (EWOULDBLOCK when another process holds it).
int LockExclusive(int descriptor, bool wait);
// Makes sure the file at `descriptor` has room for `length` bytes, so that writing them cannot
// fail for want of space: 0, or the error number (0 where the system cannot reserve).
int ReserveSpace(int descriptor, std::int64_t length);
// The device and inode of an existing file, as text; empty where there are none.
std::string FileIdentity(const fs::path& file);

} // namespace classxml::platform::replace_system
