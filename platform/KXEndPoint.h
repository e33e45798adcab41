#pragma once

#include "platform/KXExport.h"

namespace KX {

/// Something that a main loop, or a \ref KXEndPointManager, can wait on: a pipe, a CAN bus.
///
/// A platform provides the constructor and the destructor. Applications may derive end points of their own. A
/// manager calls the functions below on any thread that uses the manager, and may hold its lock meanwhile. They
/// must not call the manager.
class KX_OS_ABS_API KXEndPoint {
public:
    /// A registered end point must be removed from its manager before.
    virtual ~KXEndPoint();

    /// The system waits on this until something can be read: a file descriptor on Linux; -1 while closed. It
    /// belongs to the end point: do not close it.
    virtual int getReadEndPointID() const = 0;

    /// The same for writing; -1 while closed, and always for an end point that is not written to.
    virtual int getWriteEndPointID() const = 0;

    /// Whether the end point is open and, where it has another side, the other side is there.
    virtual bool isConnected() const = 0;

    /// Closes what is still open and opens the end point anew. Must not block for longer than a system call takes.
    /// \return STATUS_OK; STATUS_REFUSED when it cannot be opened now
    virtual int reconnect() = 0;

protected:
    KXEndPoint();
    KXEndPoint(const KXEndPoint&) = delete;
    KXEndPoint& operator=(const KXEndPoint&) = delete;
};

} // namespace KX
