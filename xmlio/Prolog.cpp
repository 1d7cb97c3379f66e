#include "classxml/xmlio/Prolog.h"

#include <cstdint>

namespace classxml::prolog {
namespace {

// Walks a prolog of code units: true once it reaches a start tag with only what names no DTD
// before it.
template <class At>
bool PrologNamesNoDtd(std::size_t size, At at) {
    const auto is = [&](std::size_t position, const char* text) {
        for (; *text; ++text, ++position)
            if (position >= size || at(position) != static_cast<unsigned char>(*text)) return false;
        return true;
    };
    // The position after the next `end` from `position`, or `size` when there is none.
    const auto past = [&](std::size_t position, const char* end) {
        for (; position < size; ++position)
            if (is(position, end)) {
                for (const char* c = end; *c; ++c)
                    ++position;
                return position;
            }
        return size;
    };
    std::size_t position = 0;
    while (position < size) {
        const std::uint32_t unit = at(position);
        if (unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n') {
            ++position;
        } else if (is(position, "<?")) {
            position = past(position + 2, "?>");
        } else if (is(position, "<!--")) {
            position = past(position + 4, "-->");
        } else if (unit == '<' && position + 1 < size) {
            const std::uint32_t next = at(position + 1);
            return next == '_' || next == ':' || (next >= 'a' && next <= 'z') ||
                   (next >= 'A' && next <= 'Z') || next >= 0x80;
        } else {
            return false; // "<!DOCTYPE", or what is not markup
        }
    }
    return false;
}

} // namespace

bool NamesNoDtd(CBasicStringView<char8_t> utf8) {
    const std::size_t mark = utf8.starts_with(u8"\uFEFF") ? 3 : 0;
    return PrologNamesNoDtd(utf8.size() - mark, [&](std::size_t i) {
        return std::uint32_t(static_cast<unsigned char>(utf8[mark + i]));
    });
}

bool NamesNoDtd(CBasicStringView<WideChar> utf16) {
    const std::size_t mark = !utf16.empty() && utf16[0] == WideChar(0xFEFF) ? 1 : 0;
    return PrologNamesNoDtd(utf16.size() - mark, [&](std::size_t i) {
        return std::uint32_t(static_cast<std::uint16_t>(utf16[mark + i]));
    });
}

// UTF-16 by its byte-order mark or its first character, in either byte order; otherwise taken
// as UTF-8 (other encodings are not ASCII-compatible enough to show a start tag).
bool NamesNoDtd(const unsigned char* head, std::size_t size) {
    const bool little =
        size >= 2 && ((head[0] == 0xFF && head[1] == 0xFE) || (head[0] == '<' && head[1] == 0));
    const bool big =
        size >= 2 && ((head[0] == 0xFE && head[1] == 0xFF) || (head[0] == 0 && head[1] == '<'));
    if (!little && !big)
        return NamesNoDtd(CBasicStringView<char8_t>(reinterpret_cast<const char8_t*>(head), size));
    const std::size_t mark = head[0] == '<' || head[1] == '<' ? 0 : 1;
    return PrologNamesNoDtd(size / 2 - mark, [&](std::size_t i) {
        const unsigned char* unit = head + 2 * (mark + i);
        return std::uint32_t(little ? unit[0] | unit[1] << 8 : unit[0] << 8 | unit[1]);
    });
}

} // namespace classxml::prolog
