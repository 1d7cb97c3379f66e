#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"

namespace classxml::platform {

// The halves of a UTF-16 surrogate pair, and the code point a pair stands for.
inline constexpr char32_t kFirstHighSurrogate = 0xD800;
inline constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
constexpr bool IsSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }
constexpr char32_t CodePointOf(char32_t high, char32_t low) {
    return 0x10000 + ((high - kFirstHighSurrogate) << 10) + (low - kFirstLowSurrogate);
}

// Bytes held in a std::string or std::string_view, taken as the UTF-8 they are.
inline CBasicStringView<char8_t> AsUtf8(std::string_view bytes) {
    return {reinterpret_cast<const char8_t*>(bytes.data()), bytes.size()};
}
inline std::string_view AsBytes(CBasicStringView<char8_t> utf8) {
    return {reinterpret_cast<const char*>(utf8.data()), utf8.size()};
}

// UTF-8 to UTF-16. Every ill-formed sequence (stray continuation bytes, overlong forms, encoded
// surrogates, values above U+10FFFF, truncated sequences) becomes one U+FFFD per maximal
// ill-formed subpart, as Windows' converter does; nothing is dropped silently.
CLASSXML_API CBasicString<WideChar> Utf8ToUtf16(CBasicStringView<char8_t> utf8);
CLASSXML_API void AppendUtf8ToUtf16(CBasicStringView<char8_t> utf8, CBasicString<WideChar>& out);
inline CBasicString<WideChar> Utf8ToUtf16(std::string_view utf8) {
    return Utf8ToUtf16(AsUtf8(utf8));
}

// One character from the start of `utf8` (which must not be empty): the number of bytes it
// takes, and its code point, or U+FFFD for an ill-formed sequence (its maximal subpart).
CLASSXML_API std::size_t DecodeUtf8(CBasicStringView<char8_t> utf8, char32_t& codePoint);
// Writes a code point (up to U+10FFFF) as UTF-8 to `out`; returns how many bytes it took (1 to 4).
CLASSXML_API std::size_t EncodeUtf8(char32_t codePoint, char8_t* out);

// UTF-16 to UTF-8. An unpaired surrogate becomes U+FFFD.
CLASSXML_API CBasicString<char8_t> Utf16ToUtf8(CBasicStringView<WideChar> utf16);
CLASSXML_API void AppendUtf16ToUtf8(CBasicStringView<WideChar> utf16, CBasicString<char8_t>& out);
CLASSXML_API void AppendUtf16ToUtf8(CBasicStringView<WideChar> utf16, std::string& out);
// The same into `out`, which has room for 3 bytes per code unit: the number of bytes written.
CLASSXML_API std::size_t EncodeUtf16AsUtf8(CBasicStringView<WideChar> utf16, char* out);

// The process's narrow code page: UTF-8 on POSIX, the ANSI code page on Windows. Used for
// narrow file names, narrow text files in the default code page, messages and standard error.
CLASSXML_API CBasicString<WideChar> NarrowToWide(CBasicStringView<char> narrow);
CLASSXML_API CBasicString<char> WideToNarrow(CBasicStringView<WideChar> wide);

} // namespace classxml::platform
