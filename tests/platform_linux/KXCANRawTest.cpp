#include "platform/KXCANRaw.h"

#include "platform/KXCANMessage.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXTick.h"
#include "support/BusFolder.h"
#include "support/ChildProcess.h"
#include "support/SocketEndPoint.h"
#include "support/Waiting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <linux/can.h>
#include <memory>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using KX::KXCANMessage;
using KX::KXCANRaw;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// Sends to a virtual bus as another program does.
class Sender {
public:
    explicit Sender(std::string pathOfBus) : path(std::move(pathOfBus)) {}
    ~Sender() { close(descriptor); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    /// \param flags  0: waits while the bus is full
    bool send(const void* data, std::size_t size, int flags = MSG_DONTWAIT) {
        const sockaddr_un address = makeAddress(path);
        return sendto(descriptor, data, size, flags, reinterpret_cast<const sockaddr*>(&address),
                      sizeof(address)) == static_cast<ssize_t>(size);
    }

    bool sendFrame(canid_t id, unsigned char length = 8, unsigned char firstByte = 1) {
        can_frame frame{};
        frame.can_id = id;
        frame.can_dlc = length;
        for (unsigned char i = 0; i < 8; ++i)
            frame.data[i] = static_cast<unsigned char>(firstByte + i);
        return send(&frame, sizeof(frame));
    }

private:
    const std::string path;
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

class VirtualCANTest : public testing::Test {
protected:
    static void setBus(const std::string& value) { setenv("KX_CAN_BUS_0", value.c_str(), 1); }

    static std::unique_ptr<KXCANRaw> create(int bus = 0) {
        return std::unique_ptr<KXCANRaw>(KXCANRaw::create(bus, 0, 0));
    }

    /// Sends datagrams to the bus that are no frames.
    void dropOthers(int count) {
        const auto bus = create();
        ASSERT_NE(bus, nullptr);
        Sender sender(path);
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(sender.send("x", 1));
        KXCANMessage message;
        EXPECT_EQ(bus->readFrame(message), 20);
    }

    const BusFolder busFolder;
    const std::string& folder = busFolder.folder;
    const std::string& path = busFolder.path;
};

TEST_F(VirtualCANTest, givesAFrameAsItWasSent) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    EXPECT_TRUE(bus->isConnected());
    EXPECT_GE(bus->getReadEndPointID(), 0);
    EXPECT_EQ(bus->getWriteEndPointID(), -1);
    ASSERT_TRUE(Sender(path).sendFrame(0x18FF0001u | CAN_EFF_FLAG));
    KXCANMessage message;
    ASSERT_EQ(bus->readFrame(message), 0);
    EXPECT_EQ(message.canId, 0x98FF0001u) << "the flag of the long identifier is kept";
    EXPECT_EQ(message.canLength, 8u);
    EXPECT_THAT(message.canData, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_NE(bus->readFrame(message), 0);
}

TEST_F(VirtualCANTest, isNotInheritedByAProgramThatIsStarted) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    EXPECT_NE(fcntl(bus->getReadEndPointID(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(VirtualCANTest, bytesBeyondTheLengthAreZero) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    ASSERT_TRUE(Sender(path).sendFrame(0x123, 3));
    KXCANMessage message;
    std::memset(message.canData, 0xff, sizeof(message.canData));
    ASSERT_EQ(bus->readFrame(message), 0);
    EXPECT_EQ(message.canId, 0x123u);
    EXPECT_EQ(message.canLength, 3u);
    EXPECT_THAT(message.canData, ElementsAre(1, 2, 3, 0, 0, 0, 0, 0));
}

TEST_F(VirtualCANTest, framesComeInTheOrderOfTheBus) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    Sender sender(path);
    for (unsigned char i = 0; i < 5; ++i)
        ASSERT_TRUE(sender.sendFrame(i, 8, i));
    for (unsigned int i = 0; i < 5; ++i) {
        KXCANMessage message;
        ASSERT_EQ(bus->readFrame(message), 0);
        EXPECT_EQ(message.canId, i);
        EXPECT_EQ(message.canData[0], i);
    }
}

TEST_F(VirtualCANTest, aFloodComesWholeAndInOrder) {
    auto bus = create();
    ASSERT_NE(bus, nullptr);
    const unsigned int count = 10000;
    std::thread flood([this] {
        Sender sender(path);
        bool goesOn = true;
        for (unsigned int i = 0; goesOn && i < count; ++i) {
            can_frame frame{};
            frame.can_id = i | CAN_EFF_FLAG;
            frame.can_dlc = 8;
            goesOn = sender.send(&frame, sizeof(frame), 0);
            EXPECT_TRUE(goesOn) << "frame " << i;
        }
    });
    KXCANMessage message;
    unsigned int read = 0;
    for (bool goesOn = true; goesOn && read < count; read += goesOn ? 1 : 0) {
        goesOn = waitUntil([&] { return bus->readFrame(message) == 0; });
        if (goesOn && message.canId != (read | CAN_EFF_FLAG)) {
            ADD_FAILURE() << "frame " << read << " has the identifier " << message.canId;
            goesOn = false;
        }
    }
    EXPECT_EQ(read, count);
    EXPECT_NE(bus->readFrame(message), 0) << "more came than was sent";
    // After a failure the sender may still wait for room: let it go on.
    bus.reset();
    flood.join();
}

TEST_F(VirtualCANTest, anEmptyBusLeavesTheMessageUntouched) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    KXCANMessage message;
    message.canId = 5;
    message.canLength = 6;
    message.canData[7] = 7;
    message.canAux = 8;
    EXPECT_NE(bus->readFrame(message), 0);
    EXPECT_EQ(message.canId, 5u);
    EXPECT_EQ(message.canLength, 6u);
    EXPECT_EQ(message.canData[7], 7);
    EXPECT_EQ(message.canAux, 8u);
}

TEST_F(VirtualCANTest, errorAndRemoteFramesArePassedOver) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    Sender sender(path);
    ASSERT_TRUE(sender.sendFrame(0x10 | CAN_ERR_FLAG));
    ASSERT_TRUE(sender.sendFrame(0x11 | CAN_RTR_FLAG));
    ASSERT_TRUE(sender.sendFrame(0x12 | CAN_RTR_FLAG | CAN_EFF_FLAG));
    ASSERT_TRUE(sender.sendFrame(0x13));
    KXCANMessage message;
    ASSERT_EQ(bus->readFrame(message), 0);
    EXPECT_EQ(message.canId, 0x13u);
    EXPECT_NE(bus->readFrame(message), 0);
}

TEST_F(VirtualCANTest, otherDatagramsAreDroppedAndReportedOnce) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    Sender sender(path);
    const char bytes[200] = {};
    testing::internal::CaptureStderr();
    KXCANMessage message;
    for (const std::size_t size : {15u, 17u, 0u, 200u}) {
        ASSERT_TRUE(sender.send(bytes, size));
        ASSERT_TRUE(sender.sendFrame(static_cast<canid_t>(0x700 + size)));
        EXPECT_EQ(bus->readFrame(message), 0);
        EXPECT_EQ(message.canId, 0x700 + size) << "after a datagram of " << size << " bytes";
    }
    ASSERT_TRUE(sender.sendFrame(0x1, 9));
    EXPECT_NE(bus->readFrame(message), 0) << "a frame cannot have nine bytes";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_can_raw:1] bus 0: dropped a datagram of 15 bytes that is no CAN frame; more of them are only "
              "counted\n");
}

