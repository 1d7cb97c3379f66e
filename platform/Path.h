#pragma once

#include "classxml/WideChar.h"

namespace classxml::platform {

// The directory separator the library appends to directories it is given.
#if defined(_WIN32)
inline constexpr WideChar kPathSeparator = L'\\';
#else
inline constexpr WideChar kPathSeparator = u'/';
#endif

} // namespace classxml::platform
