#include "events/BackoffLock.h"

namespace KX {

namespace {

// Tells the processor that nothing is done; where that takes time at all, some ten nanoseconds.
inline void relax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__arm__) || defined(__aarch64__)
    asm volatile("yield" ::: "memory");
#else
    asm volatile("" ::: "memory");
#endif
}

} // namespace

void BackoffLock::lockTaken(boost::mutex& mutex) {
    constexpr int shortestPause = 16;
    constexpr int longestPause = 256;
    for (int pause = shortestPause; pause <= longestPause; pause *= 2) {
        for (int i = 0; i < pause; ++i)
            relax();
        if (mutex.try_lock())
            return;
    }
    mutex.lock();
}

} // namespace KX
