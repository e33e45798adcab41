#include "platform/KXExport.h"
#include "platform/KXTick.h"

#include <gtest/gtest.h>

#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// The time since the system has started; null: as it is.
const timespec* simulatedTime = nullptr;

} // namespace

// Replaces a function of the system for the whole program, libraries included.
extern "C" KX_EXPORT int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (simulatedTime && clock == CLOCK_MONOTONIC) {
        *time = *simulatedTime;
        return 0;
    }
#ifdef SYS_clock_gettime64
    if (sizeof(time->tv_sec) > sizeof(long))
        return static_cast<int>(syscall(SYS_clock_gettime64, clock, time));
#endif
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

namespace {

TEST(KXTickValueTest, countsWholeMillisecondsAndWraps) {
    const struct {
        timespec time;
        unsigned int tick;
    } cases[] = {{{0, 0}, 0},
                 {{0, 999999}, 0},
                 {{0, 1000000}, 1},
                 {{5, 998999999}, 5998},
                 {{5, 999000000}, 5999},
                 {{5, 999999999}, 5999},
                 {{6, 0}, 6000},
                 {{4294967, 295999999}, 4294967295U},
                 {{4294967, 296000000}, 0},
                 {{4294968, 0}, 704}};
    for (const auto& test : cases) {
        simulatedTime = &test.time;
        const unsigned int tick = KX::KXTick::getTickCount();
        simulatedTime = nullptr;
        EXPECT_EQ(tick, test.tick) << test.time.tv_sec << " s and " << test.time.tv_nsec << " ns";
    }
}

} // namespace
