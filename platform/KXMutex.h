#pragma once

#include "platform/KXExport.h"
#include "platform/KXThreadSafety.h"

namespace KX {

/// Mutual exclusion between the threads of one process. Not recursive.
///
/// A platform provides \ref create, the constructor, the destructor, \ref KXAutoLock and a class derived from this
/// one. Where the system supports it, the mutex has priority inheritance: the toolkit thread and the worker share
/// one, and a thread of middle priority must not delay either while the other holds it.
///
/// Nothing else inherits priority. A boost::mutex guards the in-process event queue and the action queue, and a
/// std::mutex the Linux platform's end points and its debug output. A thread of low priority that holds one of them
/// can be held up by a thread of middle priority, and then so is each thread that waits for it. Give the threads
/// that post to one queue the same priority, or use the pipe queue, which takes no lock.
class KX_CAPABILITY("mutex") KX_OS_ABS_API KXMutex {
public:
    /// Makes an unlocked mutex. Any thread.
    /// \return owned by the caller, who unlocks it before deleting it; null when the system refuses one
    static KXMutex* create();

    virtual ~KXMutex();

    /// Blocks until the mutex is free, then takes it. Any thread.
    ///
    /// A thread that holds the mutex already gets false at once. The platforms here also report it through
    /// \ref KXDebug.
    /// \return true when the calling thread now holds the mutex; false when it could not be locked: then the
    ///         caller must not unlock it
    virtual bool lock() KX_TRY_ACQUIRE(true) = 0;

    /// Releases the mutex. Only the thread that holds it may call this. Does not block.
    virtual void unlock() KX_RELEASE() = 0;

protected:
    KXMutex();
    KXMutex(const KXMutex&) = delete;
    KXMutex& operator=(const KXMutex&) = delete;
};

/// Holds a mutex for a scope. Belongs to one thread.
///
/// A null mutex is allowed and nothing is locked. A mutex that could not be locked is not unlocked; the scope then
/// runs without it. clang's thread-safety analysis takes the mutex for held in either case.
class KX_SCOPED_CAPABILITY KX_OS_ABS_API KXAutoLock {
public:
    /// Blocks until the mutex is free.
    /// \param mutex  stays the caller's and must outlive this; may be null
    explicit KXAutoLock(KXMutex* mutex) KX_ACQUIRE(mutex);
    ~KXAutoLock() KX_RELEASE();

    KXAutoLock(const KXAutoLock&) = delete;
    KXAutoLock& operator=(const KXAutoLock&) = delete;

private:
    KXMutex* heldMutex;
};

} // namespace KX
