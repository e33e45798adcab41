#include "PlatformKit.h"
#include "platform/KXMutex.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace KX::PlatformTests {

class Mutex : public PlatformTest {
protected:
    void SetUp() override { ASSERT_NE(mutex, nullptr); }

    /// Asks on another thread, which gives the mutex back.
    bool isLockedByAnotherThread() const {
        bool locked = false;
        std::thread([&] {
            locked = mutex->lock();
            if (locked)
                mutex->unlock();
        }).join();
        return locked;
    }

    std::unique_ptr<KXMutex> mutex{KXMutex::create()};
};

TEST_F(Mutex, isUnlockedAtFirst) {
    EXPECT_TRUE(mutex->lock());
    mutex->unlock();
    EXPECT_TRUE(isLockedByAnotherThread());
}

TEST_F(Mutex, isHeldByOneThreadAtATime) {
    constexpr int rounds = 10000;
    int inside = 0;
    int most = 0;
    int total = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                const KXAutoLock lock(mutex.get());
                most = std::max(most, ++inside);
                ++total;
                --inside;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(most, 1);
    EXPECT_EQ(total, 4 * rounds);
}

TEST_F(Mutex, lockBlocksUntilTheOtherThreadUnlocks) {
    ASSERT_TRUE(mutex->lock());
    Meeting meeting(2);
    std::atomic<bool> hasReturned{false};
    bool locked = false;
    std::thread other([&] {
        meeting.join();
        locked = mutex->lock();
        hasReturned = true;
        if (locked)
            mutex->unlock();
    });
    meeting.join();
    std::this_thread::sleep_for(std::chrono::milliseconds(30)); // the other one may or may not be there by then
    EXPECT_FALSE(hasReturned) << "it did not block";
    mutex->unlock();
    other.join();
    EXPECT_TRUE(locked);
}

TEST_F(Mutex, refusesTheThreadThatHoldsItAtOnceAndStaysHeld) {
    ASSERT_TRUE(mutex->lock());
    EXPECT_FALSE(mutex->lock());
    EXPECT_FALSE(mutex->lock());
    mutex->unlock();
    EXPECT_TRUE(mutex->lock()) << "one unlock was enough";
    mutex->unlock();
    EXPECT_TRUE(isLockedByAnotherThread());
}

TEST_F(Mutex, isIndependentOfOthers) {
    const std::unique_ptr<KXMutex> second(KXMutex::create());
    ASSERT_NE(second, nullptr);
    const KXAutoLock lock(mutex.get());
    EXPECT_TRUE(second->lock());
    second->unlock();
}

class RecordingMutex : public KXMutex {
public:
    explicit RecordingMutex(bool works) : succeeds(works) {}

    bool lock() override {
        ++locks;
        return succeeds;
    }

    void unlock() override { ++unlocks; }

    const bool succeeds;
    int locks = 0;
    int unlocks = 0;
};

using AutoLock = PlatformTest;

TEST_F(AutoLock, holdsTheMutexForItsScope) {
    RecordingMutex mutex(true);
    {
        const KXAutoLock lock(&mutex);
        EXPECT_EQ(mutex.locks, 1);
        EXPECT_EQ(mutex.unlocks, 0);
    }
    EXPECT_EQ(mutex.locks, 1);
    EXPECT_EQ(mutex.unlocks, 1);
}

TEST_F(AutoLock, doesNotUnlockAMutexThatItCouldNotLock) {
    RecordingMutex mutex(false);
    { const KXAutoLock lock(&mutex); }
    EXPECT_EQ(mutex.locks, 1);
    EXPECT_EQ(mutex.unlocks, 0);
}

TEST_F(AutoLock, doesNothingOnNull) {
    const KXAutoLock lock(nullptr);
}

} // namespace KX::PlatformTests
