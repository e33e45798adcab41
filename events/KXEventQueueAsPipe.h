#pragma once

#include "events/KXEventQueue.h"
#include "platform/KXPipe.h"

namespace KX {

/// Queue of events on a pipe of the operating system. A main loop can wait for events on \ref getReadEndPointID.
///
/// Any number of threads may post; one takes. Each event is one record of 136 bytes, written and read whole. No
/// operation blocks. An event that a full pipe cannot take is lost; "kx_event_queue" reports that at level 1.
class KX_EVENTS_API KXEventQueueAsPipe : public KXPipe, public KXEventQueue {
public:
    /// Opens the pipe. After a failure \ref isConnected is false, and posts and takes report errors.
    KXEventQueueAsPipe();
    ~KXEventQueueAsPipe() override;

    void postEvent(KXEvent& event) override;

    /// Takes the oldest event out. If the record cannot be read whole, "kx_event_queue" reports it at level 1, and
    /// the result is a default holder.
    KXSomeEvent getNextEvent() override;

    /// Number of whole records in the pipe.
    unsigned int getSize() override;
    bool isEmpty() override;
};

} // namespace KX
