#include "PlatformKit.h"
#include "platform/KXPipe.h"
#include "platform/KXStatus.h"

#include <array>
#include <atomic>
#include <vector>

namespace KX::PlatformTests {

class Pipe : public PlatformTest {
protected:
    int write(std::string text) { return pipe.writeIntoPipe(text.data(), static_cast<int>(text.size())); }

    /// \return what was read; "refused" when nothing was
    std::string read(int size) {
        std::string text(static_cast<std::size_t>(size), '?');
        return pipe.readFromPipe(text.data(), size) == STATUS_OK ? text : "refused";
    }

    KXPipe pipe;
};

/// Open from the beginning.
class OpenPipe : public Pipe {
protected:
    void SetUp() override { ASSERT_EQ(pipe.init(), STATUS_OK); }

    /// Writes until one is refused.
    /// \return how many were taken; -1 when that has no end
    int fill(const std::string& record) {
        constexpr int endless = 1000000;
        for (int taken = 0; taken < endless; ++taken)
            if (write(record) != STATUS_OK)
                return taken;
        return -1;
    }
};

TEST_F(Pipe, isClosedUntilInit) {
    EXPECT_FALSE(pipe.isConnected());
    EXPECT_EQ(pipe.getReadEndPointID(), -1);
    EXPECT_EQ(pipe.getWriteEndPointID(), -1);
    EXPECT_FALSE(pipe.isReadable());
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
    EXPECT_EQ(write("x"), STATUS_REFUSED);
    EXPECT_EQ(write(std::string(70000, 'x')), STATUS_REFUSED);
    EXPECT_EQ(read(1), "refused");
}

TEST_F(Pipe, isOpenedByReconnectToo) {
    EXPECT_EQ(pipe.reconnect(), STATUS_OK);
    EXPECT_TRUE(pipe.isConnected());
    EXPECT_EQ(write("x"), STATUS_OK);
    EXPECT_EQ(read(1), "x");
}

TEST_F(OpenPipe, hasTwoNumbersToWaitOn) {
    EXPECT_TRUE(pipe.isConnected());
    EXPECT_NE(pipe.getReadEndPointID(), -1);
    EXPECT_NE(pipe.getWriteEndPointID(), -1);
}

TEST_F(OpenPipe, givesBackWhatWasWritten) {
    ASSERT_EQ(write("abc"), STATUS_OK);
    EXPECT_TRUE(pipe.isReadable());
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 3);
    EXPECT_EQ(read(3), "abc");
    EXPECT_FALSE(pipe.isReadable());
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
}

TEST_F(OpenPipe, anEmptyOneRefusesAReadAtOnceAndLeavesTheDataAlone) {
    char data[] = "data";
    EXPECT_EQ(pipe.readFromPipe(data, 4), STATUS_REFUSED);
    EXPECT_STREQ(data, "data");
}

TEST_F(OpenPipe, aReadOfOneByteLessLeavesOne) {
    ASSERT_EQ(write("abcd"), STATUS_OK);
    EXPECT_EQ(read(3), "abc");
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 1);
    EXPECT_TRUE(pipe.isReadable());
    EXPECT_EQ(read(1), "d");
}

TEST_F(OpenPipe, aReadOfOneByteTooManyIsRefusedAndConsumesWhatThereWas) {
    ASSERT_EQ(write("abcd"), STATUS_OK);
    EXPECT_EQ(read(5), "refused");
    EXPECT_FALSE(pipe.isReadable()) << "a reader would be woken for ever for the rest of a record";
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
    ASSERT_EQ(write("efgh"), STATUS_OK);
    EXPECT_EQ(read(4), "efgh");
}

TEST_F(OpenPipe, oneReadMayTakeSeveralWrites) {
    ASSERT_EQ(write("ab"), STATUS_OK);
    ASSERT_EQ(write("cd"), STATUS_OK);
    EXPECT_EQ(read(3), "abc");
    EXPECT_EQ(read(1), "d");
}

