#include "platform/KXCANRaw.h"
#include "platform/KXEndPointHandler.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXPipe.h"
#include "platform/KXTick.h"
#include "support/BusFolder.h"
#include "support/Waiting.h"
#include "tests/support/HeapCount.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <memory_resource>
#include <vector>

namespace {

using KX::KXCANRaw;

class IdleHandler : public KX::KXEndPointHandler {
    void onEndPointReadable(KX::KXEndPoint*, KX::KXEndPointManager*) override {}
    void onEndPointReconnected(KX::KXEndPoint*) override {}
    void onEndPointDisconnected(KX::KXEndPoint*) override {}
};

/// Calls \p attempt with memory for 0, 1, 2, ... allocations until it succeeds. \return how often it failed
template<class Attempt>
unsigned long countFailures(Attempt attempt) {
    for (unsigned long successes = 0; successes < 1000; ++successes)
        if (attempt(successes))
            return successes;
    ADD_FAILURE() << "never succeeded";
    return 0;
}

/// Each step of the opening may find no memory.
TEST(KXCANRawMemory, aBusThatFindsNoMemoryIsNullAndLeavesNothingBehind) {
    const BusFolder folder;
    testing::internal::CaptureStderr();
    const int descriptors = countOpenDescriptors();
    const unsigned long failures = countFailures([&](unsigned long successes) {
        std::unique_ptr<KXCANRaw> bus;
        {
            const KX::test::NoMoreMemory limit(successes);
            bus.reset(KXCANRaw::create(0, 0, 0));
        }
        if (!bus) {
            EXPECT_FALSE(std::filesystem::exists(folder.path)) << "with memory for " << successes;
            EXPECT_EQ(countOpenDescriptors(), descriptors) << "with memory for " << successes;
        }
        return bus != nullptr;
    });
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_GT(failures, 2U) << "the replaced allocator does not see the library's allocations";
    EXPECT_EQ(said.find("[kx_can_raw:1] bus 0: no memory is left\n"), 0u) << said;
}

TEST(KXCANRawMemory, aReconnectWithoutMemoryFailsOrSucceedsAsWithIt) {
    const BusFolder folder;
    const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
    ASSERT_NE(bus, nullptr);
    const auto reconnect = [&] {
        const KX::test::NoMoreMemory limit;
        return bus->reconnect();
    };
    std::filesystem::remove(folder.path);
    std::filesystem::create_directory(folder.path);
    EXPECT_EQ(reconnect(), 20) << "the reason takes memory";
    std::filesystem::remove(folder.path);
    EXPECT_EQ(reconnect(), 0);
    EXPECT_TRUE(bus->isConnected());
}

// A wait comes with every frame of a busy bus.
TEST(KXEndPointManagerMemory, aWaitForThirtyEndPointsAllocatesNothing) {
    KX::KXEndPointManager manager;
    IdleHandler handler;
    std::vector<std::unique_ptr<KX::KXPipe>> pipes;
    for (int i = 0; i < 30; ++i) {
        pipes.push_back(std::make_unique<KX::KXPipe>());
        ASSERT_EQ(pipes.back()->init(), 0);
        ASSERT_EQ(manager.addEndPoint(pipes.back().get(), &handler), 0);
        char byte = 0;
        ASSERT_EQ(pipes.back()->writeIntoPipe(&byte, 1), 0);
    }
    // The allocator of this program does not see what a memory resource allocates.
    std::pmr::memory_resource* const usual = std::pmr::set_default_resource(std::pmr::null_memory_resource());
    const unsigned long before = KX::test::heapAllocations;
    int calls = 0;
    EXPECT_NO_THROW(calls = manager.waitForEndPoints(KX::KXTick::getTickCount(), 0));
    EXPECT_EQ(KX::test::heapAllocations, before);
    EXPECT_EQ(calls, 30);
    std::pmr::set_default_resource(usual);
    for (const auto& pipe : pipes)
        EXPECT_EQ(manager.removeEndPoint(pipe.get()), 0);
}

TEST(KXEndPointManagerMemory, anEndPointForWhichNoMemoryIsLeftIsRefused) {
    const BusFolder folder;
    const std::unique_ptr<KXCANRaw> bus(KXCANRaw::create(0, 0, 0));
    ASSERT_NE(bus, nullptr);
    KX::KXEndPointManager manager;
    IdleHandler handler;
    int status = -1;
    {
        const KX::test::NoMoreMemory limit;
        status = manager.addEndPoint(bus.get(), &handler);
    }
    EXPECT_EQ(status, 20);
    EXPECT_EQ(manager.removeEndPoint(bus.get()), 20) << "it was registered";
    EXPECT_EQ(manager.addEndPoint(bus.get(), &handler), 0);
    EXPECT_EQ(manager.removeEndPoint(bus.get()), 0);
}

} // namespace
