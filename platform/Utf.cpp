#include "classxml/platform/Utf.h"

#include <cstdint>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace classxml::platform {

namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Where the second byte of a multi-byte sequence must lie, by lead byte; the rest of the
// continuation bytes are always 0x80..0xBF. A zero length marks a byte that cannot lead.
struct LeadByte {
    std::uint8_t length;
    std::uint8_t secondMin;
    std::uint8_t secondMax;
};

constexpr LeadByte Classify(std::uint8_t b) {
    if (b >= 0xC2 && b <= 0xDF) return {2, 0x80, 0xBF};
    if (b == 0xE0) return {3, 0xA0, 0xBF};
    if (b == 0xED) return {3, 0x80, 0x9F}; // excludes encoded surrogates
    if (b >= 0xE1 && b <= 0xEF) return {3, 0x80, 0xBF};
    if (b == 0xF0) return {4, 0x90, 0xBF};
    if (b >= 0xF1 && b <= 0xF3) return {4, 0x80, 0xBF};
    if (b == 0xF4) return {4, 0x80, 0x8F}; // nothing above U+10FFFF
    return {0, 0, 0};
}

} // namespace

std::size_t DecodeUtf8(CBasicStringView<char8_t> utf8, char32_t& codePoint) {
    const auto* in = reinterpret_cast<const std::uint8_t*>(utf8.data());
    const std::size_t n = utf8.size();
    const std::uint8_t b = in[0];
    if (b < 0x80) {
        codePoint = b;
        return 1;
    }
    const LeadByte lead = Classify(b);
    if (lead.length == 0 || n < 2 || in[1] < lead.secondMin || in[1] > lead.secondMax) {
        codePoint = kReplacement;
        return 1;
    }
    std::uint32_t value = b & (0xFF >> (lead.length + 1));
    std::size_t taken = 1;
    while (taken < lead.length && taken < n && (in[taken] & 0xC0) == 0x80) {
        value = (value << 6) | (in[taken] & 0x3F);
        ++taken;
    }
    // A truncated sequence: its maximal subpart becomes one replacement.
    codePoint = taken < lead.length ? kReplacement : value;
    return taken;
}

std::size_t EncodeUtf8(char32_t codePoint, char8_t* out) {
    auto* dst = reinterpret_cast<std::uint8_t*>(out);
    const auto cp = static_cast<std::uint32_t>(codePoint);
    if (cp < 0x80) {
        dst[0] = static_cast<std::uint8_t>(cp);
        return 1;
    }
    if (cp < 0x800) {
        dst[0] = static_cast<std::uint8_t>(0xC0 | (cp >> 6));
        dst[1] = static_cast<std::uint8_t>(0x80 | (cp & 0x3F));
        return 2;
    }
    if (cp < 0x10000) {
        dst[0] = static_cast<std::uint8_t>(0xE0 | (cp >> 12));
        dst[1] = static_cast<std::uint8_t>(0x80 | ((cp >> 6) & 0x3F));
        dst[2] = static_cast<std::uint8_t>(0x80 | (cp & 0x3F));
        return 3;
    }
    dst[0] = static_cast<std::uint8_t>(0xF0 | (cp >> 18));
    dst[1] = static_cast<std::uint8_t>(0x80 | ((cp >> 12) & 0x3F));
    dst[2] = static_cast<std::uint8_t>(0x80 | ((cp >> 6) & 0x3F));
    dst[3] = static_cast<std::uint8_t>(0x80 | (cp & 0x3F));
    return 4;
}

// One converter for UTF-8 on every platform: the system's converters differ between Windows
// versions (and Wine) in how many U+FFFD they make of ill-formed input, and the same bytes must
// become the same text everywhere. ASCII is copied without decoding.
void AppendUtf8ToUtf16(CBasicStringView<char8_t> utf8, CBasicString<WideChar>& out) {
    const std::size_t n = utf8.size();
    const std::size_t start = out.size();
    out.resize(start + n); // UTF-16 never needs more code units than UTF-8 has bytes
    WideChar* dst = out.data() + start;
    for (std::size_t i = 0; i < n;) {
        const auto b = static_cast<std::uint8_t>(utf8[i]);
        if (b < 0x80) {
            *dst++ = static_cast<WideChar>(b);
            ++i;
            continue;
        }
        char32_t cp = 0;
        i += DecodeUtf8(utf8.substr(i), cp);
        if (cp >= 0x10000) {
            cp -= 0x10000;
            *dst++ = static_cast<WideChar>(kFirstHighSurrogate + (cp >> 10));
            *dst++ = static_cast<WideChar>(kFirstLowSurrogate + (cp & 0x3FF));
        } else {
            *dst++ = static_cast<WideChar>(cp);
        }
    }
    out.resize(static_cast<std::size_t>(dst - out.data()));
}

