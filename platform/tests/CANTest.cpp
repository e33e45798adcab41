#include "EndPointKit.h"
#include "platform/KXCANRaw.h"

#include <algorithm>
#include <vector>

namespace KX::PlatformTests {

constexpr std::uint32_t identifierBits = 0x1FFFFFFF;

/// A bus of the adapter with an end point on it.
class CAN : public PlatformTest {
protected:
    void SetUp() override {
        if (adapter().getBus() < 0)
            GTEST_SKIP() << "the adapter has no CAN bus (getBus)";
        bus = open();
        ASSERT_NE(bus, nullptr);
    }

    ~CAN() override {
        if (isDown)
            adapter().setBusDown(false);
    }

    static std::unique_ptr<KXCANRaw> open() {
        return std::unique_ptr<KXCANRaw>(KXCANRaw::create(adapter().getBus(), 0, 0));
    }

    static KXCANMessage makeFrame(std::uint32_t id, std::uint32_t length = 8) {
        KXCANMessage frame;
        frame.canId = id;
        frame.canLength = length;
        for (std::uint32_t i = 0; i < length; ++i)
            frame.canData[i] = static_cast<unsigned char>(0xA0 + i);
        return frame;
    }

    static void send(const KXCANMessage& frame) { ASSERT_TRUE(adapter().sendFrame(frame)); }

    bool readEventually(KXCANMessage& message) const {
        return eventually([&] { return bus->readFrame(message) == STATUS_OK; });
    }

    /// \return false when the adapter cannot
    bool takeDown() { return isDown = adapter().setBusDown(true); }

    void bringUp() {
        EXPECT_TRUE(adapter().setBusDown(false));
        isDown = false;
    }

    std::unique_ptr<KXCANRaw> bus;

private:
    bool isDown = false;
};

using NoCAN = PlatformTest;

TEST_F(NoCAN, aBusThatDoesNotExistIsNull) {
    EXPECT_EQ(std::unique_ptr<KXCANRaw>(KXCANRaw::create(adapter().getMissingBus(), 0, 0)), nullptr);
    EXPECT_EQ(std::unique_ptr<KXCANRaw>(KXCANRaw::create(-1, 0, 0)), nullptr);
}

TEST_F(CAN, aBusThatIsUpIsOpen) {
    EXPECT_TRUE(bus->isConnected());
    EXPECT_NE(bus->getReadEndPointID(), -1);
}

TEST_F(CAN, theDefaultSettingIsKnown) {
    EXPECT_EQ(bus->configure(0), STATUS_OK);
}

TEST_F(CAN, aFrameArrivesAsItWasSent) {
    for (const std::uint32_t id : {0x18FF0001U, 0U, identifierBits}) {
        const KXCANMessage sent = makeFrame(id);
        send(sent);
        KXCANMessage read;
        ASSERT_TRUE(readEventually(read));
        EXPECT_EQ(read.canId & identifierBits, id);
        EXPECT_EQ(read.canLength, 8U);
        EXPECT_TRUE(std::equal(sent.canData, sent.canData + 8, read.canData));
    }
}

TEST_F(CAN, bytesBeyondTheLengthAreZero) {
    for (const std::uint32_t length : {0U, 1U, 7U, 8U}) {
        send(makeFrame(0x123, length));
        KXCANMessage read;
        std::fill(read.canData, read.canData + 8, static_cast<unsigned char>(0xFF));
        ASSERT_TRUE(readEventually(read));
        EXPECT_EQ(read.canLength, length);
        for (std::uint32_t i = 0; i < 8; ++i)
            EXPECT_EQ(read.canData[i], i < length ? 0xA0 + i : 0) << "byte " << i << " of a frame of " << length;
    }
}

TEST_F(CAN, framesComeInTheOrderOfTheBus) {
    for (std::uint32_t id = 1; id <= 5; ++id)
        send(makeFrame(id));
    for (std::uint32_t id = 1; id <= 5; ++id) {
        KXCANMessage read;
        ASSERT_TRUE(readEventually(read));
        EXPECT_EQ(read.canId & identifierBits, id);
    }
}

TEST_F(CAN, aReadOfNothingIsRefusedAndLeavesTheMessageAlone) {
    KXCANMessage message = makeFrame(5, 6);
    message.canAux = 7;
    EXPECT_EQ(bus->readFrame(message), STATUS_REFUSED);
    EXPECT_EQ(message.canId, 5U);
    EXPECT_EQ(message.canLength, 6U);
    EXPECT_EQ(message.canData[5], 0xA5);
    EXPECT_EQ(message.canAux, 7U);
    EXPECT_TRUE(bus->isConnected()) << "it has not failed";
}

TEST_F(CAN, errorAndRemoteFramesAreNotDelivered) {
    if (!adapter().sendUndeliverableFrame())
        GTEST_SKIP() << "the adapter cannot send a frame that must not be delivered (sendUndeliverableFrame)";
    send(makeFrame(0x77));
    KXCANMessage read;
    ASSERT_TRUE(readEventually(read));
    EXPECT_EQ(read.canId & identifierBits, 0x77U);
    EXPECT_EQ(bus->readFrame(read), STATUS_REFUSED);
}

/// Reads one frame a call.
class FrameReader : public KXEndPointHandler {
public:
    void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager*) override {
        KXCANMessage message;
        EXPECT_EQ(static_cast<KXCANRaw*>(endPoint)->readFrame(message), STATUS_OK) << "called without a frame";
        ids.push_back(message.canId & identifierBits);
    }
    void onEndPointReconnected(KXEndPoint*) override { ++reconnected; }
    void onEndPointDisconnected(KXEndPoint*) override { ++disconnected; }

