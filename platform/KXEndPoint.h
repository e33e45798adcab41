#pragma once

#include "platform/KXExport.h"

namespace KX {

/// Something that a main loop, or a \ref KXEndPointManager, can wait on: a pipe, a CAN interface.
///
/// An end point does not belong to the manager it is added to; it must be removed there before it is destroyed.
class KX_OS_ABS_API KXEndPoint {
public:
    virtual ~KXEndPoint();

    /// What the system waits on until something can be read: a file descriptor on Linux; -1 while closed.
    /// The end point keeps it: do not close it.
    virtual int getReadEndPointID() const = 0;

    /// The same for writing; -1 while closed or where nothing is written.
    virtual int getWriteEndPointID() const = 0;

    /// Whether the end point is open and the other side is there.
    virtual bool isConnected() const = 0;

    /// Closes what is left and opens the end point anew. Does not block for longer than a system call takes.
    /// \return 0 on success; 20 when it cannot be opened now
    virtual int reconnect() = 0;

protected:
    KXEndPoint();
    KXEndPoint(const KXEndPoint&) = delete;
    KXEndPoint& operator=(const KXEndPoint&) = delete;
};

} // namespace KX
