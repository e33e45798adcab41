// What a process brings along must not matter to a bus: a free descriptor 0, and the errno of an earlier call.

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "platform/KXExport.h"
#include "support/BusFolder.h"
#include "support/Waiting.h"
#include "tests/support/ClosedOutputs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::atomic<bool> forksWhenLocked{false};
pid_t forkedChild = -1; // lives until it is killed

/// Called with the descriptor of the folder before each attempt to lock it.
std::function<void(int)> beforeLock;

/// Pauses of the program take no time then.
bool pausesAreCounted = false;
std::chrono::nanoseconds paused{0};

} // namespace

// Replace functions of the system for the whole program, libraries included.

extern "C" KX_EXPORT int nanosleep(const timespec* time, timespec* rest) {
    if (!pausesAreCounted) {
        const int error = clock_nanosleep(CLOCK_MONOTONIC, 0, time, rest);
        if (error != 0)
            errno = error;
        return error == 0 ? 0 : -1;
    }
    paused += std::chrono::seconds(time->tv_sec) + std::chrono::nanoseconds(time->tv_nsec);
    return 0;
}

extern "C" KX_EXPORT int flock(int descriptor, int operation) noexcept {
    if (beforeLock && (operation & LOCK_NB) != 0)
        beforeLock(descriptor);
    const auto result = static_cast<int>(syscall(SYS_flock, descriptor, operation));
    if (forksWhenLocked.exchange(false)) {
        forkedChild = fork();
        if (forkedChild == 0)
            for (;;)
                pause();
    }
    return result;
}

namespace {

TEST(BusSurroundingsTest, aBusAtDescriptor0ReceivesFramesAndClosesIt) {
    const BusFolder bus;
    const int standardInput = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
    close(STDIN_FILENO);
    {
        const std::unique_ptr<KX::KXCANRaw> endPoint(KX::KXCANRaw::create(0, 0, 0));
        ASSERT_TRUE(endPoint);
        EXPECT_EQ(endPoint->getReadEndPointID(), 0);
        EXPECT_TRUE(endPoint->isConnected());
        EXPECT_TRUE(sendFrame(bus.path, 0x123));
        KX::KXCANMessage message;
        EXPECT_EQ(endPoint->readFrame(message), 0);
        EXPECT_EQ(message.canId, 0x123U);
        EXPECT_EQ(endPoint->reconnect(), 0);
        EXPECT_TRUE(sendFrame(bus.path, 0x124));
        EXPECT_EQ(endPoint->readFrame(message), 0);
        EXPECT_EQ(message.canId, 0x124U);
    }
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
    EXPECT_NE(access(bus.path.c_str(), F_OK), 0) << "the file goes with the bus";
    if (standardInput >= 0)
        dup2(standardInput, STDIN_FILENO);
    close(standardInput);
}

// A line that the program writes to a closed output must not go onto a bus.
TEST(BusSurroundingsTest, aBusTakesNoClosedOutput) {
    const BusFolder bus;
    bool isOpen = false;
    bool areFree = false;
    {
        const KX::test::ClosedOutputs closed;
        const std::unique_ptr<KX::KXCANRaw> endPoint(KX::KXCANRaw::create(0, 0, 0));
        isOpen = endPoint && endPoint->isConnected();
        areFree = closed.areFree();
    }
    EXPECT_TRUE(isOpen);
    EXPECT_TRUE(areFree);
}

// The lock keeps another process from binding the path between the look at the file and its removal.
TEST(BusSurroundingsTest, aBusThatClosesLocksItsFolderAtDescriptor0Too) {
    const BusFolder bus;
    std::unique_ptr<KX::KXCANRaw> endPoint(KX::KXCANRaw::create(0, 0, 0));
    ASSERT_TRUE(endPoint);
    const int standardInput = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
    close(STDIN_FILENO);
    int locked = -1;
    beforeLock = [&](int descriptor) { locked = descriptor; };
    endPoint.reset();
    beforeLock = nullptr;
    EXPECT_EQ(locked, 0);
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "the folder is still open";
    if (standardInput >= 0)
        dup2(standardInput, STDIN_FILENO);
    close(standardInput);
}

TEST(BusSurroundingsTest, aChildThatIsForkedWhileTheFolderIsLockedDoesNotKeepTheLock) {
    const BusFolder bus;
    forksWhenLocked = true;
    const std::unique_ptr<KX::KXCANRaw> first(KX::KXCANRaw::create(0, 0, 0));
    ASSERT_GT(forkedChild, 0);
    const std::unique_ptr<KX::KXCANRaw> second(KX::KXCANRaw::create(0, 0, 0));
    kill(forkedChild, SIGKILL);
    waitpid(forkedChild, nullptr, 0);
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->isConnected());
    ASSERT_TRUE(second);
    EXPECT_TRUE(second->isConnected());
}

