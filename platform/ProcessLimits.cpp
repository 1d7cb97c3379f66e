#include "classxml/platform/ProcessLimits.h"

#if defined(_WIN32)
#include <windows.h>

#include <thread>
#else
#include <csignal>
#include <vector>

#include <grp.h>
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

} // namespace

#if defined(_WIN32)

bool LimitThisProcess(const ProcessLimits& limits) {
    if (limits.seconds != 0)
        std::thread([seconds = limits.seconds] {
            Sleep(seconds * 1000);
            ExitProcess(124);
        }).detach();
    if (limits.memoryBytes != 0 && !kSanitized) {
        HANDLE job = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION information{};
        information.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_PROCESS_MEMORY;
        information.ProcessMemoryLimit = static_cast<SIZE_T>(limits.memoryBytes);
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
    if (limits.seconds != 0) alarm(limits.seconds); // SIGALRM ends the process
    bool applied = true;
    const auto limit = [&](int resource, std::uint64_t bytes) {
        const rlimit value{static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
        applied = setrlimit(resource, &value) == 0 && applied;
    };
    if (limits.memoryBytes != 0 && !kSanitized) limit(RLIMIT_AS, limits.memoryBytes);
    if (limits.fileBytes != 0) {
        std::signal(SIGXFSZ, SIG_IGN); // a write past the limit fails with EFBIG instead
        limit(RLIMIT_FSIZE, limits.fileBytes);
    }
    return applied;
}

bool RunAs(unsigned user, unsigned group, std::initializer_list<unsigned> groups) {
    const std::vector<gid_t> ids(groups.begin(), groups.end());
    return setgroups(ids.size(), ids.data()) == 0 && setgid(group) == 0 && setuid(user) == 0;
}

#endif

} // namespace classxml::platform
