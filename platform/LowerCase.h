#pragma once

#include <cstddef>

#include "classxml/WideChar.h"
#include "classxml/platform/Export.h"

namespace classxml::platform {

// The simple Unicode lower-case mapping of one UTF-16 code unit (surrogates map to themselves).
CLASSXML_API WideChar ToLower(WideChar unit);
// Lower-cases `count` code units in place.
CLASSXML_API void ToLower(WideChar* units, std::size_t count);
// Lower-cases the ASCII letters of narrow text in place; other bytes stay as they are, so that
// multi-byte sequences keep their length.
CLASSXML_API void ToLowerAscii(char* bytes, std::size_t count);

} // namespace classxml::platform
