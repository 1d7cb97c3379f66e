#pragma once

// The subcommands of the classxml program. Each returns the exit code: 0 success; 1 the file is
// not well-formed, cannot be read or the operation failed; 3 the file is well-formed but not
// valid against its DTD (after one line on standard error naming the file).
#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "BasicString.h"
#include "XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "stream/StreamReader.h"

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
// Reads `file` with the stream reader, in constant memory whatever its size, with
// `dtdDirectory` for its DTD, and hands `visit` each element and text event as it comes. Gives
// the exit code; on failure it reports why from the parse's diagnostics: a refused id (with its
// reason) or a document that is not well-formed 1, one that breaks its DTD 3.
using Visit = std::function<void(const StreamReader&, StreamReader::Event)>;
int ReadDocument(const std::filesystem::path& file, const std::filesystem::path& dtdDirectory,
                 const Visit& visit);

} // namespace classxml::tool
