#pragma once

// The subcommands of the classxml program. Each returns the exit code: 0 success; 1 the file is
// not well-formed, cannot be read or the operation failed; 3 the file is well-formed but not
// valid against its DTD (after one line on standard error naming the file).
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Arguments.h"
#include "classxml/BasicString.h"
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"
#include "classxml/stream/StreamReader.h"

namespace classxml::tool {

// What reading a document has to say: its lines for standard output and for standard error,
// and its exit code. The caller writes them out, so that documents read on several threads are
// reported one after another, in the order they were given.
struct Report {
    std::string out, err;
    int status = 0;
    // "classxml: <name>: <message>" for standard error; the status becomes 1.
    void Fail(const std::string& name, const std::string& message);
    // Writes `out` to standard output and `err` to standard error.
    void Print() const;
};

// Where a document's DTD comes from: the one it names, looked up in `dtdDirectory` (by default
// the document's own folder), or the file `dtdFile` in its place.
struct DtdChoice {
    std::optional<std::filesystem::path> dtdDirectory;
    std::optional<std::filesystem::path> dtdFile;

    std::filesystem::path DirectoryFor(const Input& input) const {
        return dtdDirectory ? *dtdDirectory : input.DefaultDtdDirectory();
    }
};

int Demo(const std::filesystem::path& directory);
int Dump(const Input& input, const DtdChoice& dtd, bool format);
// The document again, indented one element a line, every value as it was.
int Format(const Input& input, const DtdChoice& dtd);
// Validates each input, on as many threads as there are cores, and reports them in order; the
// exit code is the worst of theirs (1 before 3 before 0). A document that names no DTD is not
// valid (3) unless `allowNoDtd`.
int Validate(const std::vector<Input>& inputs, const DtdChoice& dtd, bool allowNoDtd);
int Preprocess(const std::filesystem::path& file);
// 0 when `newer` accepts every document `older` does; 3 when not, after each loss with the
// smallest example; 1 when either cannot be read or compared.
int Compat(const std::filesystem::path& older, const std::filesystem::path& newer);

// Helpers the subcommands share.
CBasicString<WideChar> Wide(const std::filesystem::path& path);
std::string Narrow(CBasicStringView<WideChar> text);
// "classxml: <name>: <message>" on standard error; returns 1.
int Fail(const std::string& name, const std::string& message);
// Why the file at `path` cannot be read, or nothing when it can.
std::string Unreadable(const std::filesystem::path& path);
// The base64 side files that pre-read extraction left in `directory`.
std::set<std::filesystem::path> SideFiles(const std::filesystem::path& directory);
// Reads `input` with the stream reader, once, start to end and in constant memory whatever its
// size, validated as `dtd` says. It hands `visit` each start and end tag as it comes, and `text`
// (when given) the character data as it is read, holding none of it. The status in `report`:
// 0; 1 when the file cannot be opened, has a refused id, or is not well-formed; 3 when it
// breaks its DTD, or its DTD cannot be found. A failure has the parser's complaints, each with
// the source line it points at, and one line that says why.
// A diagnostic as the parser writes it ("Error at file "<file>", line 3, column 7" and
// "   Message: ..."), followed, when its file can be read again, by the line it points at, cut
// around the column, and a caret under the column.
std::string DiagnosticLines(const Diagnostic& diagnostic);
using Visit = std::function<void(const StreamReader&, StreamReader::Event)>;
void ReadDocument(const Input& input, const DtdChoice& dtd, const Visit& visit, Report& report,
                  TextPieces* text = nullptr);

} // namespace classxml::tool