TEST_F(OpenPipe, refusesNullAndSizesThatAreNotPositive) {
    char byte = 0;
    EXPECT_EQ(pipe.writeIntoPipe(nullptr, 1), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(pipe.writeIntoPipe(&byte, 0), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(pipe.writeIntoPipe(&byte, -1), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(pipe.readFromPipe(nullptr, 1), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(pipe.readFromPipe(&byte, 0), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(pipe.readFromPipe(&byte, -1), STATUS_OUT_OF_RANGE);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
}

TEST_F(OpenPipe, aSecondInitChangesNothing) {
    ASSERT_EQ(write("abc"), STATUS_OK);
    const int readEnd = pipe.getReadEndPointID();
    EXPECT_EQ(pipe.init(), STATUS_OK);
    EXPECT_EQ(pipe.getReadEndPointID(), readEnd);
    EXPECT_EQ(read(3), "abc");
}

TEST_F(OpenPipe, reconnectLosesWhatWasNotRead) {
    ASSERT_EQ(write("abc"), STATUS_OK);
    EXPECT_EQ(pipe.reconnect(), STATUS_OK);
    EXPECT_TRUE(pipe.isConnected());
    EXPECT_FALSE(pipe.isReadable());
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
    ASSERT_EQ(write("def"), STATUS_OK);
    EXPECT_EQ(read(3), "def");
}

TEST_F(OpenPipe, isIndependentOfOthers) {
    KXPipe other;
    ASSERT_EQ(other.init(), STATUS_OK);
    EXPECT_NE(other.getReadEndPointID(), pipe.getReadEndPointID());
    ASSERT_EQ(write("abc"), STATUS_OK);
    EXPECT_FALSE(other.isReadable());
    EXPECT_EQ(read(3), "abc");
}

TEST_F(OpenPipe, takesAnEventRecordAndTheLargestSharedWrite) {
    for (const std::size_t size : {136U, 4095U, 4096U}) {
        const std::string record(size, 'r');
        ASSERT_EQ(write(record), STATUS_OK) << size;
        EXPECT_EQ(read(static_cast<int>(size)), record);
    }
}

TEST_F(OpenPipe, aFullOneRefusesAtOnceAndLosesNothing) {
    const std::string record(136, 'r');
    const int taken = fill(record);
    if (taken < 0)
        GTEST_SKIP() << "it is never full";
    for (int i = 0; i < taken; ++i)
        ASSERT_EQ(read(136), record) << "record " << i << " of " << taken;
    EXPECT_FALSE(pipe.isReadable()) << "the refused one left something behind";
    EXPECT_EQ(write(record), STATUS_OK) << "there is room again";
}

TEST_F(OpenPipe, writesOfAnySizeAreTakenWholeOrNotAtAll) {
    const int sizes[] = {136, 5000, 3000, 4097, 70000, 2500, 65536, 4096, 1, 12289};
    int expected = 0;
    int refused = 0;
    for (int round = 0; round < 400 && refused < 30; ++round) {
        const int size = sizes[round % 10];
        if (write(std::string(static_cast<std::size_t>(size), 'x')) == STATUS_OK)
            expected += size;
        else
            ++refused;
        ASSERT_EQ(pipe.getNoOfBytesAvailable(), expected) << "after a write of " << size << " bytes";
        if (round % 7 == 0 && expected > 50) {
            ASSERT_EQ(read(50), std::string(50, 'x'));
            expected -= 50;
        }
    }
}

/// Records of several threads. Each holds its writer and its number in every place.
class PipeOfThreads : public OpenPipe {
protected:
    static constexpr int writers = 4;

    template<std::size_t Size>
    struct Record {
        std::array<int, Size / sizeof(int)> fields{};

        Record() = default;
        Record(int writer, int number) {
            for (std::size_t i = 0; i < fields.size(); ++i)
                fields[i] = i % 2 == 0 ? writer : number;
        }

        bool isWhole() const { return fields == Record(fields[0], fields[1]).fields; }
    };

    template<std::size_t Size>
    void writeAll(int writer, int records) {
        for (int number = 0; number < records;) {
            Record<Size> record(writer, number);
            if (pipe.writeIntoPipe(&record, static_cast<int>(Size)) == STATUS_OK)
                ++number;
            else
                std::this_thread::yield();
        }
    }

    /// \return how many records were torn or out of order
    template<std::size_t Size>
    int readAll(int records) {
        std::array<int, writers> next{};
        int wrong = 0;
        for (int taken = 0; taken < writers * records;) {
            Record<Size> record;
            if (!pipe.isReadable() || pipe.readFromPipe(&record, static_cast<int>(Size)) != STATUS_OK) {
                std::this_thread::yield();
                continue;
            }
            ++taken;
            const auto writer = static_cast<std::size_t>(record.fields[0]);
            wrong += !record.isWhole() || writer >= next.size() || record.fields[1] != next[writer]++ ? 1 : 0;
        }
        return wrong;
    }

    template<std::size_t Size>
    void expectWholeRecords(int records) {
        std::vector<std::thread> threads;
        for (int writer = 0; writer < writers; ++writer)
            threads.emplace_back([this, writer, records] { writeAll<Size>(writer, records); });
        EXPECT_EQ(readAll<Size>(records), 0) << "records torn or out of order";
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
    }
};

TEST_F(PipeOfThreads, eventRecordsStayWholeAndInOrder) {
    expectWholeRecords<136>(10000);
}

TEST_F(PipeOfThreads, recordsOf4096BytesStayWholeAndInOrder) {
    expectWholeRecords<4096>(1000);
}

TEST_F(PipeOfThreads, itsStateMayBeAskedForMeanwhile) {
    std::atomic<bool> isDone{false};
    std::atomic<int> wrong{0};
    std::thread asking([&] {
        const int readEnd = pipe.getReadEndPointID();
        while (!isDone) {
            wrong += pipe.isConnected() && pipe.getReadEndPointID() == readEnd ? 0 : 1;
            const int bytes = pipe.getNoOfBytesAvailable();
            wrong += bytes >= 0 && bytes <= 136 ? 0 : 1;
        }
    });
    for (int i = 0; i < 2000; ++i) {
        Record<136> record(0, i);
        EXPECT_EQ(pipe.writeIntoPipe(&record, 136), STATUS_OK);
        EXPECT_EQ(pipe.readFromPipe(&record, 136), STATUS_OK);
    }
    isDone = true;
    asking.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace KX::PlatformTests
