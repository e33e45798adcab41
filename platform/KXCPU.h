#pragma once

namespace KX {

/// CPU relax hint for the body of a spin loop. Some cores stall for tens of nanoseconds, others ignore it.
inline void relaxCPU() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__) || (defined(__ARM_ARCH) && __ARM_ARCH >= 7)
    asm volatile("yield" ::: "memory");
#else
    asm volatile("" ::: "memory");
#endif
}

} // namespace KX
