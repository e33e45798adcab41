#include "platform/KXEndPointManager.h"

#include "platform/KXTick.h"
#include "support/SocketEndPoint.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <functional>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

/// Difference of the clock of this program from the real one.
std::atomic<unsigned int> clockOffset{0};
std::atomic<bool> clockStands{false};
std::atomic<int> sleeps{0};
std::atomic<int> longestSleepMs{0};
std::atomic<int> additions{0}; // of descriptors to an epoll set

/// Runs once, between the end of a sleep and the look at what it found.
std::function<void()> afterSleep;

} // namespace

// Replace the clock of the library and functions of the system.

unsigned int KX::KXTick::getTickCount() {
    return clockStands ? clockOffset.load() : static_cast<unsigned int>(getSteadyMs()) + clockOffset;
}

extern "C" KX_EXPORT int epoll_wait(int descriptor, epoll_event* events, int most, int timeoutMs) {
    ++sleeps;
    longestSleepMs = std::max(longestSleepMs.load(), timeoutMs);
    const int found = epoll_pwait(descriptor, events, most, timeoutMs, nullptr);
    if (const auto action = std::exchange(afterSleep, nullptr))
        action();
    return found;
}

extern "C" KX_EXPORT int epoll_ctl(int descriptor, int operation, int watched, epoll_event* event) {
    additions += operation == EPOLL_CTL_ADD ? 1 : 0;
    return static_cast<int>(syscall(SYS_epoll_ctl, descriptor, operation, watched, event));
}

namespace {

using KX::KXEndPointManager;
using KX::KXTick;

class KXEndPointWaitTest : public testing::Test {
protected:
    void SetUp() override {
        clockOffset = 0;
        clockStands = false;
        ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    }

    void TearDown() override { manager.removeEndPoint(&endPoint); }

    static void setTick(unsigned int tick) {
        clockOffset = 0;
        clockOffset = tick - KXTick::getTickCount();
    }

    KXEndPointManager manager;
    SocketEndPoint endPoint;
    RecordingHandler handler;
};

TEST_F(KXEndPointWaitTest, endsAfterItsTimeWhenTheClockOfTheProgramStandsStill) {
    clockStands = true;
    clockOffset = 1000;
    const auto begin = getSteadyMs();
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 100, 0), 0);
    EXPECT_GE(getSteadyMs() - begin, 99);
    EXPECT_EQ(KXTick::getTickCount(), 1000u);
}

TEST_F(KXEndPointWaitTest, endsAfterItsTimeWhenTheClockOfTheProgramIsSetBack) {
    const unsigned int until = KXTick::getTickCount() + 100;
    sleeps = 0;
    std::thread setter([] {
        while (sleeps == 0)
            std::this_thread::yield();
        clockOffset = 0u - 1000000u;
    });
    EXPECT_EQ(manager.waitForEndPoints(until, 0), 0);
    setter.join();
}

TEST_F(KXEndPointWaitTest, whatWasFoundOnAnEarlierDescriptorIsNotToldOfTheNewOne) {
    endPoint.peerSends("x");
    afterSleep = [this] {
        endPoint.reconnect();
        // Another thread waits meanwhile, so the new descriptor is watched already.
        std::thread([this] { manager.waitForEndPoints(KXTick::getTickCount(), 0); }).join();
    };
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount(), 0), 0);
    EXPECT_EQ(handler.readable, 0);
}

// A sleep may end with an event for nobody.
TEST_F(KXEndPointWaitTest, sleepsAgainWhileItsTickIsAhead) {
    clockStands = true;
    for (const unsigned int remainingMs : {0u, 1u, 2u}) {
        clockOffset = 1000;
        endPoint.peerSends("x");
        afterSleep = [&] {
            endPoint.reconnect();
            std::thread([this] { manager.waitForEndPoints(KXTick::getTickCount(), 0); }).join();
            clockOffset = 2000 - remainingMs;
            afterSleep = [] { clockOffset = 2000; };
            sleeps = 0;
        };
        EXPECT_EQ(manager.waitForEndPoints(2000, 0), 0);
        EXPECT_EQ(sleeps > 0, remainingMs > 0) << remainingMs << " ms remained";
        afterSleep = nullptr;
    }
}

// The child of a fork holds what its parent closes. The epoll set goes on to tell of it.
TEST_F(KXEndPointWaitTest, aClosedFileThatSomebodyElseHoldsCostsOneSleep) {
    endPoint.peerSends("never read");
    const int copy = fcntl(endPoint.getReadEndPointID(), F_DUPFD_CLOEXEC, 0);
    const int before = endPoint.getReadEndPointID();
    ASSERT_EQ(endPoint.reconnect(), 0);
    ASSERT_EQ(endPoint.getReadEndPointID(), before) << "the number is in use again";
    sleeps = 0;
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 100, 0), 0);
    EXPECT_LE(sleeps, 3);
    EXPECT_EQ(handler.readable, 0);
    endPoint.peerSends("new");
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 20000, 0), 1);
    EXPECT_EQ(handler.text, "new");
    manager.removeEndPoint(&endPoint);
    sleeps = 0;
    std::thread adder([this] {
        while (sleeps == 0)
            std::this_thread::yield();
        endPoint.ownerCloses();
        manager.addEndPoint(&endPoint, &handler);
    });
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 20000, 0), 1) << "the set wakes up as before";
    EXPECT_EQ(handler.disconnected, 1);
    adder.join();
    close(copy);
}

