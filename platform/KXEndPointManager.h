#pragma once

#include "platform/KXExport.h"

namespace KX {

class KXEndPoint;
class KXEndPointHandler;

/// Waits on many end points at once and calls their handlers.
///
/// One thread waits at a time. \ref addEndPoint and \ref removeEndPoint may be called from any thread while
/// another one waits, and from inside a handler. Neither end points nor handlers are owned.
class KX_OS_ABS_API KXEndPointManager {
public:
    KXEndPointManager();
    ~KXEndPointManager();

    KXEndPointManager(const KXEndPointManager&) = delete;
    KXEndPointManager& operator=(const KXEndPointManager&) = delete;

    /// Registers an end point. One that is closed is taken too: it is retried like one that went away.
    /// \return 0; 24 for a null argument; 20 when the end point is registered already or the system refuses it
    int addEndPoint(KXEndPoint* endPoint, KXEndPointHandler* handler);

    /// Takes an end point out. When it returns on the waiting thread, or when no thread waits, the handler is
    /// not called any more; on another thread a call that had begun may still be running: this waits for it.
    /// \return 0; 20 when it is not registered
    int removeEndPoint(KXEndPoint* endPoint);

    /// Waits until an end point can be read, calls the handlers of all that can, once each, and returns; or
    /// returns when the tick \p untilTick has come. A tick that has passed (by a difference of less than half
    /// the range) means: look once, do not wait. With no end point it waits the time out.
    ///
    /// A closed or failing end point is reported once through \ref KXEndPointHandler::onEndPointDisconnected,
    /// retried about once a second by whichever wait is going on then, and reported again when it is back.
    ///
    /// \param untilTick  absolute, in the units of \ref KXTick
    /// \param reserved   pass 0
    /// \return the number of handlers called
    int waitForEndPoints(unsigned int untilTick, unsigned int reserved);

private:
    class KX_LOCAL Implementation;
    Implementation* implementation;
};

} // namespace KX
