#include "EndPointKit.h"

#include <vector>

namespace KX::PlatformTests {

using WaitingThread = EndPointTest;

TEST_F(WaitingThread, isWokenByAWrite) {
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    const Waiter waiter(manager, endlessMs());
    adapter().passTime(20);
    endPoint.send("x");
    EXPECT_TRUE(eventually([this] { return handler.readable == 1; }));
}

TEST_F(WaitingThread, isWokenByEachOfManyWrites) {
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    const Waiter waiter(manager, endlessMs());
    bool isHeard = true;
    for (int i = 1; i <= 300 && isHeard; ++i) {
        endPoint.send("x");
        isHeard = eventually([&] { return handler.readable == i; });
        EXPECT_TRUE(isHeard) << "write " << i << " was not heard";
    }
}

TEST_F(WaitingThread, callsTheHandler) {
    std::atomic<unsigned int> id{0};
    std::atomic<bool> isCalled{false};
    handler.onReadable = [&](TestEndPoint&) {
        id = KXThread::getCurrentThreadID();
        isCalled = true;
    };
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    const Waiter waiter(manager, endlessMs());
    endPoint.send("x");
    ASSERT_TRUE(eventually([&] { return isCalled.load(); }));
    EXPECT_NE(id, KXThread::getCurrentThreadID());
}

TEST_F(WaitingThread, seesAnEndPointThatIsAddedMeanwhile) {
    const Waiter waiter(manager, endlessMs());
    adapter().passTime(20);
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    endPoint.send("x");
    EXPECT_TRUE(eventually([this] { return handler.readable == 1; }));
    EXPECT_EQ(manager.removeEndPoint(&endPoint), STATUS_OK);
}

TEST_F(WaitingThread, doesNotCallForAnEndPointThatWasRemovedMeanwhile) {
    const Waiter waiter(manager, endlessMs());
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    adapter().passTime(20);
    ASSERT_EQ(manager.removeEndPoint(&endPoint), STATUS_OK);
    endPoint.send("x");
    adapter().passTime(50);
    EXPECT_EQ(handler.readable, 0);
}

/// Removes on a thread of the C++ library, while the thread of the test is inside a call for the end point.
class RemovalMeanwhile : public EndPointTest {
protected:
    ~RemovalMeanwhile() override {
        if (remover.joinable())
            remover.join();
    }

    /// Called inside the call. Gives the removal time to return, which it must not.
    void removeAndHoldUp() {
        Meeting meeting(2);
        remover = std::thread([&] {
            meeting.join();
            status = manager.removeEndPoint(&endPoint);
            isRemoved = true;
        });
        meeting.join();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(isRemoved) << "the end point could be destroyed under its handler";
    }

    void expectRemoved() {
        remover.join();
        EXPECT_EQ(status, STATUS_OK);
        EXPECT_EQ(manager.removeEndPoint(&endPoint), STATUS_REFUSED);
    }

    std::thread remover;
    std::atomic<bool> isRemoved{false};
    int status = -1;
};

TEST_F(RemovalMeanwhile, waitsForTheHandler) {
    handler.onReadable = [this](TestEndPoint&) { removeAndHoldUp(); };
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    endPoint.send("x");
    EXPECT_EQ(waitLong(), 1);
    expectRemoved();
}

TEST_F(RemovalMeanwhile, waitsForTheAttemptToReconnect) {
    endPoint.isThere = false;
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    ASSERT_EQ(waitLong(), 1);
    endPoint.onReconnect = [this] { removeAndHoldUp(); };
    const unsigned int begin = KXTick::getTickCount();
    while (!remover.joinable() && KXTick::getTickCount() - begin < adapter().getPatienceMs())
        EXPECT_EQ(waitFor(100), 0);
    ASSERT_TRUE(remover.joinable()) << "it was not tried";
    expectRemoved();
    EXPECT_EQ(handler.reconnected, 0) << "it was removed before the attempt ended";
}

TEST_F(RemovalMeanwhile, ofOthersDoesNotWait) {
    std::atomic<int> wrong{0};
    handler.onReadable = [&](TestEndPoint&) {
        std::thread([&] {
            // No lock is held while a handler runs, so these return although it waits for them.
            wrong += manager.addEndPoint(&other, &otherHandler) == STATUS_OK ? 0 : 1;
            wrong += manager.removeEndPoint(&other) == STATUS_OK ? 0 : 1;
        }).join();
    };
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    endPoint.send("x");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(wrong, 0);
}

/// Counts calls for an end point that is not registered any more.
class LifeWatch : public CountingHandler {
public:
    void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager* manager) override {
        lateCalls += isRegistered ? 0 : 1;
        CountingHandler::onEndPointReadable(endPoint, manager);
    }

    std::atomic<bool> isRegistered{true};
    std::atomic<int> lateCalls{0};
};

class Restless : public EndPointTest {
protected:
    /// End points of the calling thread come and go. Each is destroyed at once, and the next may have its number.
    void comeAndGo(int rounds) {
        for (int round = 0; round < rounds; ++round) {
            TestEndPoint passing;
            LifeWatch watch;
            wrong += manager.addEndPoint(&passing, &watch) == STATUS_OK ? 0 : 1;
            passing.send("x");
            if (round % 2 == 0)
                std::this_thread::yield();
            wrong += manager.removeEndPoint(&passing) == STATUS_OK ? 0 : 1;
            watch.isRegistered = false;
            std::this_thread::yield();
            lateCalls += watch.lateCalls;
        }
    }

    std::atomic<int> wrong{0};
    std::atomic<int> lateCalls{0};
};

TEST_F(Restless, endPointsOfFourThreadsAreNeverCalledAfterTheirRemoval) {
    const Waiter waiter(manager, 10);
    std::atomic<int> ended{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            comeAndGo(300);
            ++ended;
        });
    EXPECT_TRUE(eventually([&] { return ended == 4; }));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(lateCalls, 0);
}

TEST_F(Restless, endPointsDoNotKeepASteadyOneFromBeingHeard) {
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    const Waiter waiter(manager, endlessMs());
    std::atomic<bool> isEnough{false};
    std::thread restless([&] {
        while (!isEnough)
            comeAndGo(1);
    });
    bool isHeard = true;
    for (int i = 1; i <= 200 && isHeard; ++i) {
        endPoint.send("x");
        isHeard = eventually([&] { return handler.readable == i; });
        EXPECT_TRUE(isHeard) << "write " << i << " was not heard";
    }
    isEnough = true;
    restless.join();
    EXPECT_EQ(wrong + lateCalls, 0);
}

} // namespace KX::PlatformTests
