#pragma once

#include "platform/KXExport.h"

namespace KX {

class KXEndPoint;
class KXEndPointHandler;

/// Waits on many end points at once and calls their handlers.
///
/// A platform provides all of this class. One thread waits at a time. Any thread may call \ref addEndPoint and
/// \ref removeEndPoint meanwhile, also a handler. The manager owns neither end points nor handlers: both must live
/// until they are removed or the manager is destroyed.
class KX_OS_ABS_API KXEndPointManager {
public:
    /// If the system has no descriptors left for the wait, \ref addEndPoint refuses every end point.
    /// \throws std::bad_alloc
    KXEndPointManager();

    /// No thread may wait any more. End points that are still registered are left alone.
    ~KXEndPointManager();

    KXEndPointManager(const KXEndPointManager&) = delete;
    KXEndPointManager& operator=(const KXEndPointManager&) = delete;

    /// Registers an end point. Does not block and calls no handler.
    ///
    /// A closed end point is taken, too. The next wait, or the one that goes on, reports it as disconnected, and
    /// it is retried like one that was lost.
    /// \return STATUS_OK; STATUS_OUT_OF_RANGE for a null argument; STATUS_REFUSED when the end point is registered
    ///         already, no memory is left or the system cannot wait on it
    int addEndPoint(KXEndPoint* endPoint, KXEndPointHandler* handler);

    /// Removes an end point. Its handler is not called any more once this returns, so both may be destroyed then.
    ///
    /// While another thread is inside a call of the handler for this end point, this blocks until that call
    /// returns. Hold no lock that the handler needs. Inside that call itself, on the same thread, it does not
    /// block.
    /// \return STATUS_OK; STATUS_REFUSED when the end point is not registered
    int removeEndPoint(KXEndPoint* endPoint);

    /// Blocks until an end point can be read, is lost or comes back, or until the tick \p untilTick. Calls the
    /// handler of each such end point once, in any order, and returns. Without end points it waits until the tick.
    ///
    /// A tick that is 1 to 2147483647 ms in the past has passed: then it looks once and does not block.
    ///
    /// A closed or failed end point is reported by \ref KXEndPointHandler::onEndPointDisconnected once. The wait,
    /// or a later one, calls its reconnect about once a second; a failed attempt does not end the wait. Success is
    /// reported by \ref KXEndPointHandler::onEndPointReconnected.
    ///
    /// \param untilTick  absolute, by the clock of \ref KXTick
    /// \param reserved   pass 0
    /// \return the number of calls of handlers
    /// \throws std::bad_alloc  the next wait tells what this one did not
    int waitForEndPoints(unsigned int untilTick, unsigned int reserved);

private:
    class KX_LOCAL Implementation;
    Implementation* implementation;
};

} // namespace KX
