#include "platform/CodePage.h"

#include <cstdint>

#include "platform/Utf.h"

namespace classxml::platform {
namespace {

CBasicStringView<char8_t> AsUtf8(CBasicStringView<char> narrow) {
    return {reinterpret_cast<const char8_t*>(narrow.data()), narrow.size()};
}

// On POSIX the process code page is UTF-8; on Windows it is the ANSI code page.
NarrowEncoding Resolved(NarrowEncoding encoding) {
#if defined(_WIN32)
    return encoding;
#else
    return encoding == NarrowEncoding::ProcessDefault ? NarrowEncoding::Utf8 : encoding;
#endif
}

} // namespace

bool IsSameEncoding(NarrowEncoding a, NarrowEncoding b) { return Resolved(a) == Resolved(b); }

void AppendNarrowToWide(CBasicStringView<char> narrow, NarrowEncoding encoding,
                        CBasicString<WideChar>& out) {
    if (encoding == NarrowEncoding::Latin1) {
        for (const char byte : narrow)
            out.push_back(static_cast<unsigned char>(byte));
        return;
    }
    if (Resolved(encoding) == NarrowEncoding::ProcessDefault) {
        out += NarrowToWide(narrow);
        return;
    }
    AppendUtf8ToUtf16(AsUtf8(narrow), out);
}

void AppendWideToNarrow(CBasicStringView<WideChar> wide, NarrowEncoding encoding,
                        CBasicString<char>& out) {
    if (encoding == NarrowEncoding::Latin1) {
        for (const WideChar unit : wide) {
            const auto value = static_cast<std::uint16_t>(unit);
            out.push_back(value < 0x100 ? static_cast<char>(value) : '?');
        }
        return;
    }
    if (Resolved(encoding) == NarrowEncoding::ProcessDefault) {
        out += WideToNarrow(wide);
        return;
    }
    CBasicString<char8_t> utf8;
    AppendUtf16ToUtf8(wide, utf8);
    out.append(reinterpret_cast<const char*>(utf8.data()), utf8.size());
}

} // namespace classxml::platform
