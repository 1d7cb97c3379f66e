#pragma once

// The wide character of the library's interface: UTF-16 code units everywhere. On Windows this is
// wchar_t; elsewhere char16_t, which is also what Xerces-C uses for XMLCh, so DOM text crosses
// the interface without copies.
#if defined(_WIN32)
using WideChar = wchar_t;
#define WIDE_IMPL(text) L##text
#else
using WideChar = char16_t;
#define WIDE_IMPL(text) u##text
#endif

static_assert(sizeof(WideChar) == 2, "WideChar must be a UTF-16 code unit");

// WIDE("text") is a wide literal of the platform's WideChar type.
#define WIDE(text) WIDE_IMPL(text)
