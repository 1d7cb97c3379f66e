#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "classxml/platform/Export.h"

namespace classxml::platform {

// Limits for the rest of this process's life, for tests that run what could hang, exhaust
// memory or fill a disk in a child process. A zero leaves that resource alone.
struct ProcessLimits {
    // Processor time, then the process is ended: a loaded machine does not make it run out.
    // A process that blocks instead is ended after ten times as long by the clock.
    unsigned cpuSeconds = 0;
    std::uint64_t memoryBytes = 0; // address space (not under the sanitizers, which reserve more)
    std::uint64_t fileBytes = 0;   // the size a write may extend a file to; beyond, it fails
};

// False when a limit asked for is not available on this platform.
CLASSXML_API bool LimitThisProcess(const ProcessLimits& limits);

// For tests of what another user may do: the rest of this process (a test's child) runs as
// the user `user` in the group `group`, also a member of `groups`. False where the process may
// not change users (it is not run by root) or the platform has no such ids.
CLASSXML_API bool RunAs(unsigned user, unsigned group, std::initializer_list<unsigned> groups = {});

// Runs `run(context)` on a thread of its own whose stack holds `bytes`, and waits for it: for
// tests that prove a walk takes no stack in proportion to what it walks. False when no such
// thread can be made.
CLASSXML_API bool RunOnStack(std::size_t bytes, void (*run)(void*), void* context);

} // namespace classxml::platform
