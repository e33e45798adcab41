#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "platform/KXEndPointHandler.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXTick.h"
#include "support/BusFolder.h"
#include "support/ChildProcess.h"
#include "support/ResourceLimit.h"
#include "support/SteadyClock.h"
#include "support/Waiting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

/// Runs once, when a process has found nobody behind a socket file.
std::function<void()> afterProbe;

/// Runs once, when a process has bound a socket.
std::function<void()> afterBind;

/// Runs once, before a look at a file.
std::function<void()> beforeLook;

/// What the looks at files give.
struct {
    int count = 0;
    int error = 0;        ///< of each; 0: none
    ino_t fileNumber = 0; ///< of each file; 0: as they are
} looks;

/// Calls it at most once.
void callOnce(std::function<void()>& function) {
    const int error = errno;
    if (const std::function<void()> call = std::exchange(function, nullptr))
        call();
    errno = error;
}

} // namespace

// Replace functions of the system for the whole program, libraries included.

extern "C" KX_EXPORT int connect(int descriptor, const sockaddr* address, socklen_t size) {
    const auto result = static_cast<int>(syscall(SYS_connect, descriptor, address, size));
    callOnce(afterProbe);
    return result;
}

extern "C" KX_EXPORT int lstat(const char* path, struct stat* status) noexcept {
    callOnce(beforeLook);
    ++looks.count;
    if (looks.error != 0) {
        errno = looks.error;
        return -1;
    }
    const int result = fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
    if (result == 0 && looks.fileNumber != 0)
        status->st_ino = looks.fileNumber;
    return result;
}

extern "C" KX_EXPORT int bind(int descriptor, const sockaddr* address, socklen_t size) noexcept {
    const auto result = static_cast<int>(syscall(SYS_bind, descriptor, address, size));
    callOnce(afterBind);
    return result;
}

namespace {

using KX::KXCANRaw;
using testing::ElementsAre;
using testing::HasSubstr;

class TracingHandler : public KX::KXEndPointHandler {
public:
    void onEndPointReadable(KX::KXEndPoint* endPoint, KX::KXEndPointManager*) override {
        KX::KXCANMessage message;
        while (static_cast<KXCANRaw*>(endPoint)->readFrame(message) == 0)
            trace.push_back("frame " + std::to_string(message.canId));
    }

    void onEndPointReconnected(KX::KXEndPoint*) override { trace.push_back("back"); }

    void onEndPointDisconnected(KX::KXEndPoint*) override { trace.push_back("lost"); }

    std::vector<std::string> trace;
};

/// The result of an attempt to open the bus.
enum Found { noBus, closedBus, openBus };

class VirtualCANLossTest : public testing::Test {
protected:
    void TearDown() override { looks = {}; }

    static std::unique_ptr<KXCANRaw> open() { return std::unique_ptr<KXCANRaw>(KXCANRaw::create(0, 0, 0)); }

    static int openAndTell() {
        const auto bus = open();
        if (!bus)
            return noBus;
        return bus->isConnected() ? openBus : closedBus;
    }

    bool isReached(KXCANRaw& bus) {
        KX::KXCANMessage message;
        return sendFrame(folder.path, 0x77) && bus.readFrame(message) == 0;
    }

    void waitUntilTraceHas(std::size_t entries) {
        EXPECT_TRUE(waitUntil([&] {
            manager.waitForEndPoints(KX::KXTick::getTickCount() + 20, 0);
            return handler.trace.size() >= entries;
        }));
    }

