#include "EndPointKit.h"

namespace KX::PlatformTests {

/// The end point of the test is lost and comes back. A platform tries that about once a second.
class LostEndPoint : public EndPointTest {
protected:
    void SetUp() override {
        endPoint.mayReturn = false;
        ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    }

    /// Waits as the event layer's worker does, until \p count has the value.
    bool passUntil(const std::atomic<int>& count, int value) {
        const unsigned int begin = KXTick::getTickCount();
        while (count != value && KXTick::getTickCount() - begin < adapter().getPatienceMs())
            waitFor(100);
        return count == value;
    }
};

TEST_F(LostEndPoint, isReportedOnceAndNotReadAnyMore) {
    endPoint.send("x");
    endPoint.isThere = false;
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(waitFor(50), 0);
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(handler.readable, 0);
}

TEST_F(LostEndPoint, isRetriedAboutOnceASecondUnlessItIsRemoved) {
    ASSERT_EQ(manager.addEndPoint(&other, &otherHandler), STATUS_OK);
    endPoint.isThere = other.isThere = false;
    ASSERT_EQ(waitLong(), 2);
    ASSERT_EQ(manager.removeEndPoint(&other), STATUS_OK);
    const unsigned int begin = KXTick::getTickCount();
    EXPECT_EQ(waitFor(2100), 0) << "a failed attempt does not end the wait";
    EXPECT_GE(KXTick::getTickCount() - begin, 2100U);
    look(); // a retry that was due when the time was up
    const unsigned int seconds = (KXTick::getTickCount() - begin) / 1000;
    EXPECT_GE(endPoint.reconnects, 1);
    EXPECT_LE(endPoint.reconnects, static_cast<int>(2 * seconds));
    EXPECT_EQ(other.reconnects, 0);
}

TEST_F(LostEndPoint, isRetriedNoMoreOftenByShortWaits) {
    endPoint.isThere = false;
    ASSERT_EQ(waitLong(), 1);
    const unsigned int begin = KXTick::getTickCount();
    while (KXTick::getTickCount() - begin < 1100)
        waitFor(10);
    look();
    const unsigned int passed = KXTick::getTickCount() - begin;
    EXPECT_GE(endPoint.reconnects, 1);
    EXPECT_LE(endPoint.reconnects, static_cast<int>(passed / 500));
}

TEST_F(LostEndPoint, isReportedWhenItIsBackReadAgainAndMayBeLostAgain) {
    endPoint.isThere = false;
    ASSERT_EQ(waitLong(), 1);
    endPoint.mayReturn = true;
    ASSERT_TRUE(passUntil(handler.reconnected, 1));
    EXPECT_EQ(endPoint.reconnects, 1);
    endPoint.send("back");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.text, "back");
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(handler.reconnected, 1);
    endPoint.isThere = false;
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.disconnected, 2);
}

TEST_F(LostEndPoint, doesNotHinderOthers) {
    ASSERT_EQ(manager.addEndPoint(&other, &otherHandler), STATUS_OK);
    endPoint.isThere = false;
    ASSERT_EQ(waitLong(), 1);
    other.send("x");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(otherHandler.text, "x");
}

TEST_F(LostEndPoint, mayBeRemovedByItsHandler) {
    handler.onDisconnected = [this](TestEndPoint& lost) { EXPECT_EQ(manager.removeEndPoint(&lost), STATUS_OK); };
    endPoint.isThere = false;
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), STATUS_REFUSED);
    EXPECT_EQ(look(), 0);
}

TEST_F(LostEndPoint, endsAWaitThatGoesOn) {
    const Waiter waiter(manager, endlessMs());
    adapter().passTime(20);
    endPoint.isThere = false;
    EXPECT_TRUE(eventually([this] { return handler.disconnected == 1; }));
}

/// One that is closed when it is added, as a CAN bus is that comes up later.
class ClosedEndPoint : public EndPointTest {
protected:
    KXPipe closed;
};

TEST_F(ClosedEndPoint, isTakenReportedAndOpened) {
    ASSERT_EQ(manager.addEndPoint(&closed, &handler), STATUS_OK);
    EXPECT_EQ(handler.disconnected, 0) << "the next wait reports it, not the adding";
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.reconnected, 1);
    EXPECT_TRUE(closed.isConnected());
    EXPECT_EQ(manager.removeEndPoint(&closed), STATUS_OK);
}

TEST_F(ClosedEndPoint, isReportedByAWaitThatGoesOn) {
    const Waiter waiter(manager, endlessMs());
    adapter().passTime(20);
    ASSERT_EQ(manager.addEndPoint(&closed, &handler), STATUS_OK);
    EXPECT_TRUE(eventually([this] { return handler.disconnected == 1; }));
    EXPECT_EQ(manager.removeEndPoint(&closed), STATUS_OK);
}

} // namespace KX::PlatformTests
