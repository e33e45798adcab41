#pragma once

#include "events/KXEventQueue.h"
#include "events/sync/KXBackoffMutex.h"
#include "events/sync/KXCountedCondition.h"
#include "events/sync/KXSizedDeque.h"
#include "platform/KXThreadSafety.h"

namespace KX {

/// Queue of events between the threads of one process.
///
/// Any number of threads may post and take. Each operation locks for itself. None waits for an event, unless several
/// threads take: see \ref getNextEvent. Memory is the only limit. It is allocated for a block of events at a time.
class KX_EVENTS_API KXEventQueueAsQueue : public KXEventQueue {
public:
    /// \throws boost::thread_resource_error  the system has no mutex or condition variable left
    [[gnu::cold]] KXEventQueueAsQueue();
    [[gnu::cold]] ~KXEventQueueAsQueue() override;

    /// Appends a copy of \p event, wakes one waiting consumer, releases the lock and calls the after-post hook.
    /// \throws std::bad_cast  the event claims a class it is not; the queue is unchanged, the hook does not run
    void postEvent(KXEvent& event) override;

    /// Takes the oldest event out. It waits only if the queue held an event and another thread took that event first:
    /// then until the next post, for ever if none comes. The wait is a Boost interruption point.
    /// \throws boost::thread_interrupted  the thread was interrupted while it waited; nothing is taken
    KXSomeEvent getNextEvent() override;

    unsigned int getSize() override;
    bool isEmpty() override;

private:
    inline KX_LOCAL KXSomeEvent takeOldest() KX_EXCLUDES(queueMutex);
    [[gnu::noinline]] KX_LOCAL void waitForEvent() KX_REQUIRES(queueMutex);

    KXSizedDeque<KXSomeEvent, 64> eventDeque KX_GUARDED_BY(queueMutex); // but for empty() and size()
    KXBackoffMutex queueMutex;
    KXCountedCondition queueCondition; // goes with queueMutex
};

} // namespace KX
