#include "classxml/archive/detail/WideText.h"

#include <algorithm>

#include "classxml/platform/Utf.h"

namespace classxml::archive_detail {

WideText::WideText(std::string_view utf8) {
    m_text.resize(utf8.size());
    std::size_t i = 0;
    for (; i < utf8.size() && static_cast<unsigned char>(utf8[i]) < 0x80; ++i)
        m_text[i] = static_cast<WideChar>(utf8[i]);
    if (i == utf8.size()) return;
    m_text.resize(i);
    const CBasicStringView<char8_t> rest = platform::AsUtf8(utf8.substr(i));
    platform::AppendUtf8ToUtf16(rest, m_text);
    // A replacement character that was not in the input marks an ill-formed sequence.
    const CBasicString<char8_t> back = platform::Utf16ToUtf8(view().substr(i));
    m_valid = back.size() == rest.size() && std::equal(back.begin(), back.end(), rest.begin());
}

std::string Utf8Of(CBasicStringView<WideChar> wide) {
    std::string utf8(wide.size(), '\0');
    std::size_t i = 0;
    for (; i < wide.size() && wide[i] < 0x80; ++i)
        utf8[i] = static_cast<char>(wide[i]);
    if (i == wide.size()) return utf8;
    utf8.resize(i);
    const CBasicString<char8_t> rest = platform::Utf16ToUtf8(wide.substr(i));
    return utf8.append(rest.begin(), rest.end());
}

} // namespace classxml::archive_detail
