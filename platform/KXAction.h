#pragma once

#include "platform/KXExport.h"

namespace KX {

/// Something that the application does because of an event. The action queue calls it.
///
/// The application derives from this class and owns the objects. An action must outlive every item of the queue
/// that points to it. A platform provides nothing here.
class KX_EXPORT KXAction {
public:
    /// Whether the action can run now. KXActionQueue::executeActions waits for the answer. Called on the executing
    /// thread, right before \ref execute. An action that is not ready is dropped, not kept for later.
    virtual bool isReady() = 0;

    /// Runs the action, on the executing thread. No lock of the library is held, so it may post further actions.
    /// \param argument  always null
    virtual void execute(void* argument) = 0;

    virtual ~KXAction() {}

    /// Type of the event on which this action was posted last; 0: on no event. Written by the thread that posts.
    int triggeringEventType = 0;
};

} // namespace KX
