#pragma once

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"

namespace classxml::platform {

// A new random UUID as 36 upper-case characters, 8-4-4-4-12. False, and `text` unchanged, when
// the system gives no randomness.
CLASSXML_API bool NewUuidText(CBasicString<WideChar>& text);

} // namespace classxml::platform
