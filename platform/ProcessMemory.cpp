#include "classxml/platform/ProcessMemory.h"

#if defined(_WIN32)
#include <windows.h>
// psapi.h needs the types of windows.h.
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

namespace classxml::platform {

std::uint64_t PeakResidentBytes() {
#if defined(_WIN32)
    PROCESS_MEMORY_COUNTERS counters{};
    if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) return 0;
    return counters.PeakWorkingSetSize;
#else
    rusage usage{};
    if (getrusage(RUSAGE_SELF, &usage) != 0) return 0;
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024; // kilobytes on Linux
#endif
}

} // namespace classxml::platform
