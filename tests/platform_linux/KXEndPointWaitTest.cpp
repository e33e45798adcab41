#include "platform/KXEndPointManager.h"

#include "platform/KXTick.h"
#include "support/SocketEndPoint.h"
#include "support/SteadyClock.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

/// Difference of the clock of this program from the real one.
std::atomic<unsigned int> clockOffset{0};
std::atomic<bool> clockStands{false};
std::atomic<int> sleeps{0};
std::atomic<int> longestSleepMs{0};
std::atomic<int> additions{0};           // of descriptors to an epoll set
std::atomic<int> mostAdditions{INT_MAX}; // the system refuses more

/// Not null: sleeps take no time but move the clock of the program on, and are listed here.
std::vector<int>* passedSleepsMs = nullptr;

/// Looks of the library at single descriptors, and those of them that would wait.
std::atomic<int> looksAtOne{0};
std::atomic<int> otherLooks{0};

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
    if (passedSleepsMs) {
        passedSleepsMs->push_back(timeoutMs);
        clockOffset += static_cast<unsigned int>(timeoutMs);
        timeoutMs = 0;
    }
    const int found = epoll_pwait(descriptor, events, most, timeoutMs, nullptr);
    if (const auto action = std::exchange(afterSleep, nullptr))
        action();
    return found;
}

extern "C" KX_EXPORT int epoll_ctl(int descriptor, int operation, int watched, epoll_event* event) {
    if (operation == EPOLL_CTL_ADD && ++additions > mostAdditions) {
        errno = ENOMEM;
        return -1;
    }
    return static_cast<int>(syscall(SYS_epoll_ctl, descriptor, operation, watched, event));
}

extern "C" KX_EXPORT int poll(pollfd* queries, nfds_t count, int timeoutMs) {
    ++(count == 1 && timeoutMs == 0 ? looksAtOne : otherLooks);
    const timespec timeout{timeoutMs / 1000, timeoutMs % 1000 * 1000000L};
    return ppoll(queries, count, timeoutMs < 0 ? nullptr : &timeout, nullptr);
}

namespace {

using KX::KXEndPointManager;
using KX::KXTick;

/// One that the test gives any descriptor.
class AnyEndPoint : public KX::KXEndPoint {
public:
    explicit AnyEndPoint(int firstDescriptor) : descriptor(firstDescriptor) {}
    int getReadEndPointID() const override { return descriptor; }
    int getWriteEndPointID() const override { return -1; }
    bool isConnected() const override { return true; }
    int reconnect() override { return 0; }

    int descriptor;
};

/// Reads nothing.
class AnyHandler : public KX::KXEndPointHandler {
public:
    void onEndPointReadable(KX::KXEndPoint*, KXEndPointManager*) override { ++readable; }
    void onEndPointReconnected(KX::KXEndPoint*) override { ++reconnected; }
    void onEndPointDisconnected(KX::KXEndPoint*) override { ++disconnected; }

    int readable = 0;
    int reconnected = 0;
    int disconnected = 0;
};

/// The program has closed its standard input, for a scope.
class NoStandardInput {
public:
    NoStandardInput() { close(STDIN_FILENO); }
    ~NoStandardInput() {
        if (standardInput >= 0)
            dup2(standardInput, STDIN_FILENO);
        close(standardInput);
    }
    NoStandardInput(const NoStandardInput&) = delete;
    NoStandardInput& operator=(const NoStandardInput&) = delete;

private:
    const int standardInput = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
};

class KXEndPointWaitTest : public testing::Test {
protected:
    void SetUp() override {
        clockOffset = 0;
        clockStands = false;
        mostAdditions = INT_MAX;
        ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    }

    void TearDown() override { manager.removeEndPoint(&endPoint); }

    static void setTick(unsigned int tick) {
        clockOffset = 0;
        clockOffset = tick - KXTick::getTickCount();
    }

    static void stopClockAt(unsigned int tick) {
        clockOffset = tick;
        clockStands = true;
    }

    int look() { return manager.waitForEndPoints(KXTick::getTickCount(), 0); }

