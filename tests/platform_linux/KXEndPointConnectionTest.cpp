#include "platform/KXEndPointManager.h"

#include "platform/KXPipe.h"
#include "platform/KXTick.h"
#include "support/SocketEndPoint.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <functional>
#include <memory>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using KX::KXEndPointManager;
using KX::KXTick;

class KXEndPointConnectionTest : public testing::Test {
protected:
    void SetUp() override {
        endPoint.peerAccepts = false;
        ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    }

    int look() { return manager.waitForEndPoints(KXTick::getTickCount(), 0); }

    /// Waits as the library's worker does, 100 ms at a time, until \p count has the value.
    bool passUntil(const std::atomic<int>& count, int value) {
        const long long end = getSteadyMs() + 20000;
        while (count != value && getSteadyMs() < end)
            manager.waitForEndPoints(KXTick::getTickCount() + 100, 0);
        return count == value;
    }

    KXEndPointManager manager;
    SocketEndPoint endPoint;
    RecordingHandler handler;
};

TEST_F(KXEndPointConnectionTest, aPeerThatHangsUpIsReportedOnce) {
    endPoint.peerHangsUp();
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 2500, 0), 0);
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(handler.readable, 0);
}

TEST_F(KXEndPointConnectionTest, whatThePeerSentBeforeItHungUpIsReadFirst) {
    endPoint.peerSends("goodbye");
    endPoint.peerHangsUp();
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.text, "goodbye");
    EXPECT_EQ(handler.disconnected, 0);
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(handler.readable, 1);
}

TEST_F(KXEndPointConnectionTest, aSingleByteBeforeTheHangUpIsReadToo) {
    endPoint.peerSends("x");
    endPoint.peerHangsUp();
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.text, "x");
    EXPECT_EQ(handler.disconnected, 0);
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.disconnected, 1);
}

// The system tells an error, and no hang-up, of the end of a pipe that nobody reads.
TEST_F(KXEndPointConnectionTest, aDescriptorWithAnErrorIsLost) {
    class WriteEnd : public KX::KXEndPoint {
    public:
        explicit WriteEnd(int openEnd) : end(openEnd) {}
        int getReadEndPointID() const override { return end; }
        int getWriteEndPointID() const override { return end; }
        bool isConnected() const override { return true; }
        int reconnect() override { return 20; }
        const int end;
    };
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    WriteEnd writeEnd(ends[1]);
    RecordingHandler writeHandler;
    ASSERT_EQ(manager.addEndPoint(&writeEnd, &writeHandler), 0);
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(writeHandler.disconnected, 1);
    EXPECT_EQ(writeHandler.readable, 0);
    EXPECT_EQ(manager.removeEndPoint(&writeEnd), 0);
    close(ends[1]);
}

TEST_F(KXEndPointConnectionTest, oneThatAnEarlierHandlerOfTheRoundClosesIsLostInThatRound) {
    SocketEndPoint other;
    RecordingHandler otherHandler;
    ASSERT_EQ(manager.addEndPoint(&other, &otherHandler), 0);
    handler.onReadable = [&](SocketEndPoint&, KXEndPointManager&) { other.vanish(); };
    otherHandler.onReadable = [&](SocketEndPoint&, KXEndPointManager&) { endPoint.vanish(); };
    endPoint.peerSends("x");
    other.peerSends("y");
    EXPECT_EQ(look(), 2);
    EXPECT_EQ(handler.readable + otherHandler.readable, 1);
    EXPECT_EQ(handler.disconnected + otherHandler.disconnected, 1);
    EXPECT_EQ(handler.disconnected, otherHandler.readable);
    EXPECT_EQ(manager.removeEndPoint(&other), 0);
}

TEST_F(KXEndPointConnectionTest, oneThatTheHandlerOfAnotherLostOneRemovesIsNotTold) {
    SocketEndPoint other;
    RecordingHandler otherHandler;
    ASSERT_EQ(manager.addEndPoint(&other, &otherHandler), 0);
    handler.onDisconnected = [&](SocketEndPoint&) { EXPECT_EQ(manager.removeEndPoint(&other), 0); };
    endPoint.ownerCloses();
    other.ownerCloses();
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(otherHandler.disconnected, 0);
}

/// Lets the test do something, once, while the manager asks whether it is connected.
class AskedEndPoint : public SocketEndPoint {
public:
    bool isConnected() const override {
        if (const auto action = std::exchange(whenAsked, nullptr))
            action();
        return SocketEndPoint::isConnected();
    }

    mutable std::function<void()> whenAsked;
};

TEST_F(KXEndPointConnectionTest, oneThatIsRemovedWhileItIsAskedForIsNotTold) {
    for (const bool alive : {true, false}) {
        AskedEndPoint asked;
        RecordingHandler askedHandler;
        ASSERT_EQ(manager.addEndPoint(&asked, &askedHandler), 0);
        asked.alive = alive;
        asked.peerSends("x");
        asked.whenAsked = [&] { EXPECT_EQ(manager.removeEndPoint(&asked), 0); };
        EXPECT_EQ(look(), 0);
        EXPECT_EQ(askedHandler.disconnected + askedHandler.readable, 0);
        EXPECT_EQ(manager.removeEndPoint(&asked), 20);
    }
}

TEST_F(KXEndPointConnectionTest, aLossThatTwoWaitsFindIsToldOnce) {
    AskedEndPoint asked;
    RecordingHandler askedHandler;
    ASSERT_EQ(manager.addEndPoint(&asked, &askedHandler), 0);
    asked.whenAsked = [&] {
        asked.alive = false;
        EXPECT_EQ(look(), 1);
    };
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(askedHandler.disconnected, 1);
    EXPECT_EQ(manager.removeEndPoint(&asked), 0);
}

