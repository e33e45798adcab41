#include "platform/KXMutex.h"

#include "platform/KXThread.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(KXMutex, excludesThreadsFromEachOther) {
    const std::unique_ptr<KX::KXMutex> mutex(KX::KXMutex::create());
    ASSERT_NE(mutex, nullptr);
    const int rounds = 20000;
    int inside = 0;
    int worst = 0;
    long counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                const KX::KXAutoLock guard(mutex.get());
                worst = std::max(worst, ++inside);
                ++counter;
                --inside;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(worst, 1);
    EXPECT_EQ(counter, 4L * rounds);
}

TEST(KXMutex, waitsUntilTheOtherThreadUnlocks) {
    const std::unique_ptr<KX::KXMutex> mutex(KX::KXMutex::create());
    ASSERT_NE(mutex, nullptr);
    ASSERT_TRUE(mutex->lock());
    std::atomic<bool> tries{false};
    std::atomic<bool> holds{false};
    std::thread other([&] {
        tries = true;
        const bool locked = mutex->lock();
        holds = locked;
        if (locked)
            mutex->unlock();
    });
    ASSERT_TRUE(waitUntil([&] { return tries.load(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(holds) << "two threads held the mutex";
    mutex->unlock();
    other.join();
    EXPECT_TRUE(holds);
}

TEST(KXMutex, refusesTheThreadThatHoldsItAndStaysHeld) {
    const std::unique_ptr<KX::KXMutex> mutex(KX::KXMutex::create());
    ASSERT_NE(mutex, nullptr);
    ASSERT_TRUE(mutex->lock());
    EXPECT_FALSE(mutex->lock());
    mutex->unlock();
    EXPECT_TRUE(mutex->lock());
    mutex->unlock();
}

/// The present priority of a thread in the scheduler; negative for a real-time priority, inherited ones included.
int getPriority(unsigned int threadId) {
    std::ifstream stat("/proc/self/task/" + std::to_string(threadId) + "/stat");
    std::string text;
    std::getline(stat, text);
    std::size_t at = text.rfind(')');
    // State is field 3, priority field 18.
    for (int field = 2; field < 18; ++field)
        at = text.find(' ', at + 1);
    return std::stoi(text.substr(at + 1));
}

TEST(KXMutex, reportsAThreadThatLocksItTwice) {
    const std::unique_ptr<KX::KXMutex> mutex(KX::KXMutex::create());
    ASSERT_TRUE(mutex->lock());
    testing::internal::CaptureStderr();
    EXPECT_FALSE(mutex->lock());
    const std::string report = testing::internal::GetCapturedStderr();
    EXPECT_NE(report.find("kx_mutex"), std::string::npos) << report;
    EXPECT_NE(report.find("an after-post hook must not hand input in"), std::string::npos) << report;
    mutex->unlock();
}

TEST(KXMutex, passesThePriorityOfAWaitingThreadOn) {
    struct Shared {
        std::unique_ptr<KX::KXMutex> mutex{KX::KXMutex::create()};
    } shared;
    ASSERT_NE(shared.mutex, nullptr);
    const std::unique_ptr<KX::KXThread> urgent(KX::KXThread::create("urgent"));
    ASSERT_NE(urgent, nullptr);
    urgent->setEntryFunction(
        [](void* argument) -> void* {
            const KX::KXAutoLock guard(static_cast<Shared*>(argument)->mutex.get());
            return nullptr;
        },
        &shared);

    ASSERT_TRUE(shared.mutex->lock());
    const unsigned int self = KX::KXThread::getCurrentThreadID();
    const int before = getPriority(self);
    if (urgent->start(10, 0) != 0) {
        shared.mutex->unlock();
        GTEST_SKIP() << "this user may not start threads of real-time priority";
    }
    const bool raised = waitUntil([&] { return getPriority(self) == -11; }, std::chrono::seconds(5));
    shared.mutex->unlock();
    EXPECT_EQ(urgent->stopAndWait(), 0);
    EXPECT_TRUE(raised) << "the holder kept priority " << before << " while a thread of real-time priority waited";
    EXPECT_EQ(getPriority(self), before);
}

class FakeMutex : public KX::KXMutex {
public:
    explicit FakeMutex(bool works) : succeeds(works) {}
    bool lock() override {
        ++locks;
        return succeeds;
    }
    void unlock() override { ++unlocks; }

    const bool succeeds;
    int locks = 0;
    int unlocks = 0;
};

TEST(KXAutoLock, locksForItsScope) {
    FakeMutex mutex(true);
    {
        const KX::KXAutoLock guard(&mutex);
        EXPECT_EQ(mutex.locks, 1);
        EXPECT_EQ(mutex.unlocks, 0);
    }
    EXPECT_EQ(mutex.locks, 1);
    EXPECT_EQ(mutex.unlocks, 1);
}

TEST(KXAutoLock, doesNotUnlockWhatItCouldNotLock) {
    FakeMutex mutex(false);
    { const KX::KXAutoLock guard(&mutex); }
    EXPECT_EQ(mutex.locks, 1);
    EXPECT_EQ(mutex.unlocks, 0);
}

TEST(KXAutoLock, doesNothingOnNull) {
    const KX::KXAutoLock guard(nullptr);
}

} // namespace
