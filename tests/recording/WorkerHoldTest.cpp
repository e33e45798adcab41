#include "recording/KXWorkerHold.h"

#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

using namespace KX;

namespace {

using namespace std::chrono_literals;

// Long enough for a thread that could go on to do so; one that cannot does not matter how long.
constexpr auto moment = 50ms;
constexpr auto longEnough = 60s;

std::future<void> passElsewhere(KXWorkerHold& hold) {
    return std::async(
        std::launch::async, [&hold] { hold.onPassDue(); });
}

} // namespace

TEST(WorkerHoldTest, LetsPassesGoUntilItIsToldToKeepThem) {
    KXWorkerHold hold;
    hold.onPassDue();
    hold.release();
    hold.onPassDue();
}

TEST(WorkerHoldTest, KeepsAPassUntilItIsReleased) {
    KXWorkerHold hold;
    std::atomic<bool> isOver{false};
    std::thread worker([&] {
        while (!isOver)
            hold.onPassDue();
    });
    hold.keep();
    isOver = true; // the worker is kept now, and looks at this only when it is released
    const std::future<void> end = std::async(std::launch::async, [&worker] { worker.join(); });
    EXPECT_EQ(std::future_status::timeout, end.wait_for(moment));
    hold.release();
    EXPECT_EQ(std::future_status::ready, end.wait_for(longEnough));
}

TEST(WorkerHoldTest, KeepsOnePassAfterTheOther) {
    KXWorkerHold hold;
    std::atomic<bool> isOver{false};
    std::atomic<int> passes{0};
    std::thread worker([&] {
        for (; !isOver; ++passes)
            hold.onPassDue();
    });
    for (int round = 0; round < 3; ++round) {
        hold.keep();
        const int before = passes;
        std::this_thread::sleep_for(moment);
        EXPECT_EQ(before, passes);
        hold.release();
        const auto limit = std::chrono::steady_clock::now() + longEnough;
        while (passes == before && std::chrono::steady_clock::now() < limit)
            std::this_thread::yield();
        EXPECT_GT(passes, before);
    }
    isOver = true;
    worker.join();
}

TEST(WorkerHoldTest, DoesNotWaitForEverWithoutAWorker) {
    KXWorkerHold hold;
    hold.keep();
    hold.release();
    EXPECT_EQ(std::future_status::ready, passElsewhere(hold).wait_for(longEnough));
}

TEST(WorkerHoldTest, LetsTheWorkerGoAfterTheLongestTime) {
    KXWorkerHold hold;
    std::atomic<bool> isOver{false};
    std::thread worker([&] {
        while (!isOver)
            hold.onPassDue();
    });
    hold.keep(50);
    isOver = true;
    std::future<void> end = std::async(std::launch::async, [&worker] { worker.join(); });
    EXPECT_EQ(std::future_status::ready, end.wait_for(longEnough));
    hold.release();
}

TEST(WorkerHoldTest, KeepsTheWorkerOnlyOnceForTheLongestTime) {
    constexpr int passesAfterwards = 300; // which would take longer than a minute if each one were kept
    KXWorkerHold hold;
    std::atomic<bool> isOver{false};
    std::atomic<int> passes{0};
    std::thread worker([&] {
        for (; !isOver; ++passes)
            hold.onPassDue();
    });
    hold.keep(300);
    const int before = passes;
    const auto limit = std::chrono::steady_clock::now() + longEnough;
    while (passes < before + passesAfterwards && std::chrono::steady_clock::now() < limit)
        std::this_thread::yield();
    EXPECT_GE(passes, before + passesAfterwards);
    isOver = true;
    hold.release();
    worker.join();
}

TEST(WorkerHoldTest, AManagerCanBeDeletedWhileItsWorkerIsKeptForALimitedTime) {
    KXSimulation::reset();
    KXInputEventManager::createInstance();
    KXWorkerHold hold;
    KXInputEventManager::setObserver(&hold);
    hold.keep(50); // the simulated worker waits for the clock, so it is kept when the manager wakes it to end
    KXInputEventManager::deleteInstance();
    EXPECT_FALSE(KXInputEventManager::hasInstance());
    KXInputEventManager::setObserver(nullptr);
}
