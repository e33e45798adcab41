#include "events/sync/KXCountedCondition.h"

#include <gtest/gtest.h>

#include <atomic>
#include <boost/thread/thread.hpp>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace KX {
namespace {

using Lock = boost::unique_lock<boost::mutex>;

class CountedCondition : public testing::Test {
protected:
    /// Lets a thread wait, signals it once like a queue, and returns when the thread has ended.
    template<class Wait>
    void expectASignalToEnd(Wait wait) {
        for (int round = 0; round < 100; ++round) {
            std::atomic<bool> holdsMutex{false};
            isSignalled = false;
            std::thread waiting([&] {
                Lock lock(mutex);
                holdsMutex = true;
                wait(lock);
            });
            while (!holdsMutex)
                std::this_thread::yield();
            {
                const Lock lock(mutex); // free only while the other thread waits
                isSignalled = true;
                condition.notifyOneIfAwaited();
            }
            waiting.join();
        }
    }

    boost::mutex mutex;
    KXCountedCondition condition;
    bool isSignalled = false; // guarded by mutex
};

TEST_F(CountedCondition, wakes_a_thread_that_waits) {
    expectASignalToEnd([this](Lock& lock) {
        while (!isSignalled)
            condition.wait(lock);
    });
}

TEST_F(CountedCondition, wakes_a_thread_that_waits_until_something_holds) {
    expectASignalToEnd([this](Lock& lock) {
        condition.wait(
            lock, [this] { return isSignalled; });
    });
}

TEST_F(CountedCondition, wakes_a_thread_that_waits_until_a_time) {
    expectASignalToEnd([this](Lock& lock) {
        const boost::chrono::steady_clock::time_point end{boost::chrono::hours(100000)}; // since the start
        EXPECT_TRUE(condition.wait_until(
            lock, end, [this] { return isSignalled; }));
    });
}

TEST_F(CountedCondition, wakes_a_thread_that_waits_for_some_time_by_the_wall_clock) {
    expectASignalToEnd([this](Lock& lock) {
        EXPECT_TRUE(condition.timed_wait(
            lock, boost::posix_time::hours(1), [this] { return isSignalled; }));
    });
}

TEST_F(CountedCondition, tells_that_the_time_of_a_wait_is_over) {
    Lock lock(mutex);
    const auto never = [] { return false; };
    const boost::chrono::steady_clock::time_point start{}; // of the system: it has passed
    EXPECT_FALSE(condition.wait_until(lock, start, never));
    EXPECT_FALSE(condition.timed_wait(lock, boost::posix_time::milliseconds(1), never));
    while (condition.wait_until(lock, start) != boost::cv_status::timeout)
        ; // woken without a reason
    EXPECT_TRUE(lock.owns_lock());
}

TEST_F(CountedCondition, wakes_a_thread_that_waits_by_the_plain_condition) {
    boost::condition_variable& plain = condition;
    expectASignalToEnd([&](Lock& lock) {
        while (!isSignalled)
            plain.wait(lock);
    });
}

TEST_F(CountedCondition, wakes_a_thread_that_waits_by_the_system_s_own_condition) {
    pthread_cond_t* const native = condition.native_handle();
    expectASignalToEnd([&](Lock&) {
        while (!isSignalled)
            pthread_cond_wait(native, mutex.native_handle());
    });
}

// Only looked at: a call would need Boost.Chrono, which the library does not link.
using MilliSeconds = boost::chrono::milliseconds;
static_assert(std::is_same_v<boost::cv_status, decltype(std::declval<KXCountedCondition&>().wait_for(
                                                   std::declval<Lock&>(), std::declval<MilliSeconds>()))>);

TEST_F(CountedCondition, wakes_all_that_wait) {
    std::vector<std::thread> threads;
    std::atomic<int> waiting{0};
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            Lock lock(mutex);
            ++waiting;
            condition.wait(lock, [this] { return isSignalled; });
        });
    while (waiting < 3)
        std::this_thread::yield();
    {
        const Lock lock(mutex);
        isSignalled = true;
    }
    condition.notify_all();
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(CountedCondition, leaves_a_wait_uncounted_that_was_interrupted) {
    for (int round = 0; round < 100; ++round) {
        std::atomic<bool> holdsMutex{false};
        boost::thread waiting([&] {
            Lock lock(mutex);
            holdsMutex = true;
            EXPECT_THROW(condition.wait(lock), boost::thread_interrupted);
            EXPECT_TRUE(lock.owns_lock());
        });
        while (!holdsMutex)
            std::this_thread::yield();
        waiting.interrupt();
        waiting.join();
    }
    expectASignalToEnd([this](Lock& lock) {
        while (!isSignalled)
            condition.wait(lock);
    });
}

} // namespace
} // namespace KX
