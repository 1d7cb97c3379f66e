#pragma once

#include <cstddef>
#include <string_view>

#include "classxml/platform/Export.h"

namespace classxml::platform {

// Writes `text` (in the process's narrow code page) and an end of line to standard error as one
// piece, then flushes.
CLASSXML_API void WriteLineToStandardError(std::string_view text);

// Whether standard error is a terminal, where a progress line may be drawn and redrawn; a pipe
// or a file (a CI log) never gets one.
CLASSXML_API bool StandardErrorIsTerminal();

// A line on standard error that the next call redraws in its place ("\r", no line end); an
// empty text clears it, leaving the cursor at the start of the line.
class CLASSXML_API ProgressLine {
public:
    void Show(std::string_view text);
    void Clear() { Show({}); }

private:
    std::size_t m_shown = 0; // characters drawn last time, to be overwritten
};

} // namespace classxml::platform
