#include "events/BackoffLock.h"

namespace KX {

namespace {

// Tells the processor that nothing is done. Some take tens of nanoseconds for it, others no time at all.
inline void relax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__) || (defined(__ARM_ARCH) && __ARM_ARCH >= 7)
    asm volatile("yield" ::: "memory");
#else
    asm volatile("" ::: "memory");
#endif
}

} // namespace

void BackoffLock::lookAway(const std::atomic<bool>& isTaken) {
    constexpr int shortestPause = 128;
    constexpr int longestPause = 256;
    for (int pause = shortestPause; pause <= longestPause; pause *= 2) {
        for (int i = 0; i < pause; ++i)
            relax();
        if (!isTaken.load(std::memory_order_relaxed))
            return;
    }
}

} // namespace KX
