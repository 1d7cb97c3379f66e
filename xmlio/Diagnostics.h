#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "classxml/platform/Export.h"

namespace classxml {

/// @ingroup engine
/// One complaint of a parser or the serialiser: what the library writes to standard error (where
/// it writes anything), as data.
struct Diagnostic {
    /// A warning; an error (a DTD violation, a refused id); or a fatal error (not well-formed, a
    /// limit), after which the parser stopped.
    enum class Severity { Warning, Error, FatalError };
    Severity severity = Severity::Error; ///< how bad it is
    /// The file, the buffer id ("prodInfo" for a memory parse) or entity the complaint is about,
    /// in UTF-8; empty for the serialiser.
    std::string source;
    std::uint64_t line = 0;   ///< 1-based; 0 when unknown
    std::uint64_t column = 0; ///< 1-based; 0 when unknown
    std::string message;      ///< in UTF-8
};

/// @ingroup engine
/// The diagnostics of the last parse or save this thread made through the library: by a
/// handle (ReadFromFile, ReadFromString, SaveToFile, SaveToString), an archive or the stream
/// engine. Each of those starts a new list. Memory parses, which write nothing to standard
/// error, report here too, and so does the library itself where it refuses a document (a limit,
/// a system id it will not follow).
CLASSXML_API const std::vector<Diagnostic>& LastDiagnostics();

} // namespace classxml