    const BusFolder folder;
    KX::KXEndPointManager manager;
    TracingHandler handler;
};

TEST_F(VirtualCANLossTest, ofTwoThatStartAtOnceOneServesTheBusAndTheOtherSaysSo) {
    close(bindSocket(folder.path));
    int other = -1;
    afterProbe = [&] { other = runInChild(openAndTell); };
    testing::internal::CaptureStderr();
    const auto bus = open();
    const std::string said = testing::internal::GetCapturedStderr();
    ASSERT_NE(bus, nullptr);
    EXPECT_TRUE(bus->isConnected());
    EXPECT_EQ(other, closedBus) << "it joins later";
    EXPECT_EQ(said, "[kx_can_raw:1] bus 0: " + folder.path + ": another process has locked the folder\n");
    EXPECT_TRUE(isReached(*bus)) << "nobody serves the file";
}

TEST_F(VirtualCANLossTest, aFolderThatIsLockedOpensTheBusLater) {
    const int other = ::open(folder.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    EXPECT_FALSE(bus->isConnected());
    EXPECT_EQ(bus->reconnect(), 20);
    close(other);
    EXPECT_EQ(bus->reconnect(), 0);
    EXPECT_TRUE(isReached(*bus));
}

TEST_F(VirtualCANLossTest, aBusWithoutADescriptorIsNullAndTold) {
    testing::internal::CaptureStderr();
    {
        const NoMoreDescriptors limit;
        EXPECT_EQ(open(), nullptr);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_can_raw:1] bus 0: " + folder.path + ": Too many open files\n");
    EXPECT_FALSE(std::filesystem::exists(folder.path));
}

TEST_F(VirtualCANLossTest, aFileThatIsRemovedAsSoonAsItIsBoundIsTold) {
    afterBind = [&] { std::filesystem::remove(folder.path); };
    testing::internal::CaptureStderr();
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_can_raw:1] bus 0: " + folder.path + ": No such file or directory\n");
    EXPECT_NE(open(), nullptr);
}

TEST_F(VirtualCANLossTest, aFolderThatMayNotBeListedStillServes) {
    const uid_t nobody = 65534;
    if (geteuid() == 0)
        ASSERT_EQ(chown(folder.folder.c_str(), nobody, nobody), 0);
    ASSERT_EQ(chmod(folder.folder.c_str(), 0300), 0);
    std::unique_ptr<KXCANRaw> bus;
    {
        const NoAdministrator ordinary;
        ASSERT_EQ(::open(folder.folder.c_str(), O_RDONLY | O_CLOEXEC), -1);
        bus = open();
    }
    chmod(folder.folder.c_str(), 0700);
    ASSERT_NE(bus, nullptr);
    EXPECT_TRUE(isReached(*bus));
}

TEST_F(VirtualCANLossTest, aStaleFileThatMayNotBeRemovedIsToldAndStays) {
    close(bindSocket(folder.path));
    const uid_t nobody = 65534;
    if (geteuid() == 0) {
        ASSERT_EQ(chown(folder.folder.c_str(), nobody, nobody), 0);
        ASSERT_EQ(chown(folder.path.c_str(), nobody, nobody), 0);
    }
    ASSERT_EQ(chmod(folder.folder.c_str(), 0500), 0);
    testing::internal::CaptureStderr();
    {
        const NoAdministrator ordinary;
        EXPECT_EQ(open(), nullptr);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_can_raw:1] bus 0: " + folder.path + ": Permission denied\n");
    EXPECT_TRUE(std::filesystem::exists(folder.path));
    chmod(folder.folder.c_str(), 0700);
}

TEST_F(VirtualCANLossTest, aFileWhoseOwnerCannotBeAskedForIsLeftAlone) {
    const int other = bindSocket(folder.path);
    testing::internal::CaptureStderr();
    {
        const NoMoreDescriptors limit(1); // which the bus takes, so that none is left to look for the owner
        EXPECT_EQ(open(), nullptr);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_can_raw:1] bus 0: " + folder.path + ": Too many open files\n");
    EXPECT_TRUE(sendFrame(folder.path, 1)) << "the other one's file is gone";
    close(other);
}

TEST_F(VirtualCANLossTest, aFileThatIsRemovedIsToldOnceAndBoundAnew) {
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    ASSERT_EQ(manager.addEndPoint(bus.get(), &handler), 0);
    testing::internal::CaptureStderr();
    std::filesystem::remove(folder.path);
    waitUntilTraceHas(2);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_can_raw:1] bus 0: " + folder.path + " was removed or replaced and is bound anew\n");
    ASSERT_TRUE(sendFrame(folder.path, 5));
    waitUntilTraceHas(3);
    EXPECT_THAT(handler.trace, ElementsAre("lost", "back", "frame 5"));
    EXPECT_EQ(manager.removeEndPoint(bus.get()), 0);
}

