// What a process brings along must not matter: a free descriptor 0, and the errno of an earlier call.

#include "platform/KXEndPointManager.h"
#include "platform/KXPipe.h"
#include "platform/KXTick.h"
#include "support/SocketEndPoint.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
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
