#include "Simulated.h"

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"

namespace KX::test {

using testing::ElementsAre;
using testing::IsEmpty;

class CANBus : public Simulated {
protected:
    using Point = std::unique_ptr<KXCANRaw>;

    static Point open(int bus) { return Point(KXCANRaw::create(bus, 0, 0)); }

    static KXCANMessage frame(std::uint32_t canId) {
        KXCANMessage message;
        message.canId = canId;
        return message;
    }

    /// The identifiers of all frames that wait.
    static std::vector<std::uint32_t> readAll(KXEndPoint* endPoint) {
        std::vector<std::uint32_t> ids;
        KXCANMessage message;
        while (static_cast<KXCANRaw*>(endPoint)->readFrame(message) == 0)
            ids.push_back(message.canId);
        return ids;
    }

    Trace trace;
    TracingHandler handler{"can", trace, [this](KXEndPoint* endPoint) {
                               for (const auto id : readAll(endPoint))
                                   trace.push_back(atTick("frame " + std::to_string(id)));
                           }};
};

TEST_F(CANBus, OpenOneIsConnectedAndCanBeWaitedOn) {
    const Point first = open(0);
    const Point second = open(0);
    EXPECT_TRUE(first->isConnected());
    EXPECT_GT(first->getReadEndPointID(), 0);
    EXPECT_NE(first->getReadEndPointID(), second->getReadEndPointID());
    EXPECT_EQ(first->getWriteEndPointID(), -1);
    EXPECT_EQ(KXSimulation::getLivingObjects(), 2u);
}

TEST_F(CANBus, FrameArrivesAtItsTickAndNotOneBefore) {
    const Point bus = open(0);
    KXSimulation::scheduleCANFrame(0, 50, frame(1));
    KXSimulation::advance(49);
    EXPECT_THAT(readAll(bus.get()), IsEmpty());
    KXSimulation::advance(1);
    EXPECT_THAT(readAll(bus.get()), ElementsAre(1u));
}

TEST_F(CANBus, FrameOfThePresentOrAPassedTickArrivesAtOnce) {
    const Point bus = open(0);
    KXSimulation::setTick(100);
    KXSimulation::scheduleCANFrame(0, 100, frame(1));
    KXSimulation::scheduleCANFrame(0, 99, frame(2));
    KXSimulation::scheduleCANFrame(0, 101, frame(3));
    EXPECT_THAT(readAll(bus.get()), ElementsAre(1u, 2u));
}

TEST_F(CANBus, FrameArrivesWholeFlagBitsIncluded) {
    const Point bus = open(0);
    KXCANMessage sent;
    sent.canId = 0xF8FF0001u;
    sent.canLength = 3;
    sent.canData[0] = 0x11;
    sent.canData[2] = 0x33;
    sent.canAux = 7;
    KXSimulation::scheduleCANFrame(0, 0, sent);
    KXCANMessage received;
    ASSERT_EQ(bus->readFrame(received), 0);
    EXPECT_EQ(received.canId, sent.canId);
    EXPECT_EQ(received.canLength, sent.canLength);
    EXPECT_TRUE(std::equal(std::begin(sent.canData), std::end(sent.canData), std::begin(received.canData)));
    EXPECT_EQ(received.canAux, sent.canAux);
}

TEST_F(CANBus, FramesOfOneTickArriveInTheOrderOfTheCalls) {
    const Point bus = open(0);
    KXSimulation::scheduleCANFrame(0, 10, frame(3));
    KXSimulation::scheduleCANFrame(0, 10, frame(1));
    KXSimulation::scheduleCANFrame(0, 5, frame(9));
    KXSimulation::scheduleCANFrame(0, 10, frame(2));
    KXSimulation::advance(10);
    EXPECT_THAT(readAll(bus.get()), ElementsAre(9u, 3u, 1u, 2u));
}

TEST_F(CANBus, FramesArriveAcrossTheWrap) {
    KXSimulation::setTick(4294967290u);
    const Point bus = open(0);
    KXSimulation::scheduleCANFrame(0, 3, frame(2));
    KXSimulation::scheduleCANFrame(0, 4294967295u, frame(1));
    KXSimulation::advance(8);
    EXPECT_THAT(readAll(bus.get()), ElementsAre(1u));
    KXSimulation::advance(1);
    EXPECT_THAT(readAll(bus.get()), ElementsAre(2u));
}

TEST_F(CANBus, SetTickBringsTheFramesThatAreDueByIt) {
    const Point bus = open(0);
    KXSimulation::scheduleCANFrame(0, 10, frame(1));
    KXSimulation::scheduleCANFrame(0, 11, frame(2));
    KXSimulation::setTick(10);
    EXPECT_THAT(readAll(bus.get()), ElementsAre(1u));
}

TEST_F(CANBus, WaitingThreadIsServedAtTheTickOfTheFrame) {
    const Point bus = open(0);
    Worker worker("w", trace, 100);
    worker.getManager().addEndPoint(bus.get(), &handler);
    KXSimulation::scheduleCANFrame(0, 30, frame(1));
    KXSimulation::scheduleCANFrame(0, 30, frame(2));
    KXSimulation::scheduleCANFrame(0, 31, frame(3));
    KXSimulation::advance(140);
    EXPECT_THAT(trace, ElementsAre("can readable@30", "frame 1@30", "frame 2@30", "w!1@30", "can readable@31",
                                   "frame 3@31", "w!1@31", "w@131"));
}

TEST_F(CANBus, FrameAtTheTickOfAWaitIsServedByIt) {
    const Point bus = open(0);
    Worker worker("w", trace, 100);
    worker.getManager().addEndPoint(bus.get(), &handler);
    KXSimulation::scheduleCANFrame(0, 100, frame(1));
    KXSimulation::advance(100);
    EXPECT_THAT(trace, ElementsAre("can readable@100", "frame 1@100", "w!1@100"));
}

TEST_F(CANBus, DriversWaitEndsWithAFrame) {
    const Point bus = open(0);
    KXEndPointManager manager;
    manager.addEndPoint(bus.get(), &handler);
    KXSimulation::scheduleCANFrame(0, 30, frame(1));
    EXPECT_EQ(manager.waitForEndPoints(100, 0), 1);
    EXPECT_EQ(KXTick::getTickCount(), 30u);
}

TEST_F(CANBus, EachOpenEndPointGetsEveryFrameOfItsBusOnly) {
    const Point first = open(0);
    const Point second = open(0);
    const Point other = open(1);
    KXSimulation::scheduleCANFrame(0, 0, frame(1));
    KXSimulation::scheduleCANFrame(1, 0, frame(2));
    EXPECT_THAT(readAll(first.get()), ElementsAre(1u));
    EXPECT_THAT(readAll(second.get()), ElementsAre(1u));
    EXPECT_THAT(readAll(other.get()), ElementsAre(2u));
}

TEST_F(CANBus, FramesThatNobodyHearsAreLost) {
    KXSimulation::scheduleCANFrame(0, 10, frame(1));
    KXSimulation::scheduleCANFrame(0, 20, frame(2));
    KXSimulation::advance(10);
    const Point bus = open(0);
    KXSimulation::advance(10);
    EXPECT_THAT(readAll(bus.get()), ElementsAre(2u));
}

TEST_F(CANBus, PendingFramesAreThoseToComeAndThoseToRead) {
    EXPECT_EQ(KXSimulation::getPendingCANFrames(), 0u);
    const Point bus = open(0);
    KXSimulation::scheduleCANFrame(0, 10, frame(1));
    KXSimulation::scheduleCANFrame(1, 20, frame(2));
    EXPECT_EQ(KXSimulation::getPendingCANFrames(), 2u);
    KXSimulation::advance(10);
    EXPECT_EQ(KXSimulation::getPendingCANFrames(), 2u);
    readAll(bus.get());
    EXPECT_EQ(KXSimulation::getPendingCANFrames(), 1u);
    KXSimulation::advance(10);
    EXPECT_EQ(KXSimulation::getPendingCANFrames(), 0u) << "nobody heard the other";
}

TEST_F(CANBus, SettingIsRemembered) {
    EXPECT_EQ(KXSimulation::getCANSetting(0), -1);
    const Point bus = open(0);
    EXPECT_EQ(KXSimulation::getCANSetting(0), -1);
    EXPECT_EQ(bus->configure(0), 0);
    EXPECT_EQ(KXSimulation::getCANSetting(0), 0);
    EXPECT_EQ(bus->configure(255), 0);
    EXPECT_EQ(KXSimulation::getCANSetting(0), 255);
    EXPECT_EQ(KXSimulation::getCANSetting(1), -1);
}

TEST_F(CANBus, DownDisconnectsAndUpAloneDoesNotReconnect) {
    const Point bus = open(0);
    KXSimulation::scheduleCANFrame(0, 0, frame(1));
    KXSimulation::setCANBusDown(0, true);
    EXPECT_FALSE(bus->isConnected());
    EXPECT_EQ(bus->getReadEndPointID(), -1);
    EXPECT_EQ(bus->reconnect(), 20);
    EXPECT_THAT(readAll(bus.get()), IsEmpty()) << "lost with the connection";
    KXSimulation::scheduleCANFrame(0, 0, frame(2));
    KXSimulation::setCANBusDown(0, false);
    EXPECT_FALSE(bus->isConnected());
    KXSimulation::scheduleCANFrame(0, 0, frame(3));
    EXPECT_EQ(bus->reconnect(), 0);
    EXPECT_TRUE(bus->isConnected());
    KXSimulation::scheduleCANFrame(0, 0, frame(4));
    EXPECT_THAT(readAll(bus.get()), ElementsAre(4u));
}

TEST_F(CANBus, DownTakesNoOtherBusAlong) {
    const Point other = open(1);
    KXSimulation::setCANBusDown(0, true);
    EXPECT_TRUE(other->isConnected());
}

TEST_F(CANBus, ManagerReportsDownOnceAndUpAfterTheNextRetry) {
    const Point bus = open(0);
    Worker worker("w", trace, 100000);
    worker.getManager().addEndPoint(bus.get(), &handler);
    KXSimulation::advance(10);
    KXSimulation::setCANBusDown(0, true);
    EXPECT_THAT(trace, IsEmpty()) << "nobody runs because of it";
    KXSimulation::advance(2500);
    EXPECT_THAT(trace, ElementsAre("can lost@10", "w!1@10"));
    trace.clear();
    KXSimulation::setCANBusDown(0, false);
    KXSimulation::advance(499);
    EXPECT_THAT(trace, IsEmpty());
    KXSimulation::advance(1);
    EXPECT_THAT(trace, ElementsAre("can back@3010", "w!1@3010"));
    trace.clear();
    KXSimulation::scheduleCANFrame(0, 3020, frame(5));
    KXSimulation::advance(10);
    EXPECT_THAT(trace, ElementsAre("can readable@3020", "frame 5@3020", "w!1@3020"));
}

TEST_F(CANBus, OneThatIsDownIsGivenClosedUntilItsReconnectSucceeds) {
    KXSimulation::setCANBusDown(0, true);
    const Point bus = open(0);
    ASSERT_NE(bus, nullptr);
    EXPECT_FALSE(bus->isConnected());
    EXPECT_EQ(bus->getReadEndPointID(), -1);
    EXPECT_EQ(bus->reconnect(), 20);
    EXPECT_EQ(KXSimulation::getLivingObjects(), 1u);
    KXSimulation::scheduleCANFrame(0, 0, frame(1));
    KXSimulation::setCANBusDown(0, false);
    EXPECT_FALSE(bus->isConnected()) << "up alone does not reconnect";
    EXPECT_EQ(bus->reconnect(), 0);
    EXPECT_TRUE(bus->isConnected());
    KXSimulation::scheduleCANFrame(0, 0, frame(2));
    EXPECT_THAT(readAll(bus.get()), ElementsAre(2u));
}

TEST_F(CANBus, OneThatDoesNotExistIsNullAlsoWhenItIsDown) {
    KXSimulation::setCANBusDown(0, true);
    KXSimulation::refuseCANBuses(1);
    EXPECT_EQ(open(0), nullptr);
    EXPECT_NE(open(0), nullptr);
}

TEST_F(CANBus, ManagerReportsOneThatIsDownWhenAddedAndItsReturn) {
    // A test of this name shows the same calls on the Linux platform.
    KXSimulation::setCANBusDown(0, true);
    const Point bus = open(0);
    ASSERT_NE(bus, nullptr);
    KXEndPointManager manager;
    EXPECT_EQ(manager.addEndPoint(bus.get(), &handler), 0);
    EXPECT_THAT(trace, IsEmpty()) << "told by a wait only";
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 5000, 0), 1);
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 1500, 0), 0);
    KXSimulation::setCANBusDown(0, false);
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 5000, 0), 1);
    KXSimulation::scheduleCANFrame(0, KXTick::getTickCount(), frame(1));
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 5000, 0), 1);
    EXPECT_THAT(trace, ElementsAre("can lost@0", "can back@2000", "can readable@2000", "frame 1@2000"));
    EXPECT_EQ(manager.removeEndPoint(bus.get()), 0);
}

