#include "platform/KXPipe.h"

#include "support/ResourceLimit.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/resource.h>
#include <vector>

namespace {

constexpr int recordSize = 136; // of an event

int fill(const KX::KXPipe& pipe) {
    char record[recordSize] = {};
    int written = 0;
    while (pipe.writeIntoPipe(record, recordSize) == 0)
        ++written;
    return written;
}

class KXPipeTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(pipe.init(), 0); }

    KX::KXPipe pipe;
};

TEST(KXPipeUnopened, initFailsWithoutDescriptorsAndWorksLater) {
    KX::KXPipe pipe;
    {
        const NoMoreDescriptors limit;
        EXPECT_EQ(pipe.init(), 20);
        EXPECT_EQ(pipe.reconnect(), 20);
        EXPECT_FALSE(pipe.isConnected());
    }
    EXPECT_EQ(pipe.init(), 0);
}

TEST_F(KXPipeTest, aReconnectThatFailsLeavesNoNumbers) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    // The numbers below those of the pipe are taken.
    const rlimit few{static_cast<rlim_t>(pipe.getReadEndPointID()), before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    EXPECT_EQ(pipe.reconnect(), 20);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(pipe.getReadEndPointID(), -1);
    EXPECT_EQ(pipe.getWriteEndPointID(), -1);
    EXPECT_EQ(pipe.init(), 0);
}

TEST_F(KXPipeTest, theReadEndCanBeWaitedOn) {
    pollfd query{pipe.getReadEndPointID(), POLLIN, 0};
    EXPECT_EQ(poll(&query, 1, 0), 0);
    char byte = 0;
    ASSERT_EQ(pipe.writeIntoPipe(&byte, 1), 0);
    EXPECT_EQ(poll(&query, 1, 0), 1);
    EXPECT_EQ(query.revents, POLLIN);
}

TEST_F(KXPipeTest, theDescriptorsDoNotBlockAndAreNotInherited) {
    for (const int descriptor : {pipe.getReadEndPointID(), pipe.getWriteEndPointID()}) {
        EXPECT_NE(fcntl(descriptor, F_GETFL) & O_NONBLOCK, 0);
        EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    }
}

TEST_F(KXPipeTest, holdsOverSevenThousandRecordsWhereTheSystemAllowsIt) {
    if (fcntl(pipe.getWriteEndPointID(), F_GETPIPE_SZ) < 1024 * 1024)
        GTEST_SKIP() << "this system does not allow a pipe of 1 MiB";
    EXPECT_GT(fill(pipe), 7000);
}

TEST_F(KXPipeTest, isAsLargeAsTheSystemAllows) {
    std::ifstream file("/proc/sys/fs/pipe-max-size");
    int allowed = 0;
    ASSERT_TRUE(file >> allowed);
    EXPECT_GE(fcntl(pipe.getWriteEndPointID(), F_GETPIPE_SZ), std::min(allowed, 1024 * 1024));
}

TEST_F(KXPipeTest, aLargeWriteIsTakenWholeUpToTheCapacityAndNotAtAllBeyond) {
    const int capacity = fcntl(pipe.getWriteEndPointID(), F_GETPIPE_SZ);
    std::vector<char> bytes(static_cast<std::size_t>(capacity) + 1, 'x');
    EXPECT_EQ(pipe.writeIntoPipe(bytes.data(), capacity + 1), 20);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
    EXPECT_EQ(pipe.writeIntoPipe(bytes.data(), capacity), 0);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), capacity);
    EXPECT_EQ(pipe.readFromPipe(bytes.data(), capacity), 0);
}

TEST_F(KXPipeTest, largeWritesAmongSmallOnesAreTakenWholeOrNotAtAll) {
    std::vector<char> bytes(70000, 'x');
    const int sizes[] = {136, 5000, 3000, 4097, 70000, 2500, 65536, 4096, 1, 12289};
    int expected = 0;
    int refused = 0;
    for (int round = 0; round < 500 && refused < 40; ++round) {
        const int size = sizes[round % 10];
        if (pipe.writeIntoPipe(bytes.data(), size) == 0)
            expected += size;
        else
            ++refused;
        ASSERT_EQ(pipe.getNoOfBytesAvailable(), expected) << "after a write of " << size << " bytes";
        if (round % 7 == 0 && expected > 50) {
            ASSERT_EQ(pipe.readFromPipe(bytes.data(), 50), 0);
            expected -= 50;
        }
    }
    EXPECT_GT(refused, 0) << "the pipe never filled, so nothing was shown";
}

TEST(KXPipeDescriptors, noneIsLeftOpen) {
    const int before = countOpenDescriptors();
    for (int i = 0; i < 50; ++i) {
        KX::KXPipe pipe;
        ASSERT_EQ(pipe.init(), 0);
        ASSERT_EQ(countOpenDescriptors(), before + 2);
        ASSERT_EQ(pipe.reconnect(), 0);
        ASSERT_EQ(countOpenDescriptors(), before + 2);
    }
    EXPECT_EQ(countOpenDescriptors(), before);
}

} // namespace
