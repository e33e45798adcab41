#include "platform/KXTick.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <thread>

namespace {

TEST(KXTick, neverGoesBack) {
    unsigned int last = KX::KXTick::getTickCount();
    for (int i = 0; i < 200000; ++i) {
        const unsigned int now = KX::KXTick::getTickCount();
        ASSERT_LT(now - last, 0x80000000u) << "tick " << now << " came after " << last;
        last = now;
    }
}

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

TEST(KXTick, advancesByTheTimeThatPasses) {
    const unsigned int tickBefore = KX::KXTick::getTickCount();
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const unsigned int ticks = KX::KXTick::getTickCount() - tickBefore;
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(ticks, 50u);
    EXPECT_LE(ticks, static_cast<unsigned int>(
                         std::chrono::duration_cast<std::chrono::milliseconds>(passed).count() + 1));
}

} // namespace
