#include "EndPointKit.h"

#include <vector>

namespace KX::PlatformTests {

constexpr unsigned int halfTheClock = 0x80000000U;

using EndPoints = EndPointTest;

TEST_F(EndPoints, nullStrangersAndDoublesAreRefused) {
    EXPECT_EQ(manager.addEndPoint(nullptr, &handler), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(manager.addEndPoint(&endPoint, nullptr), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), STATUS_REFUSED);
    EXPECT_EQ(manager.removeEndPoint(nullptr), STATUS_REFUSED);
    EXPECT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    EXPECT_EQ(manager.addEndPoint(&endPoint, &otherHandler), STATUS_REFUSED);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), STATUS_OK);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), STATUS_REFUSED);
    EXPECT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
}

TEST_F(EndPoints, addingCallsNoHandler) {
    endPoint.send("x");
    other.isThere = false;
    EXPECT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    EXPECT_EQ(manager.addEndPoint(&other, &handler), STATUS_OK);
    EXPECT_EQ(handler.readable + handler.disconnected, 0);
}

TEST_F(EndPoints, aWaitWithoutAnyTakesAllItsTime) {
    const unsigned int begin = KXTick::getTickCount();
    EXPECT_EQ(manager.waitForEndPoints(begin + 60, 0), 0);
    EXPECT_GE(KXTick::getTickCount() - begin, 60U);
    EXPECT_LT(KXTick::getTickCount() - begin, halfTheClock);
}

TEST_F(EndPoints, aWaitWithSilentOnesTakesAllItsTime) {
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    for (const unsigned int ms : {1U, 2U, 60U}) {
        const unsigned int begin = KXTick::getTickCount();
        EXPECT_EQ(manager.waitForEndPoints(begin + ms, 0), 0);
        EXPECT_GE(KXTick::getTickCount() - begin, ms) << "it ended early";
    }
    EXPECT_EQ(handler.readable, 0);
}

TEST_F(EndPoints, aTickThatHasComeMeansToLookOnce) {
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    for (const unsigned int ago : {0U, 1U, halfTheClock - 60000}) {
        const unsigned int begin = KXTick::getTickCount();
        EXPECT_EQ(manager.waitForEndPoints(begin - ago, 0), 0) << ago << " ms ago";
        EXPECT_LT(KXTick::getTickCount() - begin, adapter().getPatienceMs());
        endPoint.send("x");
        EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() - ago, 0), 1) << ago << " ms ago";
    }
    EXPECT_EQ(handler.text, "xxx");
}

TEST_F(EndPoints, aWaitGoesOnAcrossTheWrapOfTheClock) {
    if (!adapter().setTick(0xFFFFFFFFU - 40))
        GTEST_SKIP() << "the adapter cannot set the clock (setTick)";
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    const unsigned int begin = KXTick::getTickCount();
    EXPECT_EQ(manager.waitForEndPoints(begin + 100, 0), 0);
    EXPECT_GE(KXTick::getTickCount() - begin, 100U);
    EXPECT_LT(KXTick::getTickCount() - begin, halfTheClock);
}

TEST_F(EndPoints, aTickBeforeTheWrapHasPassedAndTickZeroIsOneLikeAnyOther) {
    if (!adapter().setTick(10))
        GTEST_SKIP() << "the adapter cannot set the clock (setTick)";
    EXPECT_EQ(manager.waitForEndPoints(0xFFFFFFF0U, 0), 0);
    EXPECT_LT(KXTick::getTickCount(), 10 + adapter().getPatienceMs());
    adapter().setTick(0U - 20);
    EXPECT_EQ(manager.waitForEndPoints(0, 0), 0);
    EXPECT_LT(KXTick::getTickCount(), halfTheClock) << "it ended early";
}

TEST_F(EndPoints, theHandlerOfAReadableOneIsToldWhichAndByWhom) {
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    ASSERT_EQ(manager.addEndPoint(&other, &otherHandler), STATUS_OK);
    endPoint.send("hello");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.text, "hello");
    EXPECT_EQ(handler.lastEndPoint, &endPoint);
    EXPECT_EQ(handler.lastManager, &manager);
    EXPECT_EQ(otherHandler.readable, 0);
    EXPECT_EQ(look(), 0) << "it was read to the end";
}

TEST_F(EndPoints, aWaitCallsEachReadableOneOnce) {
    std::vector<std::unique_ptr<TestEndPoint>> many;
    for (int i = 0; i < 50; ++i) {
        many.push_back(std::make_unique<TestEndPoint>());
        ASSERT_EQ(manager.addEndPoint(many.back().get(), &handler), STATUS_OK);
        many.back()->send("x");
    }
    EXPECT_EQ(waitLong(), 50);
    EXPECT_EQ(handler.text, std::string(50, 'x'));
    EXPECT_EQ(look(), 0);
    for (const auto& one : many)
        EXPECT_EQ(manager.removeEndPoint(one.get()), STATUS_OK);
}