TEST_F(VirtualCANLossTest, theLookThatTellsOfTheLossReportsIt) {
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    std::filesystem::remove(folder.path);
    bool isTold = false;
    bool isConnected = true;
    EXPECT_TRUE(waitUntil([&] {
        testing::internal::CaptureStderr();
        isConnected = bus->isConnected();
        isTold = !testing::internal::GetCapturedStderr().empty();
        return isTold;
    }));
    EXPECT_FALSE(isConnected);
}

TEST_F(VirtualCANLossTest, theFileIsLookedAtOnceASecond) {
    using std::chrono::milliseconds;
    const StandingClock clock;
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    looks.count = 0;
    for (const int looksBefore : {0, 1}) {
        EXPECT_TRUE(bus->isConnected());
        clock.advance(milliseconds(999));
        EXPECT_TRUE(bus->isConnected());
        EXPECT_EQ(looks.count, looksBefore);
        clock.advance(milliseconds(1));
        EXPECT_TRUE(bus->isConnected());
        EXPECT_EQ(looks.count, looksBefore + 1);
    }
    EXPECT_EQ(unlink(folder.path.c_str()), 0);
    clock.advance(milliseconds(999));
    EXPECT_TRUE(bus->isConnected()) << "nobody has looked";
    clock.advance(milliseconds(1));
    for (int question = 0; question < 2; ++question) {
        EXPECT_FALSE(bus->isConnected());
        EXPECT_EQ(looks.count, 3) << "lost is lost";
        clock.advance(milliseconds(1000));
    }
}

// Its thread has bound a new file, but has not told the one that asks.
TEST_F(VirtualCANLossTest, aBusThatItsThreadReconnectsMeanwhileIsNotLost) {
    const StandingClock clock;
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    std::atomic<bool> isBound{false};
    std::atomic<bool> isSeen{false};
    std::thread reconnecting;
    clock.advance(std::chrono::seconds(1));
    beforeLook = [&] {
        afterBind = [&] {
            looks.fileNumber = 78; // another than that of the former file
            isBound = true;
            while (!isSeen)
                std::this_thread::yield();
        };
        reconnecting = std::thread([&] { EXPECT_EQ(bus->reconnect(), 0); });
        while (!isBound)
            std::this_thread::yield();
    };
    testing::internal::CaptureStderr();
    bus->isConnected(); // either answer is right
    isSeen = true;
    reconnecting.join();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "nobody else has replaced the file";
    EXPECT_TRUE(bus->isConnected());
    EXPECT_TRUE(isReached(*bus));
}

TEST_F(VirtualCANLossTest, aFileThatCannotBeSeenIsNotLost) {
    const StandingClock clock;
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    for (const int error : {EACCES, ENOMEM, EIO}) {
        clock.advance(std::chrono::seconds(1));
        looks = {0, error, 0};
        EXPECT_TRUE(bus->isConnected()) << error;
        EXPECT_EQ(looks.count, 1);
    }
}

// The system gives the number of a file that has gone to a new one.
TEST_F(VirtualCANLossTest, theFileOfAnotherProcessMayHaveTheNumberOfAClosedBus) {
    looks.fileNumber = 77;
    ASSERT_NE(open(), nullptr);
    const int other = bindSocket(folder.path);
    EXPECT_EQ(open(), nullptr);
    EXPECT_TRUE(sendFrame(folder.path, 1)) << "the other one's file is gone";
    close(other);
}

TEST_F(VirtualCANLossTest, aFileOfAnotherProcessIsToldWhateverAnEarlierCallFoundWrong) {
    const int other = bindSocket(folder.path);
    for (const int error : {ECONNREFUSED, ENOENT, 0}) {
        testing::internal::CaptureStderr();
        errno = error;
        EXPECT_EQ(open(), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "[kx_can_raw:1] bus 0: " + folder.path + " is held by another process\n");
        EXPECT_TRUE(sendFrame(folder.path, 1)) << "the other one's file is gone";
    }
    close(other);
}

