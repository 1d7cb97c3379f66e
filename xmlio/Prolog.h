#pragma once

#include <cstddef>

#include "classxml/BasicString.h"

namespace classxml::prolog {

// Whether a document certainly names no DTD, from its first bytes: before the start tag of its
// root element there is nothing but an XML declaration, processing instructions, comments and
// white space. Such a document has nothing to validate and no entities to expand, and reads the
// same with Xerces' scanner for well-formedness alone, which is the fastest. When in doubt (a
// DOCTYPE, a prolog longer than the bytes given, an encoding that is not ASCII-compatible or
// UTF-16) the answer is no.
bool NamesNoDtd(CBasicStringView<char8_t> utf8);
bool NamesNoDtd(CBasicStringView<WideChar> utf16);
// The first bytes of a file, UTF-16 as a byte-order mark or the first character shows it.
bool NamesNoDtd(const unsigned char* head, std::size_t size);

// How many bytes of a file NamesNoDtd looks at.
inline constexpr std::size_t kPrologBytes = 4096;

} // namespace classxml::prolog
