#include "classxml/platform/CodePage.h"

#include <cstdint>

#include "classxml/platform/LowerCase.h"
#include "classxml/platform/Utf.h"

namespace classxml::platform {
namespace {

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

namespace {

using ByteTable = std::array<unsigned char, 256>;

// Each byte through the encoding's conversion to UTF-16, lower-cased and back, kept when it
// comes back as one byte.
ByteTable BuildLowerCaseBytes(NarrowEncoding encoding) {
    ByteTable table{};
    for (int byte = 0; byte < 256; ++byte) {
        table[byte] = static_cast<unsigned char>(byte);
        if (encoding == NarrowEncoding::Utf8 && byte >= 0x80) continue;
        const char narrow = static_cast<char>(byte);
        CBasicString<WideChar> wide;
        AppendNarrowToWide(CBasicStringView<char>(&narrow, 1), encoding, wide);
        if (wide.size() != 1) continue;
        const WideChar lowered = ToLower(wide[0]);
        CBasicString<char> lower;
        AppendWideToNarrow(CBasicStringView<WideChar>(&lowered, 1), encoding, lower);
        if (lower.size() == 1 && (lower[0] != '?' || wide[0] == '?'))
            table[byte] = static_cast<unsigned char>(lower[0]);
    }
    return table;
}

} // namespace

const std::array<unsigned char, 256>& LowerCaseBytes(NarrowEncoding encoding) {
    static const ByteTable utf8 = BuildLowerCaseBytes(NarrowEncoding::Utf8);
    static const ByteTable latin1 = BuildLowerCaseBytes(NarrowEncoding::Latin1);
    static const ByteTable processDefault =
        BuildLowerCaseBytes(Resolved(NarrowEncoding::ProcessDefault));
    switch (Resolved(encoding)) {
    case NarrowEncoding::Utf8:
        return utf8;
    case NarrowEncoding::Latin1:
        return latin1;
    default:
        return processDefault;
    }
}

} // namespace classxml::platform
