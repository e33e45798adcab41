#include "PlatformKit.h"
#include "platform/KXTick.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace KX::PlatformTests {

using Tick = PlatformTest;

constexpr unsigned int halfTheRange = 0x80000000U;

TEST_F(Tick, neverGoesBack) {
    unsigned int last = KXTick::getTickCount();
    for (int i = 0; i < 100000; ++i) {
        const unsigned int now = KXTick::getTickCount();
        ASSERT_LT(now - last, halfTheRange) << "tick " << now << " came after " << last;
        last = now;
    }
}

TEST_F(Tick, countsMilliseconds) {
    using std::chrono::steady_clock;
    constexpr unsigned int pauseMs = 200;
    const auto begin = steady_clock::now();
    const unsigned int before = KXTick::getTickCount();
    adapter().passTime(pauseMs);
    const unsigned int ticks = KXTick::getTickCount() - before;
    const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
    EXPECT_GE(ticks, pauseMs - 1);
    EXPECT_LE(ticks, std::max(pauseMs, static_cast<unsigned int>(passed.count())) + 1);
}

TEST_F(Tick, isTheSameClockForAllThreads) {
    std::atomic<unsigned int> latest{KXTick::getTickCount()};
    std::atomic<int> steps{0};
    const auto compare = [&] {
        for (int i = 0; i < 20000; ++i) {
            const unsigned int before = latest;
            const unsigned int now = KXTick::getTickCount();
            steps += now - before < halfTheRange ? 0 : 1;
            latest = now; // may replace a later one by this one, which is harmless: it was read before
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(compare);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(steps, 0) << "times at which one thread was behind another";
}

TEST_F(Tick, wrapsFromTheLargestNumberToZero) {
    if (!adapter().setTick(0xFFFFFFFFU - 1000))
        GTEST_SKIP() << "the adapter cannot set the clock (setTick)";
    const unsigned int before = KXTick::getTickCount();
    ASSERT_TRUE(eventually([] { return KXTick::getTickCount() < halfTheRange; }));
    EXPECT_LT(KXTick::getTickCount() - before, halfTheRange);
}

} // namespace KX::PlatformTests
