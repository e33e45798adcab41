#include "platform/KXTick.h"

#include <ctime>

namespace KX {

unsigned int KXTick::getTickCount() {
    // Not the wall clock, which jumps when the date is set. The call cannot fail: the clock always exists and the
    // address is valid.
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    constexpr unsigned int nanosecondsPerMs = 1000000;
    return static_cast<unsigned int>(now.tv_sec) * 1000 +
           static_cast<unsigned int>(now.tv_nsec) / nanosecondsPerMs;
}

} // namespace KX
