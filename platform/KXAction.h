#pragma once

#include "platform/KXExport.h"

namespace KX {

/// Something that the application does because of an event; the action queue calls it.
///
/// Derived and owned by the application. It must outlive every item of the queue that points to it.
class KX_EXPORT KXAction {
public:
    /// Whether the action can run now. Asked on the executing thread right before it would run; one that is
    /// not ready is dropped, not kept for later.
    virtual bool isReady() = 0;

    /// Does it, on the executing thread. No lock is held, so it may post further actions.
    /// \param argument  always null
    virtual void execute(void* argument) = 0;

    virtual ~KXAction() {}

    /// Type of the event on which this action was posted last; written at posting time, 0 for no event.
    int triggeringEventType = 0;
};

} // namespace KX