TEST_F(KXEndPointConnectionTest, aHangUpEndsAWaitThatGoesOn) {
    std::thread peer([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        endPoint.peerHangsUp();
    });
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 20000, 0), 1);
    peer.join();
    EXPECT_EQ(handler.disconnected, 1);
}

TEST_F(KXEndPointConnectionTest, isRetriedAboutOnceASecondWithoutABusyLoop) {
    endPoint.peerHangsUp();
    ASSERT_EQ(look(), 1);
    const long long cpuBefore = getThreadCpuMs();
    const long long begin = getSteadyMs();
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 3500, 0), 0);
    EXPECT_GE(getSteadyMs() - begin, 3499);
    EXPECT_EQ(endPoint.reconnects, 3);
    EXPECT_LT(getThreadCpuMs() - cpuBefore, 500) << "the wait was a busy loop";
}

TEST_F(KXEndPointConnectionTest, itsReturnIsReportedOnceAndItIsReadAgain) {
    endPoint.peerHangsUp();
    ASSERT_EQ(look(), 1);
    endPoint.peerAccepts = true;
    EXPECT_TRUE(passUntil(handler.reconnected, 1));
    EXPECT_EQ(endPoint.reconnects, 1);
    endPoint.peerSends("back");
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.text, "back");
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(handler.reconnected, 1);
}

TEST_F(KXEndPointConnectionTest, mayGoAndComeAgainAndAgain) {
    endPoint.peerAccepts = true;
    for (int round = 1; round <= 3; ++round) {
        endPoint.peerHangsUp();
        ASSERT_TRUE(passUntil(handler.disconnected, round));
        ASSERT_TRUE(passUntil(handler.reconnected, round));
    }
}

TEST_F(KXEndPointConnectionTest, anEndPointThatItsOwnerClosesIsReported) {
    endPoint.ownerCloses();
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.disconnected, 1);
}

TEST_F(KXEndPointConnectionTest, aDescriptorThatIsClosedUnderItsEndPointIsReported) {
    endPoint.vanish();
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.disconnected, 1);
}

TEST_F(KXEndPointConnectionTest, anEndPointThatItsOwnerOpensAnewGoesOnUnderTheSameDescriptor) {
    endPoint.peerAccepts = true;
    const int before = endPoint.getReadEndPointID();
    ASSERT_EQ(endPoint.reconnect(), 0);
    ASSERT_EQ(endPoint.getReadEndPointID(), before) << "the test shows nothing when the number changes";
    endPoint.peerSends("same number, other file");
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.text, "same number, other file");
    EXPECT_EQ(handler.disconnected, 0);
}

TEST_F(KXEndPointConnectionTest, anEndPointThatItsOwnerOpensAnewGoesOnUnderAnotherDescriptor) {
    endPoint.peerAccepts = true;
    const int before = endPoint.getReadEndPointID();
    endPoint.ownerCloses();
    const int taken = dup(STDIN_FILENO);
    ASSERT_EQ(endPoint.reconnect(), 0);
    ASSERT_NE(endPoint.getReadEndPointID(), before);
    endPoint.peerSends("x");
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(handler.text, "x");
    close(taken);
}

TEST_F(KXEndPointConnectionTest, aNumberThatAnotherEndPointTookOverLeadsToThatOneOnly) {
    const int number = endPoint.getReadEndPointID();
    endPoint.vanish(); // it still claims the number
    SocketEndPoint successor;
    ASSERT_EQ(successor.getReadEndPointID(), number);
    RecordingHandler successorHandler;
    ASSERT_EQ(manager.addEndPoint(&successor, &successorHandler), 0);
    successor.peerSends("x");
    EXPECT_EQ(look(), 2);
    EXPECT_EQ(successorHandler.text, "x");
    EXPECT_EQ(handler.readable, 0);
    EXPECT_EQ(handler.disconnected, 1);

    EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
    successor.peerSends("y");
    EXPECT_EQ(look(), 1) << "removing the former owner of the number took the new one out";
    EXPECT_EQ(manager.removeEndPoint(&successor), 0);
    endPoint.reconnect(); // forgets the number that is the successor's
}

TEST_F(KXEndPointConnectionTest, anEndPointThatIsClosedWhenAddedIsReportedAndRetried) {
    SocketEndPoint closed;
    closed.ownerCloses();
    RecordingHandler closedHandler;
    EXPECT_EQ(manager.addEndPoint(&closed, &closedHandler), 0);
    EXPECT_EQ(look(), 1);
    EXPECT_EQ(closedHandler.disconnected, 1);
    EXPECT_TRUE(passUntil(closedHandler.reconnected, 1));
    manager.removeEndPoint(&closed);
}

TEST_F(KXEndPointConnectionTest, aClosedEndPointAddedDuringAWaitIsReportedInIt) {
    KX::KXPipe pipe;
    RecordingHandler pipeHandler;
    std::thread adder([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_EQ(manager.addEndPoint(&pipe, &pipeHandler), 0);
    });
    const long long begin = getSteadyMs();
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 20000, 0), 1);
    EXPECT_LT(getSteadyMs() - begin, 900) << "it was found by the look of once a second, not by the adding";
    adder.join();
    EXPECT_EQ(pipeHandler.disconnected, 1);
    EXPECT_TRUE(passUntil(pipeHandler.reconnected, 1));
    EXPECT_TRUE(pipe.isConnected());
    EXPECT_EQ(manager.removeEndPoint(&pipe), 0);
}

} // namespace
