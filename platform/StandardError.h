#pragma once

#include <string_view>

#include "classxml/platform/Export.h"

namespace classxml::platform {

// Writes `text` (in the process's narrow code page) and an end of line to standard error as one
// piece, then flushes.
CLASSXML_API void WriteLineToStandardError(std::string_view text);

} // namespace classxml::platform
