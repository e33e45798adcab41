#include "support/ResourceLimit.h"

#include <fcntl.h>
#include <unistd.h>

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
