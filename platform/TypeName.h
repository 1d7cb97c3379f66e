#pragma once

#include <string>

#include "classxml/platform/Export.h"

namespace classxml::platform {

// A type's name for people, from the compiler's spelling of it in type_info::name(), which
// some compilers mangle.
CLASSXML_API std::string ReadableTypeName(const char* name);

} // namespace classxml::platform