    /// Opens the end point anew, while somebody else holds its former file, which can be read.
    /// \return the descriptor of that
    int leaveFileToSomebodyElse() {
        endPoint.peerSends("never read");
        const int copy = fcntl(endPoint.getReadEndPointID(), F_DUPFD_CLOEXEC, 100);
        EXPECT_EQ(endPoint.reconnect(), 0);
        return copy;
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
    additions = 0;
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 100, 0), 0);
    EXPECT_LE(sleeps, 3);
    EXPECT_EQ(additions, 3) << "the new file, and once a new set with it and the wake-up";
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

TEST_F(KXEndPointWaitTest, aLongWaitSleepsASecondAtMostAtATime) {
    const StandingClock ofTheSystem;
    stopClockAt(1000);
    std::vector<int> sleepsMs;
    passedSleepsMs = &sleepsMs;
    EXPECT_EQ(manager.waitForEndPoints(1000 + 2001, 0), 0);
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 999, 0), 0);
    passedSleepsMs = nullptr;
    EXPECT_EQ(sleepsMs, (std::vector<int>{1000, 1000, 1, 999}));
}

TEST_F(KXEndPointWaitTest, aLookDoesNotSleep) {
    stopClockAt(1000);
    for (const unsigned int ago : {0u, 1u, 1000u}) {
        longestSleepMs = 0;
        EXPECT_EQ(manager.waitForEndPoints(1000 - ago, 0), 0);
        EXPECT_EQ(longestSleepMs, 0) << ago << " ms ago";
    }
}

TEST_F(KXEndPointWaitTest, aWaitThatHasCalledAHandlerDoesNotSleep) {
    endPoint.ownerCloses();
    longestSleepMs = 0;
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 100, 0), 1);
    EXPECT_EQ(longestSleepMs, 0);
}

TEST_F(KXEndPointWaitTest, theSecondOfARoundIsLookedAtWithoutWaiting) {
    SocketEndPoint other;
    ASSERT_EQ(manager.addEndPoint(&other, &handler), 0);
    endPoint.peerSends("x");
    other.peerSends("y");
    looksAtOne = otherLooks = 0;
    EXPECT_EQ(look(), 2);
    EXPECT_EQ(looksAtOne, 1);
    EXPECT_EQ(otherLooks, 0);
    EXPECT_EQ(manager.removeEndPoint(&other), 0);
}

TEST_F(KXEndPointWaitTest, aRetryIsDueASecondAfterTheLossAndAfterEachRetry) {
    stopClockAt(1000);
    endPoint.peerAccepts = false;
    endPoint.peerHangsUp();
    ASSERT_EQ(look(), 1);
    for (const unsigned int due : {2000u, 3000u}) {
        const int before = endPoint.reconnects;
        for (const unsigned int tick : {due - 1000, due - 999, due - 1}) {
            clockOffset = tick;
            EXPECT_EQ(look(), 0);
            EXPECT_EQ(endPoint.reconnects, before) << "at tick " << tick;
        }
        clockOffset = due;
        EXPECT_EQ(look(), 0);
        EXPECT_EQ(endPoint.reconnects, before + 1);
    }
}

TEST_F(KXEndPointWaitTest, aRetryThatIsFurtherAheadThanASecondIsDue) {
    stopClockAt(1000);
    endPoint.peerHangsUp();
    ASSERT_EQ(look(), 1);
    clockOffset = 999; // a second before the retry and another millisecond
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.reconnected, 1);
}

TEST_F(KXEndPointWaitTest, aLostEndPointMayComeBackAtDescriptor0) {
    stopClockAt(1000);
    endPoint.peerHangsUp();
    ASSERT_EQ(look(), 1);
    const NoStandardInput closed;
    clockOffset = 2000;
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.reconnected, 1);
    EXPECT_EQ(endPoint.getReadEndPointID(), 0);
    endPoint.peerSends("back");
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.text, "back");
    manager.removeEndPoint(&endPoint);
    endPoint.ownerCloses();
}

TEST_F(KXEndPointWaitTest, whatWasFoundBeforeTheLossIsNotTold) {
    endPoint.peerSends("x");
    afterSleep = [this] {
        endPoint.alive = false;
        std::thread([this] { look(); }).join();
    };
    EXPECT_EQ(look(), 0) << "another thread has told of the loss";
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(handler.readable, 0);
}

