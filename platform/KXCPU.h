#pragma once

namespace KX {

/// CPU relax hint for a spin loop; call it once a round. Any thread; does not block.
///
/// On x86 and ARM it is an instruction that leaves the execution units to the core's other hardware thread and
/// saves power. Some cores stall for tens of nanoseconds, others ignore it, so it is no measure of time. Elsewhere
/// it is a compiler barrier only.
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
