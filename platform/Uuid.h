#pragma once

#include <string_view>

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"

namespace classxml::platform {

// A new random UUID as 36 upper-case characters, 8-4-4-4-12. False, and `text` unchanged, when
// the system gives no randomness.
CLASSXML_API bool NewUuidText(CBasicString<WideChar>& text);

// Whether `text` is a UUID as NewUuidText writes one (hexadecimal digits of either case).
template <class Char>
bool IsUuidText(std::basic_string_view<Char> text) {
    if (text.size() != 36) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        const Char c = text[i];
        const bool hex = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        if (dash ? c != '-' : !hex) return false;
    }
    return true;
}

} // namespace classxml::platform