/// Runs one test of this program in another process. \return what it wrote
std::string runTestWith(const std::string& environment, const std::string& test) {
    const std::string command = environment + " '" KX_THIS_PROGRAM "' --gtest_filter='" + test + "' 2>&1";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    for (int character = std::fgetc(pipe.get()); character != EOF; character = std::fgetc(pipe.get()))
        output += static_cast<char>(character);
    return output;
}

TEST_F(VirtualCANTest, theNumberOfOtherDatagramsIsToldAtTheEnd) {
    // A program reads the levels when it starts.
    const std::string test = "VirtualCANTest.otherDatagramsAreDroppedAndReportedOnce";
    EXPECT_THAT(runTestWith("KX_DEBUG=kx_can_raw=2", test),
                HasSubstr("[kx_can_raw:2] bus 0: 5 datagrams were no CAN frames\n"));
    EXPECT_THAT(runTestWith("KX_DEBUG=kx_can_raw=1", test), Not(HasSubstr("datagrams")));
}

TEST_F(VirtualCANTest, oneOtherDatagramIsDropped) {
    dropOthers(1);
}

TEST_F(VirtualCANTest, twoOtherDatagramsAreDropped) {
    dropOthers(2);
}

TEST_F(VirtualCANTest, theNumberIsToldOnlyIfItIsMoreThanTheOneThatWasReported) {
    const std::string setting = "KX_DEBUG=kx_can_raw=2";
    EXPECT_THAT(runTestWith(setting, "VirtualCANTest.oneOtherDatagramIsDropped"),
                AllOf(HasSubstr("dropped a datagram of 1 bytes"), Not(HasSubstr("datagrams were"))));
    EXPECT_THAT(runTestWith(setting, "VirtualCANTest.twoOtherDatagramsAreDropped"),
                HasSubstr("[kx_can_raw:2] bus 0: 2 datagrams were no CAN frames\n"));
}