TEST_F(EndPoints, whatWasNotReadToTheEndIsToldAgain) {
    handler.mostBytes = 1;
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    endPoint.send("abc");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(handler.text, "abc");
}

TEST_F(EndPoints, oneThatAnotherHandlerReadEmptyIsNotCalled) {
    handler.onReadable = [this](TestEndPoint&) { EXPECT_EQ(other.receive(), "b"); };
    otherHandler.onReadable = [this](TestEndPoint&) { EXPECT_EQ(endPoint.receive(), "a"); };
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    ASSERT_EQ(manager.addEndPoint(&other, &otherHandler), STATUS_OK);
    endPoint.send("a");
    other.send("b");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.readable + otherHandler.readable, 1);
}

TEST_F(EndPoints, aRemovedOneIsNotCalled) {
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    endPoint.send("x");
    ASSERT_EQ(manager.removeEndPoint(&endPoint), STATUS_OK);
    EXPECT_EQ(waitFor(20), 0);
    EXPECT_EQ(handler.readable, 0);
}

TEST_F(EndPoints, aHandlerMayRemoveItsEndPoint) {
    handler.onReadable = [this](TestEndPoint& self) { EXPECT_EQ(manager.removeEndPoint(&self), STATUS_OK); };
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    endPoint.send("x");
    EXPECT_EQ(waitLong(), 1);
    endPoint.send("y");
    EXPECT_EQ(look(), 0);
    EXPECT_EQ(manager.removeEndPoint(&endPoint), STATUS_REFUSED);
}

TEST_F(EndPoints, aHandlerMayRemoveAndDestroyAllOfARound) {
    auto first = std::make_unique<TestEndPoint>();
    auto second = std::make_unique<TestEndPoint>();
    handler.onReadable = [&](TestEndPoint&) {
        EXPECT_EQ(manager.removeEndPoint(first.get()), STATUS_OK);
        EXPECT_EQ(manager.removeEndPoint(second.get()), STATUS_OK);
        first.reset();
        second.reset();
    };
    ASSERT_EQ(manager.addEndPoint(first.get(), &handler), STATUS_OK);
    ASSERT_EQ(manager.addEndPoint(second.get(), &handler), STATUS_OK);
    first->send("x");
    second->send("x");
    EXPECT_EQ(waitLong(), 1) << "both could be read, but the first handler removed the second end point";
    EXPECT_EQ(handler.readable, 1);
}

TEST_F(EndPoints, aHandlerMayAddItsEndPointAnewForAnotherHandler) {
    handler.onReadable = [this](TestEndPoint& self) {
        EXPECT_EQ(manager.removeEndPoint(&self), STATUS_OK);
        EXPECT_EQ(manager.addEndPoint(&self, &otherHandler), STATUS_OK);
    };
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    endPoint.send("x");
    EXPECT_EQ(waitLong(), 1);
    endPoint.send("y");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(handler.text, "x");
    EXPECT_EQ(otherHandler.text, "y");
}

TEST_F(EndPoints, aHandlerMayAddAnother) {
    handler.onReadable = [this](TestEndPoint&) {
        EXPECT_EQ(manager.addEndPoint(&other, &otherHandler), STATUS_OK);
    };
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    other.send("waiting");
    endPoint.send("x");
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(otherHandler.text, "waiting");
}

TEST_F(EndPoints, managersAreIndependentOfEachOther) {
    KXEndPointManager second;
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    ASSERT_EQ(second.addEndPoint(&other, &otherHandler), STATUS_OK);
    endPoint.send("x");
    EXPECT_EQ(second.waitForEndPoints(KXTick::getTickCount(), 0), 0);
    EXPECT_EQ(look(), 1);
}

TEST_F(EndPoints, aManagerMayGoWhileSomeAreRegistered) {
    auto temporary = std::make_unique<KXEndPointManager>();
    ASSERT_EQ(temporary->addEndPoint(&endPoint, &handler), STATUS_OK);
    temporary.reset();
    EXPECT_TRUE(endPoint.isConnected()) << "it is left alone";
    ASSERT_EQ(manager.addEndPoint(&endPoint, &handler), STATUS_OK);
    endPoint.send("x");
    EXPECT_EQ(waitLong(), 1);
}

} // namespace KX::PlatformTests
