#include "platform/KXCANRaw.h"

#include "platform/KXCANMessage.h"
#include "platform/KXEndPointHandler.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXTick.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/can.h>
#include <linux/can/raw.h>
#include <memory>
#include <net/if.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace {

/// Stands in for a CAN interface "can0", which the kernel may not have.
struct {
    bool isUp = false;
    bool refusesToBind = false;
    int errorOfRead = 0;        ///< what each read gives; 0: it works
    int remoteFramesBefore = 0; ///< so many remote frames come before what the other node sends
    int otherNode = -1;
    int typeOfSocket = 0; ///< which the program asked for last
    int boundTo = 0;      ///< number of the interface
    int bufferBytes = -1; ///< which the program asked for last; -1: for none
} can0;

constexpr int numberOfCAN0 = 7;

int answerAboutInterface(unsigned long question, ifreq& request) {
    if (std::strcmp(request.ifr_name, "can0") != 0) {
        errno = ENODEV;
        return -1;
    }
    if (question == SIOCGIFINDEX)
        request.ifr_ifindex = numberOfCAN0;
    else
        request.ifr_flags = can0.isUp ? IFF_UP : 0;
    return 0;
}

} // namespace

// Replace functions of the system for the whole program, libraries included.

extern "C" KX_EXPORT int socket(int domain, int type, int protocol) noexcept {
    if (domain != PF_CAN)
        return static_cast<int>(syscall(SYS_socket, domain, type, protocol));
    can0.typeOfSocket = type;
    int ends[2] = {-1, -1};
    socketpair(AF_UNIX, SOCK_DGRAM | (type & (SOCK_NONBLOCK | SOCK_CLOEXEC)), 0, ends);
    close(can0.otherNode);
    can0.otherNode = ends[1];
    return ends[0];
}

/// What the kernel is asked for last, and what it is asked to let through.
char askedInterface[IFNAMSIZ] = "";
can_filter askedFilter{};

extern "C" KX_EXPORT int setsockopt(int descriptor, int level, int name, const void* value,
                                    socklen_t size) noexcept {
    if (level == SOL_SOCKET && name == SO_RCVBUF)
        std::memcpy(&can0.bufferBytes, value, sizeof(can0.bufferBytes));
    if (level != SOL_CAN_RAW)
        return static_cast<int>(syscall(SYS_setsockopt, descriptor, level, name, value, size));
    if (name == CAN_RAW_FILTER && size == sizeof(askedFilter))
        std::memcpy(&askedFilter, value, size);
    return 0;
}

extern "C" KX_EXPORT int ioctl(int descriptor, unsigned long question, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, question);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (question == SIOCGIFINDEX)
        std::memcpy(askedInterface, static_cast<ifreq*>(argument)->ifr_name, sizeof(askedInterface));
    if (question == SIOCGIFINDEX || question == SIOCGIFFLAGS)
        return answerAboutInterface(question, *static_cast<ifreq*>(argument));
    return static_cast<int>(syscall(SYS_ioctl, descriptor, question, argument));
}

extern "C" KX_EXPORT int bind(int descriptor, const sockaddr* address, socklen_t size) noexcept {
    if (address->sa_family != AF_CAN)
        return static_cast<int>(syscall(SYS_bind, descriptor, address, size));
    can0.boundTo = reinterpret_cast<const sockaddr_can*>(address)->can_ifindex;
    if (!can0.refusesToBind)
        return 0;
    errno = ENODEV;
    return -1;
}

extern "C" KX_EXPORT ssize_t recv(int descriptor, void* buffer, std::size_t size, int flags) {
    if (can0.errorOfRead && descriptor >= 0) {
        errno = can0.errorOfRead;
        return -1;
    }
    if (can0.remoteFramesBefore == 0)
        return recvfrom(descriptor, buffer, size, flags, nullptr, nullptr);
    --can0.remoteFramesBefore;
    can_frame frame{};
    frame.can_id = CAN_RTR_FLAG;
    std::memcpy(buffer, &frame, sizeof(frame));
    return sizeof(frame);
}

namespace {

using KX::KXCANRaw;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TracingHandler : public KX::KXEndPointHandler {
public:
    void onEndPointReadable(KX::KXEndPoint* endPoint, KX::KXEndPointManager*) override {
        trace.push_back("readable");
        KX::KXCANMessage message;
        while (static_cast<KXCANRaw*>(endPoint)->readFrame(message) == 0)
            trace.push_back("frame " + std::to_string(message.canId));
    }

    void onEndPointReconnected(KX::KXEndPoint*) override { trace.push_back("back"); }

    void onEndPointDisconnected(KX::KXEndPoint*) override { trace.push_back("lost"); }

    std::vector<std::string> trace;
};

class KXCANStartTest : public testing::Test {
protected:
    void TearDown() override {
        can0.isUp = false;
        can0.refusesToBind = false;
        can0.errorOfRead = 0;
        can0.remoteFramesBefore = 0;
        unsetenv("KX_CAN_BUS_0");
    }

