#pragma once

#include "platform/KXThreadSafety.h"

#include <mutex>

namespace KX {

// The standard library's locks as clang's thread-safety analysis knows them. They compile to the same instructions.

/// A std::mutex. Any thread.
class KX_CAPABILITY("mutex") KXStdMutex {
public:
    // std::mutex has no annotations, so clang cannot follow these two.

    /// Blocks until the mutex is free, then takes it.
    void lock() KX_ACQUIRE() KX_NO_THREAD_SAFETY_ANALYSIS { mutex.lock(); }

    /// For the thread that holds it. Does not block.
    void unlock() KX_RELEASE() KX_NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); }

private:
    friend class KXUniqueLock;

    std::mutex mutex;
};

/// Holds a lock for a scope, as std::lock_guard does. Belongs to one thread. The mutex must outlive it.
template<class Mutex>
class KX_SCOPED_CAPABILITY KXLockGuard {
public:
    /// Blocks until \p mutex is free.
    explicit KXLockGuard(Mutex& mutex) KX_ACQUIRE(mutex) : heldMutex(mutex) { heldMutex.lock(); }
    ~KXLockGuard() KX_RELEASE() { heldMutex.unlock(); }

    KXLockGuard(const KXLockGuard&) = delete;
    KXLockGuard& operator=(const KXLockGuard&) = delete;

private:
    Mutex& heldMutex;
};

/// Holds a mutex, can release it meanwhile, and waits for a std::condition_variable, as std::unique_lock does.
///
/// Belongs to one thread; the mutex must outlive it. clang checks the condition of a wait like any other function,
/// so a lambda there needs KX_REQUIRES.
class KX_SCOPED_CAPABILITY KXUniqueLock {
public:
    /// Blocks until \p mutex is free.
    explicit KXUniqueLock(KXStdMutex& mutex) KX_ACQUIRE(mutex) : held(mutex.mutex) {}
    ~KXUniqueLock() KX_RELEASE() {}

    KXUniqueLock(const KXUniqueLock&) = delete;
    KXUniqueLock& operator=(const KXUniqueLock&) = delete;

    // Without annotations in std::unique_lock, clang cannot follow these two.

    /// Takes the mutex again, after \ref unlock. Blocks until it is free.
    void lock() KX_ACQUIRE() KX_NO_THREAD_SAFETY_ANALYSIS { held.lock(); }

    /// Releases the mutex before the end of the scope.
    void unlock() KX_RELEASE() KX_NO_THREAD_SAFETY_ANALYSIS { held.unlock(); }

    /// For the waits of a std::condition_variable.
    operator std::unique_lock<std::mutex>&() { return held; }

private:
    std::unique_lock<std::mutex> held;
};

} // namespace KX