TEST_F(VirtualCANLossTest, aStaleFileThatSomebodyElseRemovesDoesNotMatter) {
    close(bindSocket(folder.path));
    afterProbe = [&] { std::filesystem::remove(folder.path); };
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    EXPECT_TRUE(isReached(*bus));
}

TEST_F(VirtualCANLossTest, aFileOfAnotherProcessIsLeftAloneUntilThatHasGone) {
    const auto bus = open();
    ASSERT_NE(bus, nullptr);
    std::filesystem::remove(folder.path);
    const int other = bindSocket(folder.path);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(waitUntil([&] { return !bus->isConnected(); }));
    EXPECT_FALSE(bus->isConnected()) << "it has come back without being bound anew";
    EXPECT_EQ(bus->reconnect(), 20);
    EXPECT_EQ(bus->reconnect(), 20);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("was removed or replaced")) << "told";
    EXPECT_TRUE(sendFrame(folder.path, 1)) << "the other one's file is gone";
    close(other);
    EXPECT_EQ(bus->reconnect(), 0);
    EXPECT_TRUE(isReached(*bus));
}

TEST_F(VirtualCANLossTest, twoEndPointsOfOneProcessDoNotTakeTheBusFromEachOther) {
    const auto first = open();
    const auto second = open();
    ASSERT_EQ(manager.addEndPoint(first.get(), &handler), 0);
    ASSERT_EQ(manager.addEndPoint(second.get(), &handler), 0);
    // Each of them looks at the file in this time.
    EXPECT_EQ(manager.waitForEndPoints(KX::KXTick::getTickCount() + 2500, 0), 0);
    EXPECT_TRUE(isReached(*second));
    EXPECT_EQ(manager.removeEndPoint(first.get()), 0);
    EXPECT_EQ(manager.removeEndPoint(second.get()), 0);
}

TEST_F(VirtualCANLossTest, theChildOfAForkLeavesTheFileToItsParent) {
    auto bus = open();
    ASSERT_NE(bus, nullptr);
    EXPECT_EQ(runInChild([&] {
                  bus.reset();
                  return 0;
              }),
              0);
    EXPECT_TRUE(isReached(*bus));
    bus.reset();
    EXPECT_FALSE(std::filesystem::exists(folder.path)) << "the parent removes it";
}

TEST_F(VirtualCANLossTest, aChangeOfTheWorkingFolderDoesNotLoseTheBus) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.folder);
    setenv("KX_CAN_BUS_0", "unix:bus", 1);
    auto bus = open();
    std::filesystem::current_path(before);
    ASSERT_NE(bus, nullptr);
    EXPECT_EQ(bus->reconnect(), 0);
    EXPECT_TRUE(isReached(*bus));
    bus.reset();
    EXPECT_FALSE(std::filesystem::exists(folder.path));
}

// An address has room for 107 characters.
TEST_F(VirtualCANLossTest, aPathServesAsItIsWhereTheAbsoluteOneIsTooLong) {
    const auto before = std::filesystem::current_path();
    setenv("KX_CAN_BUS_0", "unix:bus", 1);
    for (const std::size_t length : {106u, 107u, 108u}) {
        const std::string beginning = std::filesystem::canonical(folder.folder).string() + "/";
        const std::string deep = beginning + std::string(length - beginning.size() - 4, 'x');
        std::filesystem::create_directory(deep);
        std::filesystem::current_path(deep);
        auto bus = open();
        EXPECT_NE(bus, nullptr) << length;
        KX::KXCANMessage message;
        EXPECT_TRUE(sendFrame("bus", 0x77));
        EXPECT_TRUE(bus && bus->readFrame(message) == 0);
        if (length <= 107)
            std::filesystem::current_path(before); // does not matter to it
        bus.reset();
        EXPECT_TRUE(std::filesystem::is_empty(deep)) << length;
        std::filesystem::current_path(before);
    }
}

} // namespace
