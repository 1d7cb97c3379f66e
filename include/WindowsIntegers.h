#pragma once

#include <cstdint>

// The Windows integer names that appear in the property families. On Windows they are the
// platform's own types (declared identically here, so including <windows.h> later is harmless);
// elsewhere they are fixed-width types of the same size.
#if defined(_WIN32)
typedef unsigned long DWORD;
typedef unsigned long long DWORD64;
typedef unsigned int UINT;
#else
using DWORD = std::uint32_t;
using DWORD64 = std::uint64_t;
using UINT = unsigned int;
#endif
