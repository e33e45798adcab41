#pragma once

#include "platform/KXCPU.h"
#include "platform/KXThreadSafety.h"

#include <atomic>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>

namespace KX {

/// A boost::mutex for critical sections of some nanoseconds: \ref lock backs off for a few microseconds before it
/// sleeps.
///
/// Sleep and wake-up take a hundred times as long as appending an event. With the back-off, two threads that move
/// events through one queue need half the time; four posting threads need a third.
///
/// The flag \c isTaken is only a hint: the mutex itself decides. A thread that locks the plain boost::mutex does
/// not set the flag; others then skip the back-off. On a single core the back-off wastes some microseconds. Any thread.
class KX_CAPABILITY("mutex") KXBackoffMutex : public boost::mutex {
public:
    // boost::mutex has annotations only on demand, so clang cannot follow these three.

    /// \throws boost::lock_error  as boost::mutex does
    void lock() KX_ACQUIRE() KX_NO_THREAD_SAFETY_ANALYSIS {
        if (isTaken.load(std::memory_order_relaxed))
            backOff();
        boost::mutex::lock();
        isTaken.store(true, std::memory_order_relaxed);
    }

    /// For the thread that holds the mutex. Does not block.
    void unlock() KX_RELEASE() KX_NO_THREAD_SAFETY_ANALYSIS {
        isTaken.store(false, std::memory_order_relaxed);
        boost::mutex::unlock();
    }

    /// Unlocks the mutex, waits for \p condition and locks the mutex again, also when the wait throws. The caller
    /// holds the mutex. An interrupted wait may have consumed a wake-up, so it wakes another waiting thread. Out of
    /// line: a queue hardly ever waits.
    template<class Condition>
    [[gnu::noinline, gnu::cold]] void wait(Condition& condition) KX_REQUIRES(this) KX_NO_THREAD_SAFETY_ANALYSIS {
        isTaken.store(false, std::memory_order_relaxed);
        const MarkTaken markTaken(isTaken);
        boost::unique_lock<boost::mutex> lock(*this, boost::adopt_lock);
        const Release release(lock);
        try {
            condition.wait(lock);
        } catch (...) {
            condition.notify_one();
            throw;
        }
    }

protected:
    std::atomic<bool> isTaken{false}; ///< the hint; written by the thread that holds the mutex

private:
    // The caller keeps the mutex, so the unique_lock of the wait must not unlock it.
    struct Release {
        explicit Release(boost::unique_lock<boost::mutex>& heldLock) : lock(heldLock) {}
        ~Release() { lock.release(); }
        boost::unique_lock<boost::mutex>& lock;
    };

    struct MarkTaken {
        explicit MarkTaken(std::atomic<bool>& takenFlag) : flag(takenFlag) {}
        ~MarkTaken() { flag.store(true, std::memory_order_relaxed); }
        std::atomic<bool>& flag;
    };

    // Out of line: the mutex is usually free.
    [[gnu::noinline]] void backOff() const {
        constexpr int shortestPause = 128;
        constexpr int longestPause = 256;
        for (int pause = shortestPause; pause <= longestPause; pause *= 2) {
            for (int i = 0; i < pause; ++i)
                relaxCPU();
            if (!isTaken.load(std::memory_order_relaxed))
                return;
        }
    }
};

} // namespace KX
