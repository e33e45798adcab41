// Any thread may open a bus of its own, and ask whether another thread's bus is connected.

#include "platform/KXCANRaw.h"
#include "support/BusFolder.h"
#include "support/SteadyClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int rounds = 200;

TEST(BusThreadsTest, openBusesOfTheirOwnAtOnce) {
    constexpr int threadCount = 4;
    const BusFolder folders[threadCount]; // of their own: who opens a bus locks its folder
    for (int number = 0; number < threadCount; ++number)
        setenv(("KX_CAN_BUS_" + std::to_string(number)).c_str(), ("unix:" + folders[number].path).c_str(), 1);
    std::atomic<int> opened{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number)
        threads.emplace_back([&opened, number] {
            for (int round = 0; round < rounds; ++round) {
                const std::unique_ptr<KX::KXCANRaw> bus(KX::KXCANRaw::create(number, 0, 0));
                opened += bus && bus->isConnected() ? 1 : 0;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(opened, threadCount * rounds);
    for (int number = 1; number < threadCount; ++number)
        unsetenv(("KX_CAN_BUS_" + std::to_string(number)).c_str());
}

// One thread asks for the bus, again and again, while this one reconnects it.
void reconnectBesideAnAskingThread(KX::KXCANRaw& bus) {
    std::atomic<bool> isDone{false};
    std::atomic<int> asked{0};
    std::thread asking([&] {
        for (; !isDone; ++asked)
            bus.isConnected();
    });
    while (asked == 0)
        std::this_thread::yield();
    for (int round = 0; round < rounds; ++round)
        EXPECT_EQ(bus.reconnect(), 0);
    isDone = true;
    asking.join();
    EXPECT_TRUE(bus.isConnected());
}

TEST(BusThreadsTest, askForABusThatIsReconnected) {
    const BusFolder folder;
    const std::unique_ptr<KX::KXCANRaw> bus(KX::KXCANRaw::create(0, 0, 0));
    ASSERT_TRUE(bus);
    reconnectBesideAnAskingThread(*bus);
}

// Each question finds that another second has passed.
TEST(BusThreadsTest, lookAtTheFileOfABusThatIsReconnected) {
    const BusFolder folder;
    const StandingClock clock;
    clock.advanceAtEachQuestion(std::chrono::seconds(1));
    const std::unique_ptr<KX::KXCANRaw> bus(KX::KXCANRaw::create(0, 0, 0));
    ASSERT_TRUE(bus);
    testing::internal::CaptureStderr();
    reconnectBesideAnAskingThread(*bus);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "nobody else has removed it";
}

} // namespace