std::size_t EncodeUtf16AsUtf8(CBasicStringView<WideChar> utf16, char* out) {
    const std::size_t n = utf16.size();
    auto* dst = reinterpret_cast<char8_t*>(out);
    for (std::size_t i = 0; i < n; ++i) {
        std::uint32_t cp = static_cast<std::uint16_t>(utf16[i]);
        if (cp < 0x80) {
            *dst++ = static_cast<char8_t>(cp);
            continue;
        }
        if (IsSurrogate(cp)) {
            const bool paired = IsHighSurrogate(cp) && i + 1 < n &&
                                IsLowSurrogate(static_cast<std::uint16_t>(utf16[i + 1]));
            if (paired) {
                cp = CodePointOf(cp, static_cast<std::uint16_t>(utf16[++i]));
            } else {
                cp = kReplacement;
            }
        }
        dst += EncodeUtf8(cp, dst);
    }
    return static_cast<std::size_t>(dst - reinterpret_cast<char8_t*>(out));
}

namespace {

// A BMP code unit takes at most 3 bytes, a pair 4 for its 2 units.
template <class Bytes>
void AppendEncoded(CBasicStringView<WideChar> utf16, Bytes& out) {
    const std::size_t start = out.size();
    out.resize(start + 3 * utf16.size());
    const std::size_t written =
        EncodeUtf16AsUtf8(utf16, reinterpret_cast<char*>(out.data() + start));
    out.resize(start + written);
}

} // namespace

void AppendUtf16ToUtf8(CBasicStringView<WideChar> utf16, CBasicString<char8_t>& out) {
    AppendEncoded(utf16, out);
}

void AppendUtf16ToUtf8(CBasicStringView<WideChar> utf16, std::string& out) {
    AppendEncoded(utf16, out);
}

#if defined(_WIN32)

// The ANSI code page: the system's conversion is the only one that knows it. Characters it
// cannot hold become its default character.
CBasicString<WideChar> NarrowToWide(CBasicStringView<char> narrow) {
    CBasicString<WideChar> wide;
    if (narrow.empty()) return wide;
    const int count = MultiByteToWideChar(CP_ACP, 0, narrow.data(), int(narrow.size()), nullptr, 0);
    wide.resize(std::size_t(count));
    MultiByteToWideChar(CP_ACP, 0, narrow.data(), int(narrow.size()), wide.data(), count);
    return wide;
}

CBasicString<char> WideToNarrow(CBasicStringView<WideChar> wide) {
    CBasicString<char> narrow;
    if (wide.empty()) return narrow;
    const int count =
        WideCharToMultiByte(CP_ACP, 0, wide.data(), int(wide.size()), nullptr, 0, nullptr, nullptr);
    narrow.resize(std::size_t(count));
    WideCharToMultiByte(CP_ACP, 0, wide.data(), int(wide.size()), narrow.data(), count, nullptr,
                        nullptr);
    return narrow;
}

#else

// The process code page is UTF-8.
CBasicString<WideChar> NarrowToWide(CBasicStringView<char> narrow) { return Utf8ToUtf16(narrow); }

CBasicString<char> WideToNarrow(CBasicStringView<WideChar> wide) {
    CBasicString<char8_t> utf8 = Utf16ToUtf8(wide);
    return {reinterpret_cast<const char*>(utf8.data()), utf8.size()};
}

#endif

CBasicString<WideChar> Utf8ToUtf16(CBasicStringView<char8_t> utf8) {
    CBasicString<WideChar> out;
    AppendUtf8ToUtf16(utf8, out);
    return out;
}

CBasicString<char8_t> Utf16ToUtf8(CBasicStringView<WideChar> utf16) {
    CBasicString<char8_t> out;
    AppendUtf16ToUtf8(utf16, out);
    return out;
}

} // namespace classxml::platform
