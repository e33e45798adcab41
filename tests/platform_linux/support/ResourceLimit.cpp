#include "support/ResourceLimit.h"

#include <fcntl.h>
#include <fstream>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// Of the calling thread only, while seteuid changes all of them.
void setEffectiveUser(uid_t user) {
    const uid_t asBefore = static_cast<uid_t>(-1);
    syscall(SYS_setresuid, asBefore, user, asBefore);
}

} // namespace

NoMoreDescriptors::NoMoreDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before);
    // The limit is on the number of a descriptor, and the lowest free one is given first.
    const int lowestFree = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(lowestFree);
    rlimit limit = before;
    limit.rlim_cur = static_cast<rlim_t>(lowestFree);
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
    // The test itself may need some.
    const rlim_t reserve = 256 * 1024 * 1024;
    limit.rlim_cur = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + reserve;
    setrlimit(RLIMIT_AS, &limit);
}

NoMoreAddressSpace::~NoMoreAddressSpace() {
    setrlimit(RLIMIT_AS, &before);
}

NoRealTimePriority::NoRealTimePriority() : userBefore(geteuid()) {
    getrlimit(RLIMIT_RTPRIO, &before);
    rlimit limit = before;
    limit.rlim_cur = 0;
    setrlimit(RLIMIT_RTPRIO, &limit);
    const uid_t nobody = 65534;
    setEffectiveUser(nobody);
}

NoRealTimePriority::~NoRealTimePriority() {
    setEffectiveUser(userBefore);
    setrlimit(RLIMIT_RTPRIO, &before);
}
