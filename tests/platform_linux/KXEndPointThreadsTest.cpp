#include "platform/KXEndPointManager.h"

#include "platform/KXTick.h"
#include "support/SocketEndPoint.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
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

TEST_F(KXEndPointThreadsTest, anEndPointAddedDuringAWaitIsSeenByIt) {
    SocketEndPoint endPoint;
    RecordingHandler handler;
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    endPoint.peerSends("x");
    EXPECT_TRUE(waitUntil([&] { return handler.readable == 1; }));
    EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
}

TEST_F(KXEndPointThreadsTest, anEndPointRemovedDuringAWaitIsCalledNoMore) {
    SocketEndPoint endPoint;
    RecordingHandler handler;
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    ASSERT_EQ(manager.removeEndPoint(&endPoint), 0);
    endPoint.peerSends("x");
    std::this_thread::sleep_for(std::chrono::milliseconds(2 * waitMs));
    EXPECT_EQ(handler.readable, 0);
}

TEST_F(KXEndPointThreadsTest, removingWaitsForTheHandlerThatRuns) {
    SocketEndPoint endPoint;
    RecordingHandler handler;
    std::atomic<bool> mayEnd{false};
    std::atomic<bool> ended{false};
    handler.onReadable = [&](SocketEndPoint&, KXEndPointManager&) {
        waitUntil([&] { return mayEnd.load(); });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ended = true;
    };
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    endPoint.peerSends("x");
    ASSERT_TRUE(waitUntil([&] { return handler.readable == 1; }));
    mayEnd = true;
    EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
    EXPECT_TRUE(ended) << "the end point could be destroyed under its handler";
}

TEST_F(KXEndPointThreadsTest, othersAreAddedAndRemovedWhileAHandlerRuns) {
    SocketEndPoint endPoint;
    SocketEndPoint other;
    RecordingHandler handler;
    std::atomic<bool> mayEnd{false};
    handler.onReadable = [&](SocketEndPoint&, KXEndPointManager&) { waitUntil([&] { return mayEnd.load(); }); };
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    endPoint.peerSends("x");
    ASSERT_TRUE(waitUntil([&] { return handler.readable == 1; }));
    // No lock is held while a handler runs: these two return although it does not.
    EXPECT_EQ(manager.addEndPoint(&other, &handler), 0);
    EXPECT_EQ(manager.removeEndPoint(&other), 0);
    mayEnd = true;
    EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
}

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

TEST_F(KXEndPointThreadsTest, aThreadThatPostsIsHeardWhileOthersComeAndGo) {
    SocketEndPoint steady;
    RecordingHandler handler;
    std::atomic<std::size_t> heard{0};
    handler.onReadable = [&](SocketEndPoint&, KXEndPointManager&) { heard = handler.text.size(); };
    ASSERT_EQ(manager.addEndPoint(&steady, &handler), 0);
    std::atomic<bool> enough{false};
    std::thread restless([&] {
        while (!enough) {
            SocketEndPoint endPoint;
            RecordingHandler nobody;
            EXPECT_EQ(manager.addEndPoint(&endPoint, &nobody), 0);
            EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
        }
    });
    bool allHeard = true;
    for (std::size_t i = 1; i <= 500 && allHeard; ++i) {
        steady.peerSends("x");
        allHeard = waitUntil([&] { return heard == i; });
        EXPECT_TRUE(allHeard) << "message " << i << " was not heard";
    }
    enough = true;
    restless.join();
    EXPECT_EQ(manager.removeEndPoint(&steady), 0);
    EXPECT_EQ(handler.text, std::string(500, 'x'));
}

} // namespace
