#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "classxml/BasicString.h"
#include "classxml/archive/detail/Archived.h"

namespace classxml {

/// @ingroup archive
/// How a load reads its document.
struct LoadOptions {
    /// The engine it reads on.
    Engine engine = Engine::Stream;
    /// Where the DTDs a document names are looked up (UTF-8). By default, in the DTD directory
    /// when one is set (CXMLClassReaderWriter::SetDtdDirectory), otherwise beside the file
    /// loaded (in the current folder for a string).
    std::string dtdDirectory;
    /// Whether the parser's complaints also go to standard error, as the handle's reads write
    /// them; by default they are only in the Result's diagnostics.
    bool standardError = false;
    /// Whether a class element of a version above the program's is read rather than refused,
    /// its serialize (or load) given the file's version: for a program that knows how the next
    /// release writes its files. A member the program does not know still fails the load.
    bool newerVersions = false;
};

namespace archive_detail {

// The default options, on `engine`.
inline LoadOptions OnEngine(Engine engine) {
    LoadOptions options;
    options.engine = engine;
    return options;
}

// The DTD directory a load of `path` (empty: a string) uses instead of the process's, if any.
std::optional<CBasicString<WideChar>> DtdDirectoryFor(std::string_view path,
                                                      const LoadOptions& options);

} // namespace archive_detail
} // namespace classxml
