#pragma once

#include "platform/KXExport.h"

#include <string>

namespace KX {

/// A thread that runs one entry function.
///
/// What a platform provides: \ref create, \ref getCurrentThreadID and a class derived from this one. The event
/// layer asks for one thread, "inputEventMgr", which wakes ten times a second and must not be starved by the
/// thread that draws.
class KX_OS_ABS_API KXThread {
public:
    /// Makes a thread that does not run yet.
    /// \param name  shown by the system's tools where they can; a system may cut it (Linux keeps 15 characters)
    /// \return owned by the caller; null when the system refuses one
    static KXThread* create(const std::string& name);

    /// A number that no other living thread of the system has. Any thread; never fails. On Linux it is remembered:
    /// the child of a fork has a number of its own, but not that of a \c vfork or \c _Fork, which must not come here.
    static unsigned int getCurrentThreadID();

    /// Waits for the entry function to return, as \ref stopAndWait does, when the thread still runs.
    virtual ~KXThread();

    /// Sets what the thread will run. Before \ref start; a later call has no effect on a running thread.
    virtual void setEntryFunction(void* (*function)(void*), void* argument) = 0;

    /// Starts the thread.
    /// \param priority   0: as the system has it; otherwise the system's own real-time priority
    /// \param stackSize  in bytes; 0: as the system has it
    /// \return 0 when the thread runs; 20 when it runs already, has no entry function, or the system refuses it;
    ///         24 when an argument is out of the system's range
    virtual int start(int priority, unsigned int stackSize) = 0;

    /// Waits for the entry function to return. It does not make it return: whoever wrote the function tells it
    /// so before. Must not be called from the thread itself.
    /// \return 0 when the thread has ended, also when it never ran; 20 when it cannot be waited for
    virtual int stopAndWait() = 0;

protected:
    KXThread();
    KXThread(const KXThread&) = delete;
    KXThread& operator=(const KXThread&) = delete;
};

} // namespace KX
