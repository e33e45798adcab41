#pragma once

#include "platform/KXExport.h"

namespace KX {

/// A lock between threads of one process. Not recursive: a thread that holds it must not lock it again.
///
/// What a platform provides: \ref create and a class derived from this one. Where the system knows it, the
/// mutex passes the priority of a waiting thread on to the one that holds it, because the operator's input and
/// a low-priority worker share one.
class KX_OS_ABS_API KXMutex {
public:
    /// Makes an unlocked mutex.
    /// \return owned by the caller, who deletes it unlocked; null when the system refuses one
    static KXMutex* create();

    virtual ~KXMutex();

    /// Waits until the mutex is free and takes it.
    /// \return true when the calling thread now holds the mutex; false when the lock failed, and then it must
    ///         not be unlocked
    virtual bool lock() = 0;

    /// Gives the mutex back. Only the thread that holds it may call this.
    virtual void unlock() = 0;

protected:
    KXMutex();
    KXMutex(const KXMutex&) = delete;
    KXMutex& operator=(const KXMutex&) = delete;
};

/// Holds a mutex for a scope.
///
/// A null mutex is allowed and does nothing; a mutex whose lock failed is not unlocked.
class KX_OS_ABS_API KXAutoLock {
public:
    explicit KXAutoLock(KXMutex* mutex);
    ~KXAutoLock();

    KXAutoLock(const KXAutoLock&) = delete;
    KXAutoLock& operator=(const KXAutoLock&) = delete;

private:
    KXMutex* heldMutex;
};

} // namespace KX
