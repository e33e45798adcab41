#pragma once

#include "platform/KXExport.h"

namespace KX {

class KXEndPoint;
class KXEndPointManager;

/// What is to happen when an end point has something to read, goes away or comes back.
///
/// Called by a \ref KXEndPointManager on the thread that waits, without any lock of the manager held, so a
/// handler may add and remove end points, its own included. A handler reads at least something from an end
/// point that it is told is readable: otherwise it is told again at once.
class KX_OS_ABS_API KXEndPointHandler {
public:
    /// \p endPoint can be read without blocking.
    virtual void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager* manager) = 0;

    /// \p endPoint was gone, and a reconnect has succeeded.
    virtual void onEndPointReconnected(KXEndPoint* endPoint) = 0;

    /// \p endPoint failed or was closed. Told once; the manager goes on to try to reconnect it.
    virtual void onEndPointDisconnected(KXEndPoint* endPoint) = 0;

    virtual ~KXEndPointHandler();
};

} // namespace KX