// It is tried once a second while the bus is down.
TEST_F(VirtualCANTest, aReconnectThatFailsIsToldInTracesOnly) {
    const std::string test = "VirtualCANTest.reconnectFailsWhileThePathIsTakenAndWorksLater";
    const std::string reason = "bus exists and is no socket\n";
    EXPECT_THAT(runTestWith("KX_DEBUG=kx_can_raw=4", test),
                AllOf(HasSubstr("[kx_can_raw:4] bus 0: "), HasSubstr(reason)));
    EXPECT_THAT(runTestWith("KX_DEBUG=kx_can_raw=3", test), Not(HasSubstr(reason)));
}

TEST_F(VirtualCANTest, hasOneSettingOnly) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    EXPECT_EQ(bus->configure(0), 0);
    EXPECT_EQ(bus->configure(1), 24);
    EXPECT_EQ(bus->configure(255), 24);
}

TEST_F(VirtualCANTest, itsSocketIsForTheOwnerOnlyWhateverTheMask) {
    const mode_t before = umask(0);
    const auto bus = create();
    umask(before);
    ASSERT_NE(bus, nullptr);
    struct stat status {};
    ASSERT_EQ(lstat(path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(VirtualCANTest, aSocketThatIsLeftOverIsReplaced) {
    for (const int type : {SOCK_DGRAM, SOCK_STREAM}) {
        close(bindSocket(path, type));
        const auto bus = create();
        ASSERT_NE(bus, nullptr);
        EXPECT_TRUE(Sender(path).sendFrame(1));
        KXCANMessage message;
        EXPECT_EQ(bus->readFrame(message), 0);
    }
}

TEST_F(VirtualCANTest, aSocketOfTheSameProcessIsReplacedAndOutlivesTheFormer) {
    auto first = create();
    const auto second = create();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    first.reset();
    EXPECT_TRUE(Sender(path).sendFrame(1)) << "the first took the socket of the second away";
    KXCANMessage message;
    EXPECT_EQ(second->readFrame(message), 0);
}

TEST_F(VirtualCANTest, aSocketOfAnotherProcessIsRefusedAndLeftAlone) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    EXPECT_EQ(runInChild([] { return KXCANRaw::create(0, 0, 0) == nullptr ? 0 : 1; }), 0);
    EXPECT_TRUE(Sender(path).sendFrame(1));
    KXCANMessage message;
    EXPECT_EQ(bus->readFrame(message), 0);
}

TEST_F(VirtualCANTest, aPathThatIsNoSocketIsRefusedAndLeftAlone) {
    close(open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    testing::internal::CaptureStderr();
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_can_raw:1] bus 0: " + path + " exists and is no socket\n");
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
}

TEST_F(VirtualCANTest, aPathThatCannotBeIsRefused) {
    const std::string tooLong = folder + "/" + std::string(sizeof(sockaddr_un::sun_path) - folder.size() - 1, 'x');
    for (const std::string& impossible : {std::string(), tooLong, folder + "/missing/bus"}) {
        setBus("unix:" + impossible);
        EXPECT_EQ(create(), nullptr) << impossible;
    }
    const std::string justRight = tooLong.substr(0, tooLong.size() - 1);
    setBus("unix:" + justRight);
    EXPECT_NE(create(), nullptr) << justRight;
}

TEST_F(VirtualCANTest, whyAPathCannotBeIsTold) {
    const std::string tooLong = folder + "/" + std::string(sizeof(sockaddr_un::sun_path) - folder.size() - 1, 'x');
    const std::string missing = folder + "/missing/bus";
    const std::string length = "the path of the virtual bus must have 1 to " +
                               std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " bytes";
    const std::pair<std::string, std::string> cases[] = {
        {"", length}, {tooLong, length}, {missing, missing + ": No such file or directory"}};
    for (const auto& [impossible, reason] : cases) {
        setBus("unix:" + impossible);
        testing::internal::CaptureStderr();
        EXPECT_EQ(create(), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "[kx_can_raw:1] bus 0: " + reason + "\n");
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder)) << "it was bound at another path";
}

TEST_F(VirtualCANTest, takesItsSocketAndItsDescriptorAway) {
    const int before = countOpenDescriptors();
    create().reset();
    EXPECT_FALSE(std::filesystem::exists(path));
    close(bindSocket(path, SOCK_STREAM));
    std::filesystem::remove(path);
    setBus("unix:" + folder);
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(countOpenDescriptors(), before);
}

TEST_F(VirtualCANTest, reconnectBindsAnew) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    std::filesystem::remove(path);
    EXPECT_EQ(bus->reconnect(), 0);
    EXPECT_TRUE(Sender(path).sendFrame(1));
    KXCANMessage message;
    EXPECT_EQ(bus->readFrame(message), 0);
}

