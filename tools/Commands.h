#pragma once

// The subcommands of the classxml program. Each returns the exit code: 0 success; 1 the file is
// not well-formed, cannot be read or the operation failed; 3 the file is well-formed but not
// valid against its DTD (after one line on standard error naming the file).
#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "Arguments.h"
#include "BasicString.h"
#include "XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "stream/StreamReader.h"

namespace classxml::tool {

int Demo(const std::filesystem::path& directory);
int Dump(const Input& input, const std::filesystem::path& dtdDirectory);
int Validate(const Input& input, const std::filesystem::path& dtdDirectory);
int Preprocess(const std::filesystem::path& file);

// Helpers the subcommands share.
CBasicString<WideChar> Wide(const std::filesystem::path& path);
std::string Narrow(CBasicStringView<WideChar> text);
// "classxml: <name>: <message>" on standard error; returns 1.
int Fail(const std::string& name, const std::string& message);
// The base64 side files that pre-read extraction left in `directory`.
std::set<std::filesystem::path> SideFiles(const std::filesystem::path& directory);
// Reads `input` with the stream reader, once, start to end and in constant memory whatever its
// size, with `dtdDirectory` for its DTD. It hands `visit` each start and end tag as it comes,
// and `text` (when given) the character data as it is read, holding none of it. Gives the exit
// code; on failure it says why in one line: the file cannot be opened, a refused id (with its
// reason) or a document that is not well-formed 1; one that breaks its DTD, or whose DTD
// cannot be found, 3.
using Visit = std::function<void(const StreamReader&, StreamReader::Event)>;
int ReadDocument(const Input& input, const std::filesystem::path& dtdDirectory, const Visit& visit,
                 TextPieces* text = nullptr);

} // namespace classxml::tool
