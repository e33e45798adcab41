#include "events/KXEventQueueAsQueue.h"

#include "events/EventParts.h"
#include "platform/KXLocks.h"

namespace KX {

KXEventQueueAsQueue::KXEventQueueAsQueue() = default;
KXEventQueueAsQueue::~KXEventQueueAsQueue() = default;

void KXEventQueueAsQueue::postEvent(KXEvent& event) {
    tracePost(event);
    // All that can fail or write a line is done before the lock is taken.
    const EventParts parts = partsOf(event);
    {
        const KXLockGuard lock(queueMutex);
        eventDeque.emplace_back(event, parts);
        queueCondition.notifyOneIfAwaited();
    }
    callAfterPostFunction();
}

// With a single return value the compiler copies the event straight into the caller's variable.
inline KXSomeEvent KXEventQueueAsQueue::takeOldest() {
    const KXLockGuard lock(queueMutex);
    while (eventDeque.empty())
        waitForEvent();
    const KXSomeEvent oldest(eventDeque.front());
    eventDeque.pop_front();
    return oldest;
}

KXSomeEvent KXEventQueueAsQueue::getNextEvent() {
    return isEmpty() ? KXSomeEvent() : takeOldest();
}

void KXEventQueueAsQueue::waitForEvent() {
    queueMutex.wait(queueCondition);
}

// The deque's size is an atomic, so neither function needs the lock.
unsigned int KXEventQueueAsQueue::getSize() KX_NO_THREAD_SAFETY_ANALYSIS {
    return static_cast<unsigned int>(eventDeque.size());
}

bool KXEventQueueAsQueue::isEmpty() KX_NO_THREAD_SAFETY_ANALYSIS {
    return eventDeque.empty();
}

} // namespace KX
