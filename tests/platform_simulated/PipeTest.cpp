#include "Simulated.h"

#include "platform/KXPipe.h"

#include <thread>

namespace KX::test {

class Pipes : public Simulated {
protected:
    int write(int size) {
        std::vector<char> data(static_cast<std::size_t>(size), 'w');
        return pipe.writeIntoPipe(data.data(), size);
    }

    int read(int size) {
        std::vector<char> data(static_cast<std::size_t>(size));
        return pipe.readFromPipe(data.data(), size);
    }

    void TearDown() override { EXPECT_LE(KXSimulation::getLivingObjects(), 1u); }

    KXPipe pipe;
};

TEST_F(Pipes, OpenOneHasNumbersOfItsOwn) {
    KXPipe other;
    ASSERT_EQ(pipe.init(), 0);
    ASSERT_EQ(other.init(), 0);
    EXPECT_TRUE(pipe.isConnected());
    EXPECT_GT(pipe.getReadEndPointID(), 0);
    EXPECT_GT(pipe.getWriteEndPointID(), 0);
    EXPECT_NE(pipe.getReadEndPointID(), pipe.getWriteEndPointID());
    EXPECT_NE(pipe.getReadEndPointID(), other.getReadEndPointID());
    EXPECT_EQ(KXSimulation::getLivingObjects(), 2u);
}

TEST_F(Pipes, InitOfAnOpenOneKeepsItAndItsBytes) {
    ASSERT_EQ(pipe.init(), 0);
    const int id = pipe.getReadEndPointID();
    EXPECT_EQ(write(3), 0);
    EXPECT_EQ(pipe.init(), 0);
    EXPECT_EQ(pipe.getReadEndPointID(), id);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 3);
    EXPECT_EQ(KXSimulation::getLivingObjects(), 1u);
}

TEST_F(Pipes, BytesComeOutAsTheyWentIn) {
    ASSERT_EQ(pipe.init(), 0);
    // Sizes that make the ring wrap and grow in all positions.
    unsigned char next = 0;
    unsigned char expected = 0;
    for (int round = 0; round < 200; ++round) {
        std::vector<unsigned char> data(static_cast<std::size_t>(137 + round));
        for (auto& byte : data)
            byte = next++;
        ASSERT_EQ(pipe.writeIntoPipe(data.data(), static_cast<int>(data.size())), 0);
        std::vector<unsigned char> back(101);
        ASSERT_EQ(pipe.readFromPipe(back.data(), 101), 0);
        for (const auto byte : back)
            ASSERT_EQ(byte, expected++) << "in round " << round;
    }
}

TEST_F(Pipes, CapacityIsOneMebibyteAtFirst) {
    ASSERT_EQ(pipe.init(), 0);
    EXPECT_EQ(write((1 << 20) - 1), 0);
    EXPECT_EQ(write(2), 20) << "one too many";
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), (1 << 20) - 1) << "none of them was taken";
    EXPECT_EQ(write(1), 0);
    EXPECT_EQ(write(1), 20);
    EXPECT_EQ(read(1), 0);
    EXPECT_EQ(write(1), 0);
}

TEST_F(Pipes, CapacityBoundary) {
    ASSERT_EQ(pipe.init(), 0);
    KXSimulation::setPipeCapacity(136);
    EXPECT_EQ(write(137), 20);
    EXPECT_EQ(write(136), 0);
    ASSERT_EQ(read(136), 0);
    EXPECT_EQ(write(135), 0);
    KXSimulation::setPipeCapacity(134);
    EXPECT_EQ(write(1), 20);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 135) << "what is inside stays";
    KXSimulation::setPipeCapacity(136);
    EXPECT_EQ(write(1), 0);
    KXSimulation::setPipeCapacity(-1);
    EXPECT_EQ(write(1), 20);
}

TEST_F(Pipes, ReconnectLosesTheBytesAndChangesTheNumber) {
    ASSERT_EQ(pipe.init(), 0);
    const int id = pipe.getReadEndPointID();
    ASSERT_EQ(write(5), 0);
    EXPECT_EQ(pipe.reconnect(), 0);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
    EXPECT_NE(pipe.getReadEndPointID(), id);
    EXPECT_EQ(KXSimulation::getLivingObjects(), 1u);
}

TEST_F(Pipes, FailedReconnectLeavesItClosed) {
    ASSERT_EQ(pipe.init(), 0);
    KXSimulation::failPipeInits(1);
    EXPECT_EQ(pipe.reconnect(), 20);
    EXPECT_FALSE(pipe.isConnected());
    EXPECT_EQ(KXSimulation::getLivingObjects(), 0u);
    EXPECT_EQ(pipe.reconnect(), 0);
}

TEST_F(Pipes, FaultsCountDownExactly) {
    KXSimulation::failPipeInits(2);
    EXPECT_EQ(pipe.init(), 20);
    EXPECT_EQ(pipe.init(), 20);
    EXPECT_EQ(pipe.init(), 0);

    KXSimulation::failPipeWrites(2);
    EXPECT_EQ(write(4), 20);
    EXPECT_EQ(write(4), 20);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 0);
    EXPECT_EQ(write(4), 0);

    KXSimulation::failPipeReads(2);
    EXPECT_EQ(read(4), 20);
    EXPECT_EQ(read(4), 20);
    EXPECT_EQ(pipe.getNoOfBytesAvailable(), 4) << "a failing read loses nothing";
    EXPECT_EQ(read(4), 0);
}

TEST_F(Pipes, CallsThatReachNoSystemUseUpNoFault) {
    KXSimulation::failPipeWrites(1);
    KXSimulation::failPipeReads(1);
    EXPECT_EQ(write(1), 20) << "closed";
    EXPECT_EQ(read(1), 20) << "closed";
    ASSERT_EQ(pipe.init(), 0);
    EXPECT_EQ(pipe.writeIntoPipe(nullptr, 1), 24);
    EXPECT_EQ(write(1), 20) << "the fault";
    EXPECT_EQ(write(1), 0);
    EXPECT_EQ(pipe.readFromPipe(nullptr, 1), 24);
    EXPECT_EQ(read(1), 20) << "the fault";
    EXPECT_EQ(read(1), 0);
}

TEST_F(Pipes, InitOfAnOpenOneUsesUpNoFault) {
    ASSERT_EQ(pipe.init(), 0);
    KXSimulation::failPipeInits(1);
    EXPECT_EQ(pipe.init(), 0);
    KXPipe other;
    EXPECT_EQ(other.init(), 20);
}

TEST_F(Pipes, FaultsCanBeTakenBack) {
    ASSERT_EQ(pipe.init(), 0);
    KXSimulation::failPipeWrites(5);
    KXSimulation::failPipeWrites(0);
    EXPECT_EQ(write(1), 0);
}

} // namespace KX::test