TEST_F(CANBus, RetryOfOneThatWasDownWhenAddedComesASecondAfterTheReport) {
    KXSimulation::setCANBusDown(0, true);
    const Point bus = open(0);
    ASSERT_NE(bus, nullptr);
    Worker worker("w", trace, 100000);
    KXSimulation::advance(10);
    worker.getManager().addEndPoint(bus.get(), &handler);
    KXSimulation::advance(0);
    KXSimulation::setCANBusDown(0, false);
    KXSimulation::advance(999);
    EXPECT_THAT(trace, ElementsAre("can lost@10", "w!1@10"));
    KXSimulation::advance(1);
    EXPECT_THAT(trace, ElementsAre("can lost@10", "w!1@10", "can back@1010", "w!1@1010"));
}

TEST_F(CANBus, SameScriptTwiceGivesTheSameTrace) {
    const auto play = [this] {
        KXSimulation::reset();
        trace.clear();
        const Point bus = open(0);
        Worker first("first", trace, 30);
        Worker second("second", trace, 20);
        first.getManager().addEndPoint(bus.get(), &handler);
        for (unsigned int i = 0; i < 20; ++i)
            KXSimulation::scheduleCANFrame(0, i * 7 % 40, frame(i));
        KXSimulation::setCANBusDown(0, false);
        KXSimulation::advance(60);
        return trace;
    };
    const Trace once = play();
    EXPECT_GT(once.size(), 30u);
    EXPECT_EQ(play(), once);
}

} // namespace KX::test