TEST_F(KXEndPointWaitTest, aWakeUpForAnEndPointThatHasGoneAgainRegistersNothingAnew) {
    SocketEndPoint closed;
    closed.ownerCloses();
    ASSERT_EQ(manager.addEndPoint(&closed, &handler), 0);
    ASSERT_EQ(manager.removeEndPoint(&closed), 0);
    additions = 0;
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(additions, 0);
}

TEST_F(KXEndPointWaitTest, aRenewedSetHasWhatTheOldOneHadAtOnce) {
    const NoStandardInput closed;
    SocketEndPoint first;
    ASSERT_EQ(first.getReadEndPointID(), 0);
    ASSERT_EQ(manager.addEndPoint(&first, &handler), 0);
    const int copy = leaveFileToSomebodyElse();
    additions = 0;
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(additions, 4) << "the new file, and in the new set the wake-up and two end points";
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(additions, 4);
    close(copy);
    EXPECT_EQ(manager.removeEndPoint(&first), 0);
}

TEST_F(KXEndPointWaitTest, aSetThatCannotBeRenewedStaysAsItIs) {
    for (const int renewed : {0, 1}) { // additions that succeed in the new set
        const int copy = leaveFileToSomebodyElse();
        additions = 0;
        mostAdditions = 1 + renewed;
        EXPECT_EQ(look(), 0);
        EXPECT_EQ(look(), 0);
        EXPECT_EQ(handler.disconnected, 0);
        endPoint.peerSends("x");
        EXPECT_EQ(look(), 1);
        mostAdditions = INT_MAX;
        EXPECT_EQ(look(), 0);
        additions = 0;
        EXPECT_EQ(look(), 0);
        EXPECT_EQ(additions, 0) << "it was renewed later";
        close(copy);
    }
    EXPECT_EQ(handler.text, "xx");
}

TEST_F(KXEndPointWaitTest, aSetIsRenewedWithoutStandardInputToo) {
    const int copy = leaveFileToSomebodyElse();
    const NoStandardInput closed;
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "what that took is still open";
    additions = 0;
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(additions, 0) << "the file of somebody else is still watched";
    close(copy);
}

TEST_F(KXEndPointWaitTest, anEndPointMayHaveAnotherDescriptorAndItsFormerOneAgain) {
    int ends[4];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(ends + 2, O_CLOEXEC), 0);
    AnyEndPoint changing(ends[0]);
    AnyHandler changingHandler;
    ASSERT_EQ(manager.addEndPoint(&changing, &changingHandler), 0);
    for (const int descriptor : {ends[2], ends[0], ends[2], ends[0]}) {
        changing.descriptor = descriptor;
        EXPECT_EQ(look(), 0);
    }
    EXPECT_EQ(changingHandler.disconnected, 0);
    EXPECT_EQ(write(ends[3], "x", 1), 1);
    EXPECT_EQ(look(), 0) << "that is its former one";
    EXPECT_EQ(write(ends[1], "x", 1), 1);
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(manager.removeEndPoint(&changing), 0);
    for (const int end : ends)
        close(end);
}

TEST_F(KXEndPointWaitTest, anEndPointIsLostWhileItHasADescriptorThatCannotBeWaitedFor) {
    stopClockAt(1000);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const int file = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
    AnyEndPoint changing(ends[0]);
    AnyHandler changingHandler;
    ASSERT_EQ(manager.addEndPoint(&changing, &changingHandler), 0);
    changing.descriptor = file;
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(changingHandler.disconnected, 1);
    for (const int descriptor : {file, -1}) {
        changing.descriptor = descriptor;
        clockOffset += 1000;
        EXPECT_EQ(look(), 0);
        EXPECT_EQ(changingHandler.reconnected, 0);
    }
    changing.descriptor = ends[0];
    clockOffset += 1000;
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(changingHandler.reconnected, 1);
    EXPECT_EQ(changingHandler.disconnected, 1);
    EXPECT_EQ(manager.removeEndPoint(&changing), 0);
    for (const int descriptor : {ends[0], ends[1], file})
        close(descriptor);
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
