#pragma once

#include "events/KXEventQueue.h"
#include "platform/KXPipe.h"

namespace KX {

/// Queue of events on an operating-system pipe, so that a main loop can wait for events together with whatever
/// else it waits for: watch \ref getReadEndPointID.
///
/// Any number of threads may post; one takes. Each event is one record of 136 bytes, written and read whole,
/// and no operation ever blocks: an event that does not fit into a full pipe is lost, which is reported in the
/// debug section "kx_event_queue" at level 1.
class KX_EVENTS_API KXEventQueueAsPipe : public KXPipe, public KXEventQueue {
public:
    /// Opens the pipe. When that fails, \ref isConnected tells, and posts and takes report errors.
    KXEventQueueAsPipe();
    ~KXEventQueueAsPipe() override;

    void postEvent(KXEvent& event) override;

    /// Takes the oldest event out. A record that cannot be read whole is reported in the debug section
    /// "kx_event_queue" at level 1 and comes as a default holder.
    KXSomeEvent getNextEvent() override;

    /// Number of whole records in the pipe.
    unsigned int getSize() override;

    /// Whether the pipe has nothing to read.
    bool isEmpty() override;
};

} // namespace KX
