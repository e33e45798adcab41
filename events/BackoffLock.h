#pragma once

#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>

namespace KX {

/// Locks the mutex of a queue, which nobody holds for longer than it takes to move an event.
///
/// To sleep until it is free and to be woken would take some hundred times as long. Who finds it taken looks away
/// instead, each time for longer: the other thread gets several events done meanwhile, and does not lose the mutex's
/// cache line to one that only looks. After some ten microseconds it sleeps all the same, since the holder seems not to
/// be running.
class BackoffLock : public boost::unique_lock<boost::mutex> {
public:
    explicit BackoffLock(boost::mutex& mutex) : unique_lock(locked(mutex), boost::adopt_lock) {}

private:
    static boost::mutex& locked(boost::mutex& mutex) {
        if (!mutex.try_lock())
            lockTaken(mutex);
        return mutex;
    }

    /// Apart, so that who finds the mutex free does not pay for it.
    static void lockTaken(boost::mutex& mutex);
};

} // namespace KX
