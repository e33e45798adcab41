// As for pipes and end points: a bus may get descriptor 0.

#include "platform/KXCANMessage.h"
#include "platform/KXCANRaw.h"
#include "support/BusFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

TEST(BusAtDescriptorZeroTest, receivesFramesAndClosesIt) {
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

} // namespace
