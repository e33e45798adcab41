#include "events/sync/KXBackoffMutex.h"

#include <atomic>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_guard.hpp>
#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <thread>
#include <time.h>
#include <vector>

using Lock = boost::lock_guard<KX::KXBackoffMutex>;

namespace {

/// Processor time of the calling thread.
std::chrono::nanoseconds getThreadTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

class BackoffMutexTest : public testing::Test {
protected:
    class OpenMutex : public KX::KXBackoffMutex {
    public:
        using KXBackoffMutex::isTaken;
    };

    OpenMutex mutex;
    std::atomic<bool>& isTaken = mutex.isTaken;
};

} // namespace

TEST_F(BackoffMutexTest, holdsAFreeMutexUntilItsEnd) {
    {
        const Lock lock(mutex);
        EXPECT_FALSE(mutex.try_lock());
        EXPECT_TRUE(isTaken);
    }
    EXPECT_FALSE(isTaken);
    ASSERT_TRUE(mutex.try_lock());
    mutex.unlock();
}

TEST_F(BackoffMutexTest, locksAFreeMutexThatLooksTaken) {
    isTaken = true;
    const Lock lock(mutex);
    EXPECT_FALSE(mutex.try_lock());
}

TEST_F(BackoffMutexTest, backsOffOnlyFromAMutexThatLooksTaken) {
    constexpr int lockCount = 1000;
    const auto getTimeOfLocks = [&](bool looksTaken) {
        const auto before = getThreadTime();
        for (int i = 0; i < lockCount; ++i) {
            isTaken = looksTaken;
            const Lock lock(mutex);
        }
        return getThreadTime() - before;
    };
    const std::chrono::nanoseconds free = getTimeOfLocks(false);
    const std::chrono::nanoseconds taken = getTimeOfLocks(true);
    EXPECT_GT(taken, 2 * free);
    EXPECT_LT(taken - free, lockCount * std::chrono::milliseconds(1)) << "to sleep would take less";
}

TEST_F(BackoffMutexTest, waitsForAMutexThatIsLockedAsAPlainOne) {
    boost::mutex& plain = mutex;
    plain.lock();
    EXPECT_FALSE(isTaken);
    std::atomic<bool> isHeld{true};
    std::atomic<bool> isReady{false};
    std::thread other([&] {
        isReady = true;
        const Lock lock(mutex);
        EXPECT_FALSE(isHeld);
    });
    while (!isReady)
        std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    isHeld = false;
    plain.unlock();
    other.join();
}

TEST_F(BackoffMutexTest, passesOnWhatLockingReports) {
    // An error-checking mutex: locking it twice fails instead of blocking for ever.
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_destroy(mutex.native_handle());
    pthread_mutex_init(mutex.native_handle(), &attributes);
    pthread_mutexattr_destroy(&attributes);

    const Lock lock(mutex);
    try {
        const Lock again(mutex);
        FAIL() << "it was locked twice";
    } catch (const boost::lock_error& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("boost: mutex lock failed in pthread_mutex_lock"));
        EXPECT_EQ(error.code().value(), EDEADLK);
    }
    EXPECT_TRUE(isTaken) << "the first lock goes on";
}

TEST_F(BackoffMutexTest, givesTheMutexUpWhileItWaitsForACondition) {
    boost::condition_variable condition;
    bool changed = false; // guarded by mutex
    std::thread other;
    {
        const Lock lock(mutex);
        other = std::thread([&] {
            const Lock otherLock(mutex);
            changed = true;
            condition.notify_one();
        });
        while (!changed)
            mutex.wait(condition);
        EXPECT_FALSE(mutex.try_lock());
        EXPECT_TRUE(isTaken);
    }
    other.join();
}

TEST_F(BackoffMutexTest, looksFreeWhileItWaitsForACondition) {
    struct Condition {
        const std::atomic<bool>& isTaken;
        bool lookedTaken = true;
        void wait(boost::unique_lock<boost::mutex>&) { lookedTaken = isTaken; }
        void notify_one() {}
    } condition{isTaken};
    const Lock lock(mutex);
    mutex.wait(condition);
    EXPECT_FALSE(condition.lookedTaken);
    EXPECT_TRUE(isTaken);
}

TEST_F(BackoffMutexTest, holdsTheMutexWhenAWaitIsInterrupted) {
    struct Condition {
        void wait(boost::unique_lock<boost::mutex>&) { throw boost::thread_interrupted(); }
        void notify_one() {}
    } condition;
    const Lock lock(mutex);
    EXPECT_THROW(mutex.wait(condition), boost::thread_interrupted);
    EXPECT_FALSE(mutex.try_lock());
    EXPECT_TRUE(isTaken);
}

TEST_F(BackoffMutexTest, passesTheWakeUpOnWhenAWaitIsInterrupted) {
    struct Condition {
        bool isInterrupted;
        int notifiedCount = 0;
        void wait(boost::unique_lock<boost::mutex>&) {
            if (isInterrupted)
                throw boost::thread_interrupted();
        }
        void notify_one() { ++notifiedCount; }
    } woken{false}, interrupted{true};
    const Lock lock(mutex);
    mutex.wait(woken);
    EXPECT_EQ(woken.notifiedCount, 0);
    EXPECT_THROW(mutex.wait(interrupted), boost::thread_interrupted);
    EXPECT_EQ(interrupted.notifiedCount, 1);
}

TEST_F(BackoffMutexTest, letsOneThreadInAtATime) {
    constexpr int threadCount = 4;
    constexpr int roundCount = 20000;
    int plainCount = 0;      // guarded by mutex
    int lookedFreeCount = 0; // guarded by mutex
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < roundCount; ++round) {
                const Lock lock(mutex);
                ++plainCount;
                lookedFreeCount += isTaken ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(plainCount, threadCount * roundCount);
    EXPECT_EQ(lookedFreeCount, 0) << "the others would sleep at once";
}

TEST_F(BackoffMutexTest, sleepsWhenTheMutexStaysTaken) {
    constexpr std::chrono::milliseconds held(100);
    std::atomic<bool> isReady{false};
    std::chrono::nanoseconds used(0);
    mutex.lock();
    std::thread waiting([&] {
        isReady = true;
        const auto before = getThreadTime();
        const Lock lock(mutex);
        used = getThreadTime() - before;
    });
    while (!isReady)
        std::this_thread::yield();
    std::this_thread::sleep_for(held);
    mutex.unlock();
    waiting.join();
    // The back-off takes some ten microseconds, plus two context switches. Spinning alone would take the whole
    // time.
    EXPECT_LT(used, held / 10);
}
