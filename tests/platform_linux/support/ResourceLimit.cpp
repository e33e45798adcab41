#include "support/ResourceLimit.h"

#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace {

#ifdef SYS_setresuid32
constexpr long setUsersCall = SYS_setresuid32; // the other one has 16 bits for a user
#else
constexpr long setUsersCall = SYS_setresuid;
#endif

/// Sets it for the calling thread only; seteuid would set it for all.
void setEffectiveUser(uid_t user) {
    const uid_t asBefore = static_cast<uid_t>(-1);
    syscall(setUsersCall, asBefore, user, asBefore);
}

} // namespace

NoMoreDescriptors::NoMoreDescriptors(int successes) {
    getrlimit(RLIMIT_NOFILE, &before);
    // The limit applies to the number of a descriptor, and a new one gets the lowest free number.
    std::vector<int> lowestFree;
    for (int i = 0; i <= successes; ++i)
        lowestFree.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    for (const int descriptor : lowestFree)
        close(descriptor);
    rlimit limit = before;
    limit.rlim_cur = static_cast<rlim_t>(lowestFree.back());
    setrlimit(RLIMIT_NOFILE, &limit);
}

NoMoreDescriptors::~NoMoreDescriptors() {
    setrlimit(RLIMIT_NOFILE, &before);
}

NoMoreAddressSpace::NoMoreAddressSpace() {
    getrlimit(RLIMIT_AS, &before);
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit limit = before;
    // For what the test itself allocates.
    const rlim_t reserve = 256 * 1024 * 1024;
    limit.rlim_cur = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + reserve;
    setrlimit(RLIMIT_AS, &limit);
}

bool NoMoreAddressSpace::refuses(std::size_t bytes) const {
    void* const mapping = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED)
        return true;
    munmap(mapping, bytes);
    return false;
}

NoMoreAddressSpace::~NoMoreAddressSpace() {
    setrlimit(RLIMIT_AS, &before);
}

NoAdministrator::NoAdministrator() : userBefore(geteuid()) {
    const uid_t nobody = 65534;
    setEffectiveUser(nobody);
}

NoAdministrator::~NoAdministrator() {
    setEffectiveUser(userBefore);
}

NoRealTimePriority::NoRealTimePriority() {
    getrlimit(RLIMIT_RTPRIO, &before);
    rlimit limit = before;
    limit.rlim_cur = 0;
    setrlimit(RLIMIT_RTPRIO, &limit);
}

NoRealTimePriority::~NoRealTimePriority() {
    setrlimit(RLIMIT_RTPRIO, &before);
}