    static std::unique_ptr<KXCANRaw> open() { return std::unique_ptr<KXCANRaw>(KXCANRaw::create(0, 0, 0)); }

    static void otherNodeSends(canid_t id) {
        can_frame frame{};
        frame.can_id = id;
        ASSERT_EQ(write(can0.otherNode, &frame, sizeof(frame)), static_cast<ssize_t>(sizeof(frame)));
    }

    int waitForMs(unsigned int ms) { return manager.waitForEndPoints(KX::KXTick::getTickCount() + ms, 0); }

    KX::KXEndPointManager manager;
    TracingHandler handler;
};

TEST_F(KXCANStartTest, oneThatIsUpIsGivenOpen) {
    can0.isUp = true;
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    EXPECT_TRUE(bus->isConnected());
    EXPECT_GE(bus->getReadEndPointID(), 0);
    EXPECT_NE(fcntl(bus->getReadEndPointID(), F_GETFD) & FD_CLOEXEC, 0) << "a program that is started inherits it";
    EXPECT_EQ(can0.typeOfSocket, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC)
        << "the kernel takes no other for raw frames";
}

TEST_F(KXCANStartTest, oneThatIsDownIsGivenClosedUntilItsReconnectSucceeds) {
    testing::internal::CaptureStderr();
    const auto bus = open();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[kx_can_raw:1] bus 0: can0 is down\n");
    ASSERT_NE(bus, nullptr);
    EXPECT_FALSE(bus->isConnected());
    EXPECT_EQ(bus->getReadEndPointID(), -1);
    EXPECT_EQ(bus->reconnect(), 20);
    can0.isUp = true;
    EXPECT_FALSE(bus->isConnected()) << "up alone does not reconnect";
    EXPECT_EQ(bus->reconnect(), 0);
    EXPECT_TRUE(bus->isConnected());
}

TEST_F(KXCANStartTest, oneThatDoesNotExistIsNullAndTold) {
    setenv("KX_CAN_BUS_0", "can7", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(open(), nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("[kx_can_raw:1] bus 0: can7: No such device"));
}

TEST_F(KXCANStartTest, oneThatIsNoCANInterfaceIsNullAndTold) {
    can0.isUp = true;
    can0.refusesToBind = true;
    testing::internal::CaptureStderr();
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[kx_can_raw:1] bus 0: can0: No such device\n");
}

TEST_F(KXCANStartTest, closesItsSocketAtItsEnd) {
    can0.isUp = true;
    auto bus = open();
    ASSERT_NE(bus, nullptr);
    const int descriptor = bus->getReadEndPointID();
    bus.reset();
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST_F(KXCANStartTest, anInterfaceMayHaveTheLongestName) {
    const std::string longest(IFNAMSIZ - 1, 'x');
    for (const std::string& name : {longest, longest + "x"}) {
        askedInterface[0] = '\0';
        setenv("KX_CAN_BUS_0", name.c_str(), 1);
        testing::internal::CaptureStderr();
        EXPECT_EQ(open(), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  name == longest ? "[kx_can_raw:1] bus 0: " + name + ": No such device\n"
                                  : "[kx_can_raw:1] bus 0: \"" + name + "\" cannot be the name of an interface\n");
        EXPECT_EQ(askedInterface, name == longest ? name : "");
    }
}

TEST_F(KXCANStartTest, noNumberMayBeNegative) {
    can0.isUp = true;
    const struct {
        int bus, bitRate, receiveBuffer;
        const char* text;
    } cases[] = {{-1, 0, 0, "(-1, 0, 0)"}, {0, -1, 0, "(0, -1, 0)"}, {0, 0, -1, "(0, 0, -1)"}};
    for (const auto& test : cases) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(KXCANRaw::create(test.bus, test.bitRate, test.receiveBuffer), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string("[kx_can_raw:1] a bus cannot be opened with a negative number ") + test.text + "\n");
    }
}

TEST_F(KXCANStartTest, theKernelKeepsRemoteFramesBack) {
    can0.isUp = true;
    ASSERT_NE(open(), nullptr);
    const auto passes = [](canid_t id) {
        return (id & askedFilter.can_mask) == (askedFilter.can_id & askedFilter.can_mask);
    };
    EXPECT_TRUE(passes(0x123));
    EXPECT_TRUE(passes(0x18FF0001 | CAN_EFF_FLAG));
    EXPECT_FALSE(passes(0x123 | CAN_RTR_FLAG));
    EXPECT_FALSE(passes(0x18FF0001 | CAN_EFF_FLAG | CAN_RTR_FLAG));
}

TEST_F(KXCANStartTest, aBitRateIsLeftToTheSystemAndTold) {
    can0.isUp = true;
    testing::internal::CaptureStderr();
    const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 250000, 0));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_can_raw:1] bus 0: the bit rate of can0 is set up by the system, not to 250000\n");
    ASSERT_NE(bus, nullptr);
    EXPECT_TRUE(bus->isConnected());
}

