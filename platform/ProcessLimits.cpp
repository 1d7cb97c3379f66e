#include "classxml/platform/ProcessLimits.h"

#if defined(_WIN32)
#include <windows.h>

#include <thread>
#else
#include <csignal>
#include <vector>

#include <grp.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace classxml::platform {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

// A process that blocks is ended after this many times its processor time by the clock.
constexpr unsigned kClockTimes = 10;

} // namespace

#if defined(_WIN32)

bool RunOnStack(std::size_t bytes, void (*run)(void*), void* context) {
    struct Call {
        void (*run)(void*);
        void* context;
    } call{run, context};
    const auto start = [](void* argument) -> DWORD {
        const Call& call = *static_cast<Call*>(argument);
        call.run(call.context);
        return 0;
    };
    HANDLE thread =
        CreateThread(nullptr, bytes, start, &call, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (!thread) return false;
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    return true;
}

bool LimitThisProcess(const ProcessLimits& limits) {
    if (limits.cpuSeconds != 0)
        std::thread([seconds = limits.cpuSeconds] {
            Sleep(seconds * kClockTimes * 1000);
            ExitProcess(124);
        }).detach();
    const bool memory = limits.memoryBytes != 0 && !kSanitized;
    if (memory || limits.cpuSeconds != 0) {
        HANDLE job = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION information{};
        if (memory) {
            information.BasicLimitInformation.LimitFlags |= JOB_OBJECT_LIMIT_PROCESS_MEMORY;
            information.ProcessMemoryLimit = static_cast<SIZE_T>(limits.memoryBytes);
        }
        if (limits.cpuSeconds != 0) { // in units of 100 ns
            information.BasicLimitInformation.LimitFlags |= JOB_OBJECT_LIMIT_PROCESS_TIME;
            information.BasicLimitInformation.PerProcessUserTimeLimit.QuadPart =
                LONGLONG(limits.cpuSeconds) * 10'000'000;
        }
        if (!job ||
            !SetInformationJobObject(job, JobObjectExtendedLimitInformation, &information,
                                     sizeof information) ||
            !AssignProcessToJobObject(job, GetCurrentProcess()))
            return false;
    }
    return limits.fileBytes == 0;
}

bool RunAs(unsigned, unsigned, std::initializer_list<unsigned>) { return false; }

#else

bool LimitThisProcess(const ProcessLimits& limits) {
    bool applied = true;
    const auto limit = [&](int resource, std::uint64_t soft, std::uint64_t hard) {
        const rlimit value{static_cast<rlim_t>(soft), static_cast<rlim_t>(hard)};
        applied = setrlimit(resource, &value) == 0 && applied;
    };
    if (limits.cpuSeconds != 0) {
        limit(RLIMIT_CPU, limits.cpuSeconds, limits.cpuSeconds + 1); // SIGXCPU ends it
        alarm(limits.cpuSeconds * kClockTimes);                      // SIGALRM, if it blocks
    }
    if (limits.memoryBytes != 0 && !kSanitized)
        limit(RLIMIT_AS, limits.memoryBytes, limits.memoryBytes);
    if (limits.fileBytes != 0) {
        std::signal(SIGXFSZ, SIG_IGN); // a write past the limit fails with EFBIG instead
        limit(RLIMIT_FSIZE, limits.fileBytes, limits.fileBytes);
    }
    return applied;
}

bool RunOnStack(std::size_t bytes, void (*run)(void*), void* context) {
    struct Call {
        void (*run)(void*);
        void* context;
    } call{run, context};
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_t thread;
    const bool started = pthread_attr_setstacksize(&attributes, bytes) == 0 &&
                         pthread_create(
                             &thread, &attributes,
                             [](void* argument) -> void* {
                                 const Call& call = *static_cast<Call*>(argument);
                                 call.run(call.context);
                                 return nullptr;
                             },
                             &call) == 0;
    pthread_attr_destroy(&attributes);
    return started && pthread_join(thread, nullptr) == 0;
}

bool RunAs(unsigned user, unsigned group, std::initializer_list<unsigned> groups) {
    const std::vector<gid_t> ids(groups.begin(), groups.end());
    return setgroups(ids.size(), ids.data()) == 0 && setgid(group) == 0 && setuid(user) == 0;
}

#endif

} // namespace classxml::platform