// Its owner needs some system calls only.
TEST(BusSurroundingsTest, aLockedFolderIsTriedTwentyTimesAMillisecondApart) {
    const BusFolder bus;
    for (const int freeAt : {1, 2, 19, 20, 21}) {
        const int owner = open(bus.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ASSERT_EQ(flock(owner, LOCK_EX), 0);
        int attempts = 0;
        beforeLock = [&](int) {
            if (++attempts == freeAt)
                flock(owner, LOCK_UN);
        };
        pausesAreCounted = true;
        paused = paused.zero();
        const std::unique_ptr<KX::KXCANRaw> endPoint(KX::KXCANRaw::create(0, 0, 0));
        pausesAreCounted = false;
        beforeLock = nullptr;
        EXPECT_TRUE(endPoint);
        EXPECT_EQ(endPoint && endPoint->isConnected(), freeAt <= 20) << "free before attempt " << freeAt;
        EXPECT_EQ(paused, std::chrono::milliseconds(freeAt - 1));
        close(owner);
    }
}

TEST(BusSurroundingsTest, theFolderIsNotInheritedByAProgramThatIsStarted) {
    const BusFolder bus;
    int flags = 0;
    beforeLock = [&](int descriptor) { flags = fcntl(descriptor, F_GETFD); };
    const std::unique_ptr<KX::KXCANRaw> endPoint(KX::KXCANRaw::create(0, 0, 0));
    beforeLock = nullptr;
    EXPECT_EQ(flags, FD_CLOEXEC);
}

// Otherwise another process could find a file without a socket behind it, and replace it.
TEST(BusSurroundingsTest, aBusThatClosesTakesItsFileAwayBeforeItsSocket) {
    const BusFolder bus;
    std::unique_ptr<KX::KXCANRaw> endPoint(KX::KXCANRaw::create(0, 0, 0));
    ASSERT_TRUE(endPoint);
    const int descriptor = endPoint->getReadEndPointID();
    bool isOpen = false;
    beforeLock = [&](int) {
        struct stat status {};
        isOpen = fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
    };
    endPoint.reset();
    beforeLock = nullptr;
    EXPECT_TRUE(isOpen);
}

TEST(BusSurroundingsTest, aBusThatCannotBeOpenedLeavesDescriptor0Free) {
    const BusFolder bus;
    ASSERT_EQ(mkdir(bus.path.c_str(), 0700), 0);
    const int standardInput = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
    close(STDIN_FILENO);
    EXPECT_EQ(std::unique_ptr<KX::KXCANRaw>(KX::KXCANRaw::create(0, 0, 0)), nullptr);
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
    if (standardInput >= 0)
        dup2(standardInput, STDIN_FILENO);
    close(standardInput);
}

TEST(BusSurroundingsTest, anErrorOfAnEarlierCallDoesNotMatter) {
    for (const int error : {EWOULDBLOCK, EINTR, EBADF, ENOENT, ECONNREFUSED, ENETDOWN}) {
        const BusFolder bus;
        errno = error;
        const std::unique_ptr<KX::KXCANRaw> endPoint(KX::KXCANRaw::create(0, 0, 0));
        ASSERT_TRUE(endPoint) << error;
        EXPECT_TRUE(endPoint->isConnected()) << error;
        EXPECT_TRUE(sendFrame(bus.path, 0x123));
        KX::KXCANMessage message;
        errno = error;
        EXPECT_EQ(endPoint->readFrame(message), 0) << error;
        errno = error;
        EXPECT_EQ(endPoint->reconnect(), 0) << error;
        EXPECT_TRUE(endPoint->isConnected()) << error;
    }
}

TEST(BusSurroundingsTest, aLostBusIsToldByItsNumber) {
    const BusFolder bus;
    setenv("KX_CAN_BUS_1", ("unix:" + bus.path).c_str(), 1);
    const std::unique_ptr<KX::KXCANRaw> endPoint(KX::KXCANRaw::create(1, 0, 0));
    unsetenv("KX_CAN_BUS_1");
    ASSERT_TRUE(endPoint);
    ASSERT_EQ(unlink(bus.path.c_str()), 0);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(waitUntil([&] { return !endPoint->isConnected(); }));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[kx_can_raw:1] bus 1: " + bus.path + " was removed or replaced and is bound anew\n");
}

} // namespace
