#pragma once

#include <string_view>

#include "classxml/BasicString.h"
#include "classxml/WideChar.h"

namespace classxml::archive_detail {

// UTF-8 as the handle's wide text. Names and most values are ASCII, which is widened in place
// without a conversion. `valid` is false for ill-formed UTF-8, which the conversion would
// otherwise replace with U+FFFD.
class WideText {
public:
    explicit WideText(std::string_view utf8);
    CBasicStringView<WideChar> view() const { return {m_text.data(), m_text.size()}; }
    bool valid() const { return m_valid; }

private:
    CBasicString<WideChar> m_text;
    bool m_valid = true;
};

// The handle's wide text as UTF-8.
std::string Utf8Of(CBasicStringView<WideChar> wide);

} // namespace classxml::archive_detail
