#pragma once

// The subcommands of the classxml program. Each returns the exit code: 0 success; 1 the file is
// not well-formed, cannot be read or the operation failed; 3 the file is well-formed but not
// valid against its DTD (after one line on standard error naming the file).
#include <filesystem>
#include <set>
#include <string>

#include "BasicString.h"
#include "XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace classxml::tool {

int Demo(const std::filesystem::path& directory);
int Dump(const std::filesystem::path& file, const std::filesystem::path& dtdDirectory);
int Validate(const std::filesystem::path& file, const std::filesystem::path& dtdDirectory);
int Preprocess(const std::filesystem::path& file);

// Helpers the subcommands share.
CBasicString<WideChar> Wide(const std::filesystem::path& path);
std::string Narrow(CBasicStringView<WideChar> text);
// "classxml: <file>: <message>" on standard error; returns 1.
int Fail(const std::filesystem::path& file, const std::string& message);
// The base64 side files that pre-read extraction left in `directory`.
std::set<std::filesystem::path> SideFiles(const std::filesystem::path& directory);
// Fails unless `file` is a readable, non-empty regular file.
bool CheckReadable(const std::filesystem::path& file);
// Reads `file` through a handle with `dtdDirectory` for its DTD; on failure reports why from
// the parse's diagnostics and gives the exit code: a refused id (with its reason) or a
// document that is not well-formed 1, one that breaks its DTD 3. The handle is left on the root.
int ReadDocument(CXMLClassReaderWriter& handle, const std::filesystem::path& file,
                 const std::filesystem::path& dtdDirectory);

} // namespace classxml::tool
