#pragma once

#include "platform/KXCPU.h"

#include <atomic>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>

namespace KX {

/// A boost::mutex for critical sections of some nanoseconds: \ref lock spins for a few microseconds before it sleeps.
///
/// To sleep and to be woken takes a hundred times as long as to append an event. While another thread holds the
/// mutex, a thread backs off instead, and the holder gets several events done in that time. Two threads that move
/// events through one queue take half the time for it; four threads that post take a third.
///
/// A flag beside the mutex says whether it is taken. The flag is only a hint: the mutex itself decides. A thread that
/// locks it as a plain boost::mutex does not set the flag and loses nothing but the spinning. On a single core, or
/// when the holder does not run, the spinning is wasted: some microseconds.
class KXBackoffMutex : public boost::mutex {
public:
    /// \throws boost::lock_error  as boost::mutex does
    void lock() {
        if (isTaken.load(std::memory_order_relaxed))
            backOff();
        boost::mutex::lock();
        isTaken.store(true, std::memory_order_relaxed);
    }

    void unlock() {
        isTaken.store(false, std::memory_order_relaxed);
        boost::mutex::unlock();
    }

    /// Gives the mutex up, waits for \p condition and takes the mutex again, also when the wait throws.
    ///
    /// For the thread that holds the mutex. A wait that is interrupted may have consumed a wake-up, so it passes the
    /// wake-up on to another waiting thread.
    template<class Condition>
    void wait(Condition& condition) {
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
    std::atomic<bool> isTaken{false}; // a hint; changed by the thread that holds the mutex

private:
    // The caller still holds the mutex afterwards, so the lock of the wait must not give it back.
    struct Release {
        explicit Release(boost::unique_lock<boost::mutex>& heldLock) : lock(heldLock) {}
        ~Release() {
            lock.release();
        }
        boost::unique_lock<boost::mutex>& lock;
    };

    struct MarkTaken {
        explicit MarkTaken(std::atomic<bool>& takenFlag) : flag(takenFlag) {}
        ~MarkTaken() {
            flag.store(true, std::memory_order_relaxed);
        }
        std::atomic<bool>& flag;
    };

    // Out of line: a free mutex is the usual case and should not carry this code along.
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
