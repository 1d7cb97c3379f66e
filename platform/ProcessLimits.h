#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace classxml::platform {

// Limits for the rest of this process's life, for tests that run what could hang, exhaust
// memory or fill a disk in a child process. A zero leaves that resource alone.
struct ProcessLimits {
    unsigned seconds = 0;          // wall-clock time, then the process is ended
    std::uint64_t memoryBytes = 0; // address space (not under the sanitizers, which reserve more)
    std::uint64_t fileBytes = 0;   // the size a write may extend a file to; beyond, it fails
};

// False when a limit asked for is not available on this platform.
CLASSXML_API bool LimitThisProcess(const ProcessLimits& limits);

} // namespace classxml::platform
