#pragma once

#include "platform/KXExport.h"

namespace KX {

class KXEndPoint;
class KXEndPointManager;

/// Reacts when an end point can be read, is lost or comes back.
///
/// The application derives from this class; a platform provides the destructor. A \ref KXEndPointManager calls on
/// the thread that waits, with no lock of the manager held. So a handler may add and remove end points, its own
/// included. A handler that blocks, on a standard output say that nobody reads, holds up all end points of its
/// manager.
class KX_OS_ABS_API KXEndPointHandler {
public:
    /// \p endPoint can be read without blocking. The handler must read from it, else it is called again at once.
    virtual void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager* manager) = 0;

    /// \p endPoint was reported lost and is open again.
    virtual void onEndPointReconnected(KXEndPoint* endPoint) = 0;

    /// \p endPoint has failed or is closed. Called once for each loss; the manager then tries to reconnect it.
    virtual void onEndPointDisconnected(KXEndPoint* endPoint) = 0;

    virtual ~KXEndPointHandler();
};

} // namespace KX
