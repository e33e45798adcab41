// What a process brings along must not matter: closed standard streams, and the errno of an earlier call.

#include "platform/KXEndPointManager.h"
#include "platform/KXPipe.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"
#include "support/ResourceLimit.h"
#include "support/SocketEndPoint.h"
#include "tests/support/ClosedOutputs.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using KX::KXEndPointManager;
using KX::KXPipe;
using KX::KXTick;

bool isOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) >= 0;
}

// A program that has closed its standard input gets descriptor 0 for what it opens next.
class DescriptorZeroTest : public testing::Test {
protected:
    void SetUp() override {
        standardInput = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 100);
        close(STDIN_FILENO);
    }

    void TearDown() override {
        if (standardInput >= 0)
            dup2(standardInput, STDIN_FILENO);
        close(standardInput);
    }

private:
    int standardInput = -1;
};

TEST_F(DescriptorZeroTest, servesAPipe) {
    char text[] = "text";
    char taken[sizeof(text)] = {};
    {
        KXPipe pipe;
        ASSERT_EQ(pipe.init(), 0);
        for (int round = 0; round < 2; ++round) {
            ASSERT_EQ(pipe.getReadEndPointID(), 0);
            EXPECT_TRUE(pipe.isConnected());
            EXPECT_EQ(pipe.init(), 0);
            EXPECT_EQ(pipe.getReadEndPointID(), 0) << "it was open already";
            EXPECT_EQ(pipe.writeIntoPipe(text, sizeof(text)), 0);
            EXPECT_EQ(pipe.readFromPipe(taken, sizeof(taken)), 0);
            EXPECT_STREQ(taken, text);
            EXPECT_EQ(pipe.reconnect(), 0);
        }
    }
    EXPECT_FALSE(isOpen(0));
}

TEST_F(DescriptorZeroTest, servesAnEndPoint) {
    SocketEndPoint endPoint;
    ASSERT_EQ(endPoint.getReadEndPointID(), 0);
    KXEndPointManager manager;
    RecordingHandler handler;
    for (int round = 1; round <= 2; ++round) {
        EXPECT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
        endPoint.peerSends("a");
        EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount() + 20000, 0), 1);
        EXPECT_EQ(handler.readable, round);
        endPoint.ownerCloses();
        EXPECT_EQ(endPoint.reconnect(), 0);
        EXPECT_EQ(endPoint.getReadEndPointID(), 0) << "another file, which the manager finds out";
        EXPECT_EQ(manager.waitForEndPoints(KXTick::getTickCount(), 0), 0);
        EXPECT_EQ(manager.removeEndPoint(&endPoint), 0);
    }
    EXPECT_EQ(handler.disconnected, 0);
}

TEST_F(DescriptorZeroTest, servesAManager) {
    {
        KXEndPointManager manager;
        ASSERT_TRUE(isOpen(0));
        SocketEndPoint endPoint;
        RecordingHandler handler;
        EXPECT_EQ(manager.addEndPoint(&endPoint, &handler), 0);
    }
    EXPECT_FALSE(isOpen(0));
}

TEST_F(DescriptorZeroTest, isGivenBackByAManagerThatGetsNoOther) {
    const NoMoreDescriptors limit(1);
    const KXEndPointManager manager;
    EXPECT_FALSE(isOpen(0));
}

TEST_F(DescriptorZeroTest, isRefusedWhereItCannotBeWaitedFor) {
    class FileAtZero : public KX::KXEndPoint {
    public:
        int getReadEndPointID() const override { return 0; }
        int getWriteEndPointID() const override { return -1; }
        bool isConnected() const override { return true; }
        int reconnect() override { return KX::STATUS_REFUSED; }
    } file;
    ASSERT_EQ(open("/proc/self/exe", O_RDONLY | O_CLOEXEC), 0);
    KXEndPointManager manager;
    RecordingHandler handler;
    EXPECT_EQ(manager.addEndPoint(&file, &handler), KX::STATUS_REFUSED);
    EXPECT_EQ(manager.removeEndPoint(&file), KX::STATUS_REFUSED);
    close(0);
}

// A line that the program writes to a closed output must not go into a pipe.
TEST(ClosedOutputsTest, areNotTakenByPipesAndManagers) {
    bool areFree = false;
    {
        const KX::test::ClosedOutputs closed;
        KXPipe pipe;
        const bool isOpened = pipe.init() == 0 && pipe.isConnected();
        const KXEndPointManager manager;
        areFree = isOpened && closed.areFree();
    }
    EXPECT_TRUE(areFree);
}

// With room for no further descriptor, and for one.
TEST(ClosedOutputsTest, withoutOtherDescriptorsRefuseAPipe) {
    for (const rlim_t descriptors : {3U, 4U}) {
        bool isRefused = false;
        bool isLeft = false;
        bool areFree = false;
        bool opensLater = false;
        {
            const KX::test::ClosedOutputs closed;
            rlimit limit{};
            getrlimit(RLIMIT_NOFILE, &limit);
            const rlimit few{descriptors, limit.rlim_max};
            KXPipe pipe;
            setrlimit(RLIMIT_NOFILE, &few);
            isRefused = pipe.init() == KX::STATUS_REFUSED;
            isLeft = pipe.getReadEndPointID() >= 0 || pipe.getWriteEndPointID() >= 0;
            setrlimit(RLIMIT_NOFILE, &limit);
            areFree = closed.areFree();
            opensLater = pipe.init() == 0;
        }
        EXPECT_TRUE(isRefused);
        EXPECT_FALSE(isLeft) << "both ends are closed";
        EXPECT_TRUE(areFree);
        EXPECT_TRUE(opensLater);
    }
}

TEST(StaleErrnoTest, doesNotRepeatAWriteOrARead) {
    KXPipe pipe;
    ASSERT_EQ(pipe.init(), 0);
    char text[] = "text";
    errno = EINTR;
    EXPECT_EQ(pipe.writeIntoPipe(text, sizeof(text)), 0);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), static_cast<int>(sizeof(text)));
    EXPECT_EQ(pipe.writeIntoPipe(text, sizeof(text)), 0);
    errno = EINTR;
    EXPECT_EQ(pipe.readFromPipe(text, sizeof(text)), 0);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), static_cast<int>(sizeof(text)));
}

} // namespace
