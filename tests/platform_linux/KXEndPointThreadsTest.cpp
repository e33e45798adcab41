#include "platform/KXEndPointManager.h"

#include "platform/KXTick.h"
#include "support/SocketEndPoint.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

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

} // namespace