TEST_F(VirtualCANTest, reconnectFailsWhileThePathIsTakenAndWorksLater) {
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_EQ(bus->reconnect(), 20);
    EXPECT_FALSE(bus->isConnected());
    EXPECT_EQ(bus->getReadEndPointID(), -1);
    KXCANMessage message;
    EXPECT_NE(bus->readFrame(message), 0);
    std::filesystem::remove(path);
    EXPECT_EQ(bus->reconnect(), 0);
    EXPECT_TRUE(bus->isConnected());
}

TEST_F(VirtualCANTest, isReadThroughAnEndPointManager) {
    class Reader : public RecordingHandler {
        void onEndPointReadable(KX::KXEndPoint* endPoint, KX::KXEndPointManager*) override {
            EXPECT_EQ(static_cast<KXCANRaw*>(endPoint)->readFrame(message), 0);
        }

    public:
        KXCANMessage message;
    } reader;
    const auto bus = create();
    ASSERT_NE(bus, nullptr);
    KX::KXEndPointManager manager;
    ASSERT_EQ(manager.addEndPoint(bus.get(), &reader), 0);
    ASSERT_TRUE(Sender(path).sendFrame(0x77));
    EXPECT_EQ(manager.waitForEndPoints(KX::KXTick::getTickCount() + 20000, 0), 1);
    EXPECT_EQ(reader.message.canId, 0x77u);
    EXPECT_EQ(manager.waitForEndPoints(KX::KXTick::getTickCount(), 0), 0);
    EXPECT_EQ(manager.removeEndPoint(bus.get()), 0);
}

TEST_F(VirtualCANTest, everyBusHasAVariableOfItsOwn) {
    setenv("KX_CAN_BUS_3", ("unix:" + folder + "/three").c_str(), 1);
    const auto bus = create(3);
    unsetenv("KX_CAN_BUS_3");
    ASSERT_NE(bus, nullptr);
    EXPECT_TRUE(Sender(folder + "/three").sendFrame(1));
}

TEST(KXCANRawCreate, refusesNegativeNumbers) {
    EXPECT_EQ(KXCANRaw::create(-1, 0, 0), nullptr);
    EXPECT_EQ(KXCANRaw::create(0, -1, 0), nullptr);
    EXPECT_EQ(KXCANRaw::create(0, 0, -1), nullptr);
}

TEST(KXCANRawCreate, saysWhichInterfaceCannotBeOpened) {
    setenv("KX_CAN_BUS_0", "kx-no-such", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(KXCANRaw::create(0, 0, 0), nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("[kx_can_raw:1] bus 0: kx-no-such: "));
    unsetenv("KX_CAN_BUS_0");
}

TEST(KXCANRawCreate, isTheInterfaceOfItsNumberByDefault) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(KXCANRaw::create(97, 0, 0), nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("bus 97: can97: "));
}

TEST(KXCANRawCreate, refusesANameThatNoInterfaceCanHave) {
    setenv("KX_CAN_BUS_0", "sixteencharacter", 1);
    EXPECT_EQ(KXCANRaw::create(0, 0, 0), nullptr);
    unsetenv("KX_CAN_BUS_0");
}

} // namespace