TEST_F(KXEndPointWaitTest, anIdleWaitOfTheWorkerIsOneSleepingSystemCall) {
    for (int pass = 0; pass < 10; ++pass) {
        sleeps = 0;
        EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 100, 0), 0);
        EXPECT_EQ(sleeps, 1) << "in pass " << pass;
    }
}

// Descriptor 0 is free where a program has closed its standard input.
TEST_F(KXEndPointWaitTest, anIdleWaitRegistersNothingAnew) {
    const int standardInput = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
    close(STDIN_FILENO);
    {
        SocketEndPoint first;
        EXPECT_EQ(first.getReadEndPointID(), 0);
        EXPECT_EQ(manager.addEndPoint(&first, &handler), 0);
        additions = 0;
        EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount(), 0), 0);
        EXPECT_EQ(additions, 0);
        manager.removeEndPoint(&first);
    }
    if (standardInput >= 0)
        dup2(standardInput, STDIN_FILENO);
    close(standardInput);
}

TEST_F(KXEndPointWaitTest, anEndPointThatIsAddedClosedWakesTheWorkerOnce) {
    SocketEndPoint closed;
    closed.peerAccepts = false;
    closed.ownerCloses();
    ASSERT_EQ(manager.addEndPoint(&closed, &handler), 0);
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 100, 0), 1);
    EXPECT_EQ(handler.disconnected, 1);
    sleeps = 0;
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 100, 0), 0);
    EXPECT_LE(sleeps, 2);
    manager.removeEndPoint(&closed);
}

TEST_F(KXEndPointWaitTest, aLostEndPointCostsNoSleepMoreThanItsRetry) {
    endPoint.peerAccepts = false;
    endPoint.peerHangsUp();
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 100, 0), 1);
    sleeps = 0;
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 2500, 0), 0);
    EXPECT_EQ(endPoint.reconnects, 2);
    EXPECT_LE(sleeps, 5);
}

TEST_F(KXEndPointWaitTest, sleepsUntilARetryIsDueAndNoLonger) {
    endPoint.peerAccepts = false;
    endPoint.peerHangsUp();
    ASSERT_EQ(manager.waitForEndPoints(KXTick::getTickCount(), 0), 1);
    clockOffset += 600; // of 1000
    longestSleepMs = 0;
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 450, 0), 0);
    EXPECT_LE(longestSleepMs, 400);
    EXPECT_EQ(endPoint.reconnects, 1);
}

TEST_F(KXEndPointWaitTest, waitsOnAcrossTheWrapOfTheClock) {
    setTick(0xffffffffu - 40);
    const long long begin = getSteadyMs();
    const unsigned int until = KXTick::getTickCount() + 100;
    ASSERT_LT(until, 100u) << "the clock does not wrap in this wait";
    EXPECT_EQ(manager.waitForEndPoints(until, 0), 0);
    EXPECT_GE(getSteadyMs() - begin, 99);
    EXPECT_LT(getSteadyMs() - begin, 5000);
}

TEST_F(KXEndPointWaitTest, aTickThatPassedBeforeTheWrapHasPassed) {
    setTick(10);
    const long long begin = getSteadyMs();
    EXPECT_EQ(manager.waitForEndPoints(0xfffffff0u, 0), 0);
    EXPECT_LT(getSteadyMs() - begin, 1000);
}

TEST_F(KXEndPointWaitTest, tickZeroIsATickLikeAnyOther) {
    setTick(0xffffffffu - 60);
    const long long begin = getSteadyMs();
    EXPECT_EQ(manager.waitForEndPoints(0, 0), 0);
    EXPECT_GE(getSteadyMs() - begin, 55);
    EXPECT_LT(getSteadyMs() - begin, 5000);
}

TEST_F(KXEndPointWaitTest, aRetryIsDueAcrossTheWrapOfTheClock) {
    setTick(0xffffffffu - 500);
    endPoint.peerHangsUp();
    ASSERT_EQ(manager.waitForEndPoints(KXTick::getTickCount(), 0), 1);
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 900, 0), 0);
    EXPECT_EQ(endPoint.reconnects, 0);
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 5000, 0), 1);
    EXPECT_EQ(handler.reconnected, 1);
}

TEST_F(KXEndPointWaitTest, aRetryIsDueAfterNobodyWaitedForHalfTheRangeOfTheClock) {
    endPoint.peerHangsUp();
    ASSERT_EQ(manager.waitForEndPoints(KXTick::getTickCount(), 0), 1);
    setTick(KXTick::getTickCount() + 0x90000000u);
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount(), 0), 1);
    EXPECT_EQ(handler.reconnected, 1);
}

} // namespace
