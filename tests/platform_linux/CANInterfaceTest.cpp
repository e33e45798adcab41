#include "platform/KXCANRaw.h"

#include "platform/KXCANMessage.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXTick.h"
#include "support/SocketEndPoint.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <linux/can.h>
#include <linux/can/raw.h>
#include <memory>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using KX::KXCANMessage;
using KX::KXCANRaw;

/// Needs a kernel with CAN, an interface vcan0 and the right to take it down and up.
class CANInterfaceTest : public testing::Test {
protected:
    void SetUp() override {
        sender = socket(PF_CAN, SOCK_RAW | SOCK_CLOEXEC, CAN_RAW);
        if (sender < 0 || if_nametoindex("vcan0") == 0)
            GTEST_SKIP() << "this system has no virtual CAN interface vcan0";
        if (!setUp(true))
            GTEST_SKIP() << "this user may not take vcan0 up and down";
        setenv("KX_CAN_BUS_0", "vcan0", 1);
        sockaddr_can address{};
        address.can_family = AF_CAN;
        address.can_ifindex = static_cast<int>(if_nametoindex("vcan0"));
        ASSERT_EQ(bind(sender, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    }

    void TearDown() override {
        unsetenv("KX_CAN_BUS_0");
        if (sender >= 0) {
            setUp(true);
            close(sender);
        }
    }

    bool setUp(bool up) const {
        ifreq request{};
        std::strcpy(request.ifr_name, "vcan0");
        if (ioctl(sender, SIOCGIFFLAGS, &request) != 0)
            return false;
        request.ifr_flags = static_cast<short>(up ? request.ifr_flags | IFF_UP : request.ifr_flags & ~IFF_UP);
        const bool done = ioctl(sender, SIOCSIFFLAGS, &request) == 0;
        // A socket reports once that its interface went down. The next write must not get that report.
        int error = 0;
        socklen_t size = sizeof(error);
        getsockopt(sender, SOL_SOCKET, SO_ERROR, &error, &size);
        return done;
    }

    void sendFrame(canid_t id) const {
        can_frame frame{};
        frame.can_id = id;
        frame.can_dlc = 2;
        frame.data[0] = 0xab;
        ASSERT_EQ(write(sender, &frame, sizeof(frame)), static_cast<ssize_t>(sizeof(frame)));
    }

    int sender = -1;
};

TEST_F(CANInterfaceTest, givesFramesButNoRemoteFrames) {
    const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 500));
    ASSERT_NE(bus, nullptr);
    sendFrame(0x5 | CAN_RTR_FLAG);
    sendFrame(0x18FF0001u | CAN_EFF_FLAG);
    KXCANMessage message;
    ASSERT_TRUE(waitUntil([&] { return bus->readFrame(message) == 0; }));
    EXPECT_EQ(message.canId, 0x98FF0001u);
    EXPECT_EQ(message.canLength, 2u);
    EXPECT_EQ(message.canData[0], 0xab);
}

TEST_F(CANInterfaceTest, survivesAnInterfaceThatGoesDownAndComesBack) {
    const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
    ASSERT_NE(bus, nullptr);
    RecordingHandler handler;
    KX::KXEndPointManager manager;
    ASSERT_EQ(manager.addEndPoint(bus.get(), &handler), 0);
    ASSERT_TRUE(setUp(false));
    EXPECT_EQ(manager.waitForEndPoints(KX::KXTick::getTickCount() + 5000, 0), 1);
    EXPECT_EQ(handler.disconnected, 1);
    EXPECT_EQ(manager.waitForEndPoints(KX::KXTick::getTickCount() + 1500, 0), 0);
    ASSERT_TRUE(setUp(true));
    EXPECT_EQ(manager.waitForEndPoints(KX::KXTick::getTickCount() + 5000, 0), 1);
    EXPECT_EQ(handler.reconnected, 1);
    sendFrame(0x9);
    KXCANMessage message;
    EXPECT_TRUE(waitUntil([&] { return bus->readFrame(message) == 0; }));
    EXPECT_EQ(message.canId, 0x9u);
    manager.removeEndPoint(bus.get());
}

TEST_F(CANInterfaceTest, oneThatIsDownIsGivenClosed) {
    ASSERT_TRUE(setUp(false));
    const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
    ASSERT_NE(bus, nullptr);
    EXPECT_FALSE(bus->isConnected());
    EXPECT_EQ(bus->reconnect(), 20);
    ASSERT_TRUE(setUp(true));
    EXPECT_EQ(bus->reconnect(), 0);
    EXPECT_TRUE(bus->isConnected());
}

} // namespace