    std::vector<std::uint32_t> ids;
    int reconnected = 0;
    int disconnected = 0;
};

class CANOfManager : public CAN {
protected:
    int waitLong() { return manager.waitForEndPoints(KXTick::getTickCount() + adapter().getPatienceMs(), 0); }

    FrameReader reader;
    KXEndPointManager manager;
};

TEST_F(CANOfManager, aFrameEndsTheWait) {
    ASSERT_EQ(manager.addEndPoint(bus.get(), &reader), STATUS_OK);
    send(makeFrame(0x21));
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(reader.ids, std::vector<std::uint32_t>{0x21});
    EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount(), 0), 0);
    EXPECT_EQ(manager.removeEndPoint(bus.get()), STATUS_OK);
}

TEST_F(CANOfManager, framesThatWereNotReadAreToldAgain) {
    ASSERT_EQ(manager.addEndPoint(bus.get(), &reader), STATUS_OK);
    send(makeFrame(0x21));
    send(makeFrame(0x22));
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(reader.ids, (std::vector<std::uint32_t>{0x21, 0x22}));
    EXPECT_EQ(manager.removeEndPoint(bus.get()), STATUS_OK);
}

TEST_F(CANOfManager, aBusThatGoesDownIsReportedAndComesBack) {
    ASSERT_EQ(manager.addEndPoint(bus.get(), &reader), STATUS_OK);
    if (!takeDown())
        GTEST_SKIP() << "the adapter cannot take the bus down (setBusDown)";
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(reader.disconnected, 1);
    bringUp();
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(reader.reconnected, 1);
    send(makeFrame(0x23));
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(reader.ids, std::vector<std::uint32_t>{0x23});
    EXPECT_EQ(manager.removeEndPoint(bus.get()), STATUS_OK);
}

TEST_F(CANOfManager, aBusThatIsDownAtTheStartWorksOnceItIsUp) {
    bus.reset();
    if (!takeDown())
        GTEST_SKIP() << "the adapter cannot take the bus down (setBusDown)";
    bus = open();
    ASSERT_NE(bus, nullptr) << "it exists";
    EXPECT_FALSE(bus->isConnected());
    EXPECT_EQ(bus->getReadEndPointID(), -1);
    KXCANMessage message;
    EXPECT_EQ(bus->readFrame(message), STATUS_REFUSED);
    EXPECT_EQ(bus->reconnect(), STATUS_REFUSED);
    ASSERT_EQ(manager.addEndPoint(bus.get(), &reader), STATUS_OK);
    EXPECT_EQ(waitLong(), 1);
    EXPECT_EQ(reader.disconnected, 1);
    EXPECT_EQ(manager.removeEndPoint(bus.get()), STATUS_OK);
    bringUp();
    EXPECT_EQ(bus->reconnect(), STATUS_OK);
    EXPECT_TRUE(bus->isConnected());
}

TEST_F(CAN, reconnectGivesABusThatWorks) {
    EXPECT_EQ(bus->reconnect(), STATUS_OK);
    EXPECT_TRUE(bus->isConnected());
    send(makeFrame(0x31));
    KXCANMessage read;
    EXPECT_TRUE(readEventually(read));
}

TEST_F(CAN, itsStateMayBeAskedForWhileItReconnects) {
    std::atomic<bool> isDone{false};
    Meeting meeting(2);
    std::thread asking([&] {
        meeting.join();
        while (!isDone) {
            bus->isConnected();
            bus->getReadEndPointID();
        }
    });
    meeting.join();
    for (int round = 0; round < 50; ++round)
        EXPECT_EQ(bus->reconnect(), STATUS_OK);
    isDone = true;
    asking.join();
    EXPECT_TRUE(bus->isConnected());
}

} // namespace KX::PlatformTests
