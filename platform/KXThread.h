#pragma once

#include "platform/KXExport.h"

#include <string>

namespace KX {

/// A thread that runs one entry function.
///
/// A platform provides \ref create, \ref getCurrentThreadID, the constructor, the destructor and a class derived
/// from this one. The input event manager has one such thread, "inputEventMgr", which wakes up ten times a second.
///
/// That worker prints a line to std::cout for each key and each move of the encoder of a CAN keypad. While the
/// standard output blocks, so does the worker: it reads no frames and sends no long presses and no bundles of
/// encoder steps. The manager's \c deinitialize waits for it. An application whose output may block gives
/// std::cout another buffer, by \c rdbuf. On Linux the thread starts with SIGPIPE blocked, so an output whose
/// reader has gone only fails. Programs that the thread starts inherit that.
///
/// An object belongs to one thread at a time. Only that thread sets the entry function, starts, waits and deletes.
class KX_OS_ABS_API KXThread {
public:
    /// Makes a thread that does not run yet. Any thread.
    /// \param name  for the tools of the system, which may cut it; Linux keeps 15 characters
    /// \return owned by the caller; null when the system refuses one. The Linux platform reports that through \ref
    ///         KXDebug
    static KXThread* create(const std::string& name);

    /// Number of the calling thread, which no other running thread of the process has. Any thread; never fails.
    ///
    /// On Linux it is the number that the kernel gave, and it is cached. A child of fork gets its own number. A
    /// child of \c vfork or \c _Fork must not call this.
    static unsigned int getCurrentThreadID();

    /// Blocks until the entry function has returned, if the thread runs.
    virtual ~KXThread();

    /// Sets what the thread runs when it is started next. A thread that runs already is not affected.
    /// \param argument  passed to \p function; stays the caller's
    virtual void setEntryFunction(void* (*function)(void*), void* argument) = 0;

    /// Starts the thread. It may be started again after it has ended. On Linux, a failure is reported through
    /// \ref KXDebug, because the input event manager goes on without its worker.
    /// \param priority   real-time priority of the system; 0: as the system has it, on Linux that of the caller
    /// \param stackSize  in bytes; 0: as the system has it
    /// \return STATUS_OK when the thread runs; STATUS_REFUSED when it runs already, has no entry function, or the
    ///         system refuses it; STATUS_OUT_OF_RANGE when the system does not know such a priority or stack size
    virtual int start(int priority, unsigned int stackSize) = 0;

    /// Blocks until the entry function has returned. This does not tell it to return: set a flag for it first. The
    /// simulated platform makes the thread's waits for end points return at once.
    /// \return STATUS_OK when the thread has ended or never ran; STATUS_REFUSED when it would wait for itself,
    ///         directly or by way of another thread
    virtual int stopAndWait() = 0;

protected:
    KXThread();
    KXThread(const KXThread&) = delete;
    KXThread& operator=(const KXThread&) = delete;
};

} // namespace KX
