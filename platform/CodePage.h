#pragma once

#include <array>

#include "classxml/BasicString.h"
#include "classxml/platform/Export.h"

// Narrow text in a code page, to and from UTF-16.
namespace classxml::platform {

enum class NarrowEncoding {
    ProcessDefault, // UTF-8 on POSIX, the ANSI code page on Windows
    Latin1,         // ISO 8859-1: each byte is the code point of the same value
    Utf8,
};

// Whether two encodings write the same bytes for the same text.
CLASSXML_API bool IsSameEncoding(NarrowEncoding a, NarrowEncoding b);

// Appends the conversion to `out`. Ill-formed input becomes U+FFFD; characters a code page
// cannot hold become "?".
CLASSXML_API void AppendNarrowToWide(CBasicStringView<char> narrow, NarrowEncoding encoding,
                                     CBasicString<WideChar>& out);
CLASSXML_API void AppendWideToNarrow(CBasicStringView<WideChar> wide, NarrowEncoding encoding,
                                     CBasicString<char>& out);

// The lower case of each byte that is a whole character of a single-byte encoding, with the
// simple 16-bit mapping; bytes whose lower case the encoding lacks, and those that belong to
// longer characters (in UTF-8 every byte from 0x80 on), map to themselves.
CLASSXML_API const std::array<unsigned char, 256>& LowerCaseBytes(NarrowEncoding encoding);

} // namespace classxml::platform
