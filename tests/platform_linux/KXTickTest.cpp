#include "platform/KXTick.h"

#include <gtest/gtest.h>

#include <ctime>

namespace {

TEST(KXTick, countsMillisecondsOfTheMonotonicClock) {
    const auto getMs = [] {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<unsigned int>(now.tv_sec * 1000LL + now.tv_nsec / 1000000);
    };
    const unsigned int before = getMs();
    const unsigned int tick = KX::KXTick::getTickCount();
    const unsigned int after = getMs();
    EXPECT_LE(tick - before, after - before);
}

} // namespace
