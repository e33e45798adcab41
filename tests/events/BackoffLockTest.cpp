#include "events/BackoffLock.h"

#include <atomic>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/exceptions.hpp>
#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
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

class BackoffLockTest : public testing::Test {
protected:
    boost::mutex mutex;
    std::atomic<bool> isTaken{false};
};

} // namespace

TEST_F(BackoffLockTest, holdsAFreeMutexUntilItsEnd) {
    {
        const BackoffLock lock(mutex, isTaken);
        EXPECT_FALSE(mutex.try_lock());
        EXPECT_TRUE(isTaken);
    }
    EXPECT_FALSE(isTaken);
    ASSERT_TRUE(mutex.try_lock());
    mutex.unlock();
}

TEST_F(BackoffLockTest, locksAFreeMutexThatLooksTaken) {
    isTaken = true;
    const BackoffLock lock(mutex, isTaken);
    EXPECT_FALSE(mutex.try_lock());
}

TEST_F(BackoffLockTest, looksAwayOnlyFromAMutexThatLooksTaken) {
    constexpr int lockCount = 1000;
    const auto getTimeOfLocks = [&](bool looksTaken) {
        const auto before = getThreadTime();
        for (int i = 0; i < lockCount; ++i) {
            isTaken = looksTaken;
            const BackoffLock lock(mutex, isTaken);
        }
        return getThreadTime() - before;
    };
    const std::chrono::nanoseconds free = getTimeOfLocks(false);
    const std::chrono::nanoseconds taken = getTimeOfLocks(true);
    EXPECT_GT(taken, 2 * free);
    EXPECT_LT(taken - free, lockCount * std::chrono::milliseconds(1)) << "to sleep would take less";
}

TEST_F(BackoffLockTest, waitsForATakenMutexThatLooksFree) {
    mutex.lock();
    std::atomic<bool> isHeld{true};
    std::atomic<bool> isReady{false};
    std::thread other([&] {
        isReady = true;
        const BackoffLock lock(mutex, isTaken);
        EXPECT_FALSE(isHeld);
    });
    while (!isReady)
        std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    isHeld = false;
    mutex.unlock();
    other.join();
}

TEST_F(BackoffLockTest, passesOnWhatLockingReports) {
    // A mutex that knows its holder: locking it twice is an error instead of the end of the thread.
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_destroy(mutex.native_handle());
    pthread_mutex_init(mutex.native_handle(), &attributes);
    pthread_mutexattr_destroy(&attributes);

    const BackoffLock lock(mutex, isTaken);
    try {
        const BackoffLock again(mutex, isTaken);
        FAIL() << "it was locked twice";
    } catch (const boost::lock_error& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("boost: mutex lock failed in pthread_mutex_lock"));
        EXPECT_EQ(error.code().value(), EDEADLK);
    }
    EXPECT_TRUE(isTaken) << "the first lock goes on";
}

TEST_F(BackoffLockTest, givesTheMutexUpWhileItWaitsForACondition) {
    boost::condition_variable condition;
    bool changed = false; // guarded by mutex
    std::thread other;
    {
        const BackoffLock lock(mutex, isTaken);
        other = std::thread([&] {
            const BackoffLock otherLock(mutex, isTaken);
            changed = true;
            condition.notify_one();
        });
        while (!changed)
            BackoffLock::waitFor(condition, mutex, isTaken);
        EXPECT_FALSE(mutex.try_lock());
        EXPECT_TRUE(isTaken);
    }
    other.join();
}

TEST_F(BackoffLockTest, looksFreeWhileItWaitsForACondition) {
    struct Condition {
        const std::atomic<bool>& isTaken;
        bool lookedTaken = true;
        void wait(boost::unique_lock<boost::mutex>&) {
            lookedTaken = isTaken;
        }
        void notify_one() {}
    } condition{isTaken};
    const BackoffLock lock(mutex, isTaken);
    BackoffLock::waitFor(condition, mutex, isTaken);
    EXPECT_FALSE(condition.lookedTaken);
    EXPECT_TRUE(isTaken);
}

TEST_F(BackoffLockTest, holdsTheMutexWhenAWaitIsInterrupted) {
    struct Condition {
        void wait(boost::unique_lock<boost::mutex>&) {
            throw boost::thread_interrupted();
        }
        void notify_one() {}
    } condition;
    const BackoffLock lock(mutex, isTaken);
    EXPECT_THROW(BackoffLock::waitFor(condition, mutex, isTaken), boost::thread_interrupted);
    EXPECT_FALSE(mutex.try_lock());
    EXPECT_TRUE(isTaken);
}

TEST_F(BackoffLockTest, passesTheWakeUpOnWhenAWaitIsInterrupted) {
    struct Condition {
        bool isInterrupted;
        int notifiedCount = 0;
        void wait(boost::unique_lock<boost::mutex>&) {
            if (isInterrupted)
                throw boost::thread_interrupted();
        }
        void notify_one() {
            ++notifiedCount;
        }
    } woken{false}, interrupted{true};
    const BackoffLock lock(mutex, isTaken);
    BackoffLock::waitFor(woken, mutex, isTaken);
    EXPECT_EQ(woken.notifiedCount, 0);
    EXPECT_THROW(BackoffLock::waitFor(interrupted, mutex, isTaken), boost::thread_interrupted);
    EXPECT_EQ(interrupted.notifiedCount, 1);
}

TEST_F(BackoffLockTest, letsOneThreadInAtATime) {
    constexpr int threadCount = 4;
    constexpr int roundCount = 20000;
    int plainCount = 0; // guarded by mutex
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < roundCount; ++round) {
                const BackoffLock lock(mutex, isTaken);
                ++plainCount;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(plainCount, threadCount * roundCount);
}

TEST_F(BackoffLockTest, sleepsWhenTheMutexStaysTaken) {
    constexpr std::chrono::milliseconds held(100);
    std::atomic<bool> isReady{false};
    std::chrono::nanoseconds used(0);
    mutex.lock();
    isTaken = true;
    std::thread waiting([&] {
        isReady = true;
        const auto before = getThreadTime();
        const BackoffLock lock(mutex, isTaken);
        used = getThreadTime() - before;
    });
    while (!isReady)
        std::this_thread::yield();
    std::this_thread::sleep_for(held);
    mutex.unlock();
    waiting.join();
    // Some ten microseconds of looking away and two changes of threads; a thread that only looked would have used all.
    EXPECT_LT(used, held / 10);
}
