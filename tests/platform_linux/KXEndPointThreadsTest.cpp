#include "platform/KXEndPointManager.h"

#include "platform/KXTick.h"
#include "support/SocketEndPoint.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using KX::KXEndPointManager;
using KX::KXTick;

class KXEndPointThreadsTest : public testing::Test {
protected:
    void SetUp() override {
        waiter = std::thread([this] {
            while (!stop)
                calls += manager.waitForEndPoints(KXTick::getTickCount() + waitMs, 0);
        });
    }

    void TearDown() override {
        stop = true;
        waiter.join();
    }

    static constexpr unsigned int waitMs = 100;
    KXEndPointManager manager;
    std::atomic<bool> stop{false};
    std::atomic<int> calls{0};
    std::thread waiter;
};

/// Counts calls for an end point that is not registered any more.
class LifeWatcher : public RecordingHandler {
public:
    std::atomic<bool> registered{false};
    std::atomic<int> lateCalls{0};

    void onEndPointReadable(KX::KXEndPoint* endPoint, KXEndPointManager* manager) override {
        lateCalls += registered ? 0 : 1;
        RecordingHandler::onEndPointReadable(endPoint, manager);
    }
};

TEST_F(KXEndPointThreadsTest, endPointsOfFourThreadsComeAndGoAndNoneIsCalledAfterwards) {
    const int rounds = 1500;
    std::atomic<int> lateCalls{0};
    std::atomic<int> wrongStatus{0};
    std::atomic<int> told{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                // Destroyed at the end of the round; its descriptor serves another thread's end point next.
                SocketEndPoint endPoint;
                LifeWatcher handler;
                handler.registered = true;
                wrongStatus += manager.addEndPoint(&endPoint, &handler) != 0;
                endPoint.peerSends("x");
                if (round % 3 == 0)
                    endPoint.peerHangsUp();
                if (round % 2 == 0)
                    std::this_thread::yield();
                wrongStatus += manager.removeEndPoint(&endPoint) != 0;
                handler.registered = false;
                std::this_thread::yield();
                lateCalls += handler.lateCalls;
                told += handler.readable;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(lateCalls, 0);
    EXPECT_EQ(wrongStatus, 0);
    EXPECT_GT(told, 0) << "no handler ever ran, so nothing was shown";
}

/// Registers an end point that is closed in its handler.
/// \return a copy of its descriptor, such as the child of a fork has. The epoll set tells of it until it is closed.
int leaveClosedFile(KXEndPointManager& manager) {
    SocketEndPoint endPoint;
    RecordingHandler handler;
    std::atomic<int> copy{-1};
    handler.onReadable = [&copy](SocketEndPoint& closed, KXEndPointManager&) {
        copy = fcntl(closed.getReadEndPointID(), F_DUPFD_CLOEXEC, 0);
        closed.ownerCloses();
    };
    endPoint.peerAccepts = false;
    manager.addEndPoint(&endPoint, &handler);
    endPoint.peerSends("x");
    waitUntil([&] { return handler.disconnected > 0; });
    manager.removeEndPoint(&endPoint);
    endPoint.peerSends("y");
    return copy;
}

// The waiting thread makes its epoll set anew, while this one adds to it.
TEST_F(KXEndPointThreadsTest, anEndPointIsServedThatIsAddedBesideAClosedFileThatIsHeld) {
    const int rounds = 500;
    int served = 0;
    for (int round = 0; round < rounds && served == round; ++round) {
        const int copy = leaveClosedFile(manager);
        SocketEndPoint endPoint;
        RecordingHandler handler;
        manager.addEndPoint(&endPoint, &handler);
        endPoint.peerSends("x");
        served += waitUntil([&] { return handler.readable > 0; });
        manager.removeEndPoint(&endPoint);
        close(copy);
    }
    EXPECT_EQ(served, rounds);
}

/// Two end points, and a thread that removes one of them.
class KXEndPointUsesTest : public testing::Test {
protected:
    ~KXEndPointUsesTest() override {
        for (std::thread* thread : {&firstWaiter, &secondWaiter, &remover})
            if (thread->joinable())
                thread->join();
    }

    void remove(SocketEndPoint& endPoint) {
        remover = std::thread([this, &endPoint] {
            EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
            isRemoved = true;
        });
    }

    /// Gives the removal time to return, which it must not.
    void expectNotRemoved() {
        EXPECT_FALSE(waitUntil([this] { return isRemoved.load(); }, std::chrono::milliseconds(50)))
            << "the end point could be destroyed under its handler";
    }

    int waitLong() { return manager.waitForEndPoints(KXTick::getTickCount() + 20000, 0); }

    KXEndPointManager manager;
    SocketEndPoint first;
    SocketEndPoint second;
    RecordingHandler firstHandler;
    RecordingHandler secondHandler;
    std::atomic<bool> firstMayEnd{false};
    std::atomic<bool> secondMayEnd{false};
    std::atomic<bool> isRemoved{false};
    std::thread firstWaiter;
    std::thread secondWaiter;
    std::thread remover;
};

TEST_F(KXEndPointUsesTest, aRemovalWaitsForItsHandlerThoughThatOfAnotherThreadHasEnded) {
    firstHandler.onReadable = [this](SocketEndPoint&, KXEndPointManager&) {
        waitUntil([this] { return firstMayEnd.load(); });
    };
    secondHandler.onReadable = [this](SocketEndPoint&, KXEndPointManager&) {
        waitUntil([this] { return secondMayEnd.load(); });
    };
    ASSERT_EQ(manager.addEndPoint(&first, &firstHandler), 0);
    first.peerSends("x");
    firstWaiter = std::thread([this] { EXPECT_EQ(waitLong(), 1); });
    EXPECT_TRUE(waitUntil([this] { return firstHandler.readable == 1; }));
    ASSERT_EQ(manager.addEndPoint(&second, &secondHandler), 0);
    second.peerSends("y");
    secondWaiter = std::thread([this] { EXPECT_EQ(waitLong(), 1); });
    EXPECT_TRUE(waitUntil([this] { return secondHandler.readable == 1; }));
    firstMayEnd = true;
    firstWaiter.join();
    remove(second);
    expectNotRemoved();
    secondMayEnd = true;
    remover.join();
    EXPECT_TRUE(isRemoved);
    EXPECT_EQ(manager.removeEndPoint(&first), 0) << "nobody uses it any more";
}

TEST_F(KXEndPointUsesTest, aRemovalWaitsForAHandlerBehindAWaitInsideIt) {
    firstHandler.onReadable = [this](SocketEndPoint&, KXEndPointManager&) {
        second.peerSends("y");
        EXPECT_EQ(waitLong(), 1);
        remove(first);
        expectNotRemoved();
    };
    ASSERT_EQ(manager.addEndPoint(&first, &firstHandler), 0);
    ASSERT_EQ(manager.addEndPoint(&second, &secondHandler), 0);
    first.peerSends("x");
    EXPECT_EQ(waitLong(), 1);
    remover.join();
    EXPECT_EQ(secondHandler.text, "y");
    EXPECT_EQ(manager.removeEndPoint(&second), 0);
}

} // namespace
