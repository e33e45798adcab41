#include "platform/KXPipe.h"

#include "support/ResourceLimit.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <thread>
#include <vector>

namespace {

const int recordSize = 136;

/// A record that holds its writer and number in every place, so that a torn one is noticed.
struct Record {
    std::array<int, recordSize / sizeof(int)> fields{};

    Record() = default;
    Record(int writer, int number) {
        for (std::size_t i = 0; i < fields.size(); i += 2) {
            fields[i] = writer;
            fields[i + 1] = number;
        }
    }

    int getWriter() const { return fields[0]; }
    int getNumber() const { return fields[1]; }
    bool isWhole() const { return fields == Record(getWriter(), getNumber()).fields; }
};
static_assert(sizeof(Record) == recordSize, "as large as the record of an event");

int write(const KX::KXPipe& pipe, Record record) {
    return pipe.writeIntoPipe(&record, recordSize);
}

int fill(const KX::KXPipe& pipe) {
    int written = 0;
    while (write(pipe, Record(1, written)) == 0)
        ++written;
    return written;
}

class KXPipeTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(pipe.init(), 0); }

    KX::KXPipe pipe;
};

TEST(KXPipeUnopened, takesAndGivesNothing) {
    KX::KXPipe pipe;
    char byte = 0;
    EXPECT_EQ(pipe.writeIntoPipe(&byte, 1), 20);
    EXPECT_EQ(pipe.readFromPipe(&byte, 1), 20);
    EXPECT_FALSE(pipe.isReadable());
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
    EXPECT_FALSE(pipe.isConnected());
    EXPECT_EQ(pipe.getReadEndPointID(), -1);
    EXPECT_EQ(pipe.getWriteEndPointID(), -1);
}

TEST(KXPipeUnopened, refusesALargeWriteToo) {
    KX::KXPipe pipe;
    std::vector<char> bytes(70000, 'x');
    EXPECT_EQ(pipe.writeIntoPipe(bytes.data(), static_cast<int>(bytes.size())), 20);
}

TEST(KXPipeUnopened, isOpenedByReconnect) {
    KX::KXPipe pipe;
    EXPECT_EQ(pipe.reconnect(), 0);
    EXPECT_TRUE(pipe.isConnected());
    EXPECT_EQ(write(pipe, Record(1, 2)), 0);
}

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

TEST_F(KXPipeTest, givesBackWhatWasWritten) {
    ASSERT_EQ(write(pipe, Record(3, 4)), 0);
    EXPECT_TRUE(pipe.isReadable());
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), recordSize);
    Record record;
    ASSERT_EQ(pipe.readFromPipe(&record, recordSize), 0);
    EXPECT_EQ(record.fields, Record(3, 4).fields);
    EXPECT_FALSE(pipe.isReadable());
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
}

TEST_F(KXPipeTest, anEmptyPipeFailsAReadAtOnceAndLeavesTheDataAlone) {
    Record record(8, 9);
    EXPECT_EQ(pipe.readFromPipe(&record, recordSize), 20);
    EXPECT_EQ(record.fields, Record(8, 9).fields);
}

TEST_F(KXPipeTest, aShortReadFailsAndConsumesWhatThereWas) {
    char bytes[100] = {};
    ASSERT_EQ(pipe.writeIntoPipe(bytes, 100), 0);
    Record record;
    EXPECT_EQ(pipe.readFromPipe(&record, recordSize), 20);
    EXPECT_FALSE(pipe.isReadable()) << "a reader would be woken for the rest for ever";
}

TEST_F(KXPipeTest, aReadTakesNoMoreThanItWasAskedFor) {
    char bytes[5] = {'a', 'b', 'c', 'd', 'e'};
    ASSERT_EQ(pipe.writeIntoPipe(bytes, 5), 0);
    char first[4] = {};
    ASSERT_EQ(pipe.readFromPipe(first, 3), 0);
    EXPECT_STREQ(first, "abc");
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 2);
}

TEST_F(KXPipeTest, refusesNullAndSizesThatAreNotPositive) {
    char byte = 0;
    EXPECT_EQ(pipe.writeIntoPipe(nullptr, 1), 24);
    EXPECT_EQ(pipe.writeIntoPipe(&byte, 0), 24);
    EXPECT_EQ(pipe.writeIntoPipe(&byte, -1), 24);
    EXPECT_EQ(pipe.readFromPipe(nullptr, 1), 24);
    EXPECT_EQ(pipe.readFromPipe(&byte, 0), 24);
    EXPECT_EQ(pipe.readFromPipe(&byte, -1), 24);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
}

TEST_F(KXPipeTest, aSecondInitKeepsTheBytesAndTheDescriptors) {
    ASSERT_EQ(write(pipe, Record(1, 1)), 0);
    const int readEnd = pipe.getReadEndPointID();
    EXPECT_EQ(pipe.init(), 0);
    EXPECT_EQ(pipe.getReadEndPointID(), readEnd);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), recordSize);
}

TEST_F(KXPipeTest, theReadEndCanBeWaitedOn) {
    pollfd query{pipe.getReadEndPointID(), POLLIN, 0};
    EXPECT_EQ(poll(&query, 1, 0), 0);
    ASSERT_EQ(write(pipe, Record(1, 1)), 0);
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

TEST_F(KXPipeTest, aFullPipeFailsAtOnceAndLosesNothingOfWhatItHolds) {
    const int written = fill(pipe);
    EXPECT_EQ(write(pipe, Record(2, 0)), 20);
    for (int number = 0; number < written; ++number) {
        Record record;
        ASSERT_EQ(pipe.readFromPipe(&record, recordSize), 0) << "record " << number << " of " << written;
        ASSERT_EQ(record.fields, Record(1, number).fields) << "record " << number;
    }
    EXPECT_FALSE(pipe.isReadable()) << "the refused record left something behind";
}

TEST_F(KXPipeTest, aFullPipeTakesAgainAfterItWasRead) {
    const int written = fill(pipe);
    for (int i = 0; i < written; ++i) {
        Record record;
        ASSERT_EQ(pipe.readFromPipe(&record, recordSize), 0);
    }
    EXPECT_EQ(write(pipe, Record(2, 5)), 0);
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

TEST_F(KXPipeTest, recordsOfFourThreadsStayWholeAndInOrder) {
    const int writers = 4;
    const int recordsOfEach = 20000;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([this, writer] {
            for (int number = 0; number < recordsOfEach;)
                if (write(pipe, Record(writer, number)) == 0)
                    ++number;
                else
                    std::this_thread::yield();
        });
    }
    std::array<int, writers> next{};
    int wrong = 0;
    for (int taken = 0; taken < writers * recordsOfEach;) {
        Record record;
        if (pipe.readFromPipe(&record, recordSize) != 0) {
            std::this_thread::yield();
            continue;
        }
        ++taken;
        const auto writer = static_cast<std::size_t>(record.getWriter());
        wrong += !record.isWhole() || writer >= next.size() || record.getNumber() != next[writer]++;
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0) << "records torn or out of order";
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
}

TEST_F(KXPipeTest, reconnectGivesAnEmptyPipeThatWorks) {
    ASSERT_EQ(write(pipe, Record(1, 1)), 0);
    EXPECT_EQ(pipe.reconnect(), 0);
    EXPECT_TRUE(pipe.isConnected());
    EXPECT_FALSE(pipe.isReadable());
    ASSERT_EQ(write(pipe, Record(2, 2)), 0);
    Record record;
    ASSERT_EQ(pipe.readFromPipe(&record, recordSize), 0);
    EXPECT_EQ(record.getNumber(), 2);
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
