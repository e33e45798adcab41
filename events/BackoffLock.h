#pragma once

#include <atomic>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>

namespace KX {

/// Locks the mutex of a queue, which is seldom held for longer than it takes to move an event.
///
/// To sleep until it is free and to be woken would take some hundred times as long. Who sees it taken looks away
/// first, a few times and each time for longer, so that the other thread gets several events done; and then locks
/// whatever there is to see, as does who sees it free. What is seen is a flag beside the mutex, which may be wrong:
/// it only saves time. On a single core, or when the holder is not running, that costs a microsecond to some ten,
/// by processor.
class BackoffLock {
public:
    /// \param isTaken  the same for all who lock \p mutex so, false at first
    /// \throws boost::lock_error  as \p mutex does
    BackoffLock(boost::mutex& mutex, std::atomic<bool>& isTaken) : heldMutex(mutex), isHeldMutexTaken(isTaken) {
        if (isTaken.load(std::memory_order_relaxed))
            lookAway(isTaken);
        mutex.lock();
        isTaken.store(true, std::memory_order_relaxed);
    }

    ~BackoffLock() {
        isHeldMutexTaken.store(false, std::memory_order_relaxed);
        heldMutex.unlock();
    }

    BackoffLock(const BackoffLock&) = delete;
    BackoffLock& operator=(const BackoffLock&) = delete;

    /// Waits for \p condition with a mutex that the caller has locked so, and that is locked again in the end, however
    /// the wait ends. A wait that ends by an exception may have been woken before: then another thread is.
    template<class Condition>
    static void waitFor(Condition& condition, boost::mutex& mutex, std::atomic<bool>& isTaken) {
        Lent lock(mutex, isTaken);
        try {
            condition.wait(lock);
        } catch (...) {
            condition.notify_one();
            throw;
        }
    }

private:
    /// A mutex that is held before and after, for those who give it up while they wait.
    class Lent : public boost::unique_lock<boost::mutex> {
    public:
        Lent(boost::mutex& mutex, std::atomic<bool>& isTaken)
            : unique_lock(mutex, boost::adopt_lock), isLentMutexTaken(isTaken) {
            isTaken.store(false, std::memory_order_relaxed);
        }

        ~Lent() {
            isLentMutexTaken.store(true, std::memory_order_relaxed);
            release();
        }

        Lent(const Lent&) = delete;
        Lent& operator=(const Lent&) = delete;

    private:
        std::atomic<bool>& isLentMutexTaken;
    };

    /// Apart, so that who sees the mutex free does not pay for it.
    [[gnu::noinline]] static void lookAway(const std::atomic<bool>& isTaken);

    boost::mutex& heldMutex;
    std::atomic<bool>& isHeldMutexTaken;
};

} // namespace KX
