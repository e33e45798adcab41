#include "events/BackoffLock.h"

#include <atomic>
#include <boost/thread/condition_variable.hpp>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <time.h>
#include <vector>

using KX::BackoffLock;

namespace {

/// Processor time that the calling thread has had.
std::chrono::nanoseconds getThreadTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

TEST(BackoffLock, holdsAFreeMutexUntilItsEnd) {
    boost::mutex mutex;
    {
        const BackoffLock lock(mutex);
        EXPECT_TRUE(lock.owns_lock());
        EXPECT_EQ(lock.mutex(), &mutex);
        EXPECT_FALSE(mutex.try_lock());
    }
    ASSERT_TRUE(mutex.try_lock());
    mutex.unlock();
}

TEST(BackoffLock, isGivenUpAndTakenBackByACondition) {
    boost::mutex mutex;
    boost::condition_variable condition;
    bool changed = false;
    std::thread other;
    {
        BackoffLock lock(mutex);
        other = std::thread([&] {
            const BackoffLock otherLock(mutex);
            changed = true;
            condition.notify_one();
        });
        while (!changed)
            condition.wait(lock);
        EXPECT_TRUE(lock.owns_lock());
        EXPECT_FALSE(mutex.try_lock());
    }
    other.join();
}

TEST(BackoffLock, letsOneThreadInAtATime) {
    constexpr int threadCount = 4;
    constexpr int roundCount = 20000;
    boost::mutex mutex;
    int plainCount = 0; // guarded by mutex
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < roundCount; ++round) {
                const BackoffLock lock(mutex);
                ++plainCount;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(plainCount, threadCount * roundCount);
}

TEST(BackoffLock, sleepsWhenTheMutexStaysTaken) {
    constexpr std::chrono::milliseconds held(100);
    boost::mutex mutex;
    std::atomic<bool> isReady{false};
    std::chrono::nanoseconds used(0);
    mutex.lock();
    std::thread waiting([&] {
        isReady = true;
        const auto before = getThreadTime();
        const BackoffLock lock(mutex);
        used = getThreadTime() - before;
    });
    while (!isReady)
        std::this_thread::yield();
    std::this_thread::sleep_for(held);
    mutex.unlock();
    waiting.join();
    // Ten microseconds of looking away and two changes of threads; a thread that only looked would have used it all.
    EXPECT_LT(used, held / 10);
}