TEST_F(KXCANStartTest, aLargerReceiveBufferIsLarger) {
    can0.isUp = true;
    const auto sizeOf = [](int frames) {
        const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, frames));
        int bytes = 0;
        socklen_t size = sizeof(bytes);
        EXPECT_EQ(getsockopt(bus->getReadEndPointID(), SOL_SOCKET, SO_RCVBUF, &bytes, &size), 0);
        return bytes;
    };
    EXPECT_LT(sizeOf(8), sizeOf(80));
}

// The kernel doubles the size, which must not be more than an int can hold.
TEST_F(KXCANStartTest, aReceiveBufferIsAskedForWithRoomForTheFramesUnlessItIsTheDefault) {
    can0.isUp = true;
    const struct {
        int frames, bytes;
    } cases[] = {{0, -1},
                 {1, 512},
                 {2, 1024},
                 {2097150, 1073740800},
                 {2097151, 1073741312},
                 {2097152, 1073741312},
                 {INT_MAX, 1073741312}};
    for (const auto& test : cases) {
        can0.bufferBytes = -1;
        const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, test.frames));
        EXPECT_EQ(can0.bufferBytes, test.bytes) << test.frames << " frames";
    }
}

TEST_F(KXCANStartTest, readsItsInterfaceOnly) {
    can0.isUp = true;
    can0.boundTo = 0;
    ASSERT_NE(open(), nullptr);
    EXPECT_EQ(can0.boundTo, numberOfCAN0) << "0 would be all interfaces";
}

TEST_F(KXCANStartTest, aProgramWithoutStandardInputReadsItAtDescriptor0) {
    can0.isUp = true;
    const int standardInput = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
    close(STDIN_FILENO);
    auto bus = open();
    EXPECT_NE(bus, nullptr);
    if (bus) {
        EXPECT_EQ(bus->getReadEndPointID(), 0);
        otherNodeSends(1);
        KX::KXCANMessage message;
        EXPECT_EQ(bus->readFrame(message), 0);
        bus.reset();
        EXPECT_EQ(fcntl(0, F_GETFD), -1);
    }
    if (standardInput >= 0)
        dup2(standardInput, STDIN_FILENO);
    close(standardInput);
}

TEST_F(KXCANStartTest, oneThatGoesDownWhileItIsReadIsToldOnceAndComesBack) {
    can0.isUp = true;
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    ASSERT_EQ(manager.addEndPoint(bus.get(), &handler), 0);
    can0.errorOfRead = ENETDOWN;
    otherNodeSends(1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(waitForMs(5000), 1);
    EXPECT_FALSE(bus->isConnected());
    EXPECT_EQ(waitForMs(5000), 1);
    KX::KXCANMessage message;
    EXPECT_EQ(bus->readFrame(message), 20);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[kx_can_raw:1] bus 0: Network is down\n");
    can0.errorOfRead = 0;
    EXPECT_EQ(waitForMs(5000), 1);
    otherNodeSends(2);
    EXPECT_EQ(waitForMs(5000), 1);
    EXPECT_THAT(handler.trace, ElementsAre("readable", "lost", "back", "readable", "frame 2"));
    EXPECT_EQ(manager.removeEndPoint(bus.get()), 0);
}

TEST_F(KXCANStartTest, aCallPassesOver64FramesAtMostThatAreNotDelivered) {
    can0.isUp = true;
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    for (const int remoteFrames : {63, 64, 65}) {
        otherNodeSends(1);
        can0.remoteFramesBefore = remoteFrames;
        KX::KXCANMessage message;
        EXPECT_EQ(bus->readFrame(message), remoteFrames < 64 ? 0 : 20) << remoteFrames;
        if (remoteFrames >= 64)
            EXPECT_EQ(bus->readFrame(message), 0) << "the next call goes on";
        EXPECT_EQ(message.canId, 1u);
    }
}

TEST_F(KXCANStartTest, aReadThatASignalInterruptsGoesOn) {
    can0.isUp = true;
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    otherNodeSends(1);
    can0.errorOfRead = EINTR;
    KX::KXCANMessage message;
    EXPECT_EQ(bus->readFrame(message), 20) << "not for ever";
    EXPECT_TRUE(bus->isConnected());
    can0.errorOfRead = 0;
    EXPECT_EQ(bus->readFrame(message), 0);
}

TEST_F(KXCANStartTest, managerReportsOneThatIsDownWhenAddedAndItsReturn) {
    // A test of this name shows the same calls on the simulated platform.
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    EXPECT_EQ(manager.addEndPoint(bus.get(), &handler), 0);
    EXPECT_THAT(handler.trace, IsEmpty()) << "told by a wait only";
    EXPECT_EQ(waitForMs(5000), 1);
    EXPECT_EQ(waitForMs(1500), 0);
    can0.isUp = true;
    EXPECT_EQ(waitForMs(5000), 1);
    otherNodeSends(1);
    EXPECT_EQ(waitForMs(5000), 1);
    EXPECT_THAT(handler.trace, ElementsAre("lost", "back", "readable", "frame 1"));
    EXPECT_EQ(manager.removeEndPoint(bus.get()), 0);
}

} // namespace
