#include "events/KXEventQueueAsQueue.h"

#include "events/BackoffLock.h"
#include "events/PostTrace.h"

namespace KX {

KXEventQueueAsQueue::KXEventQueueAsQueue() = default;
KXEventQueueAsQueue::~KXEventQueueAsQueue() = default;

void KXEventQueueAsQueue::postEvent(KXEvent& event) {
    tracePost(event);
    const KXSomeEvent holder(event);
    {
        const BackoffLock lock(queueMutex, isQueueTaken);
        eventDeque.push_back(holder);
        eventCount.store(eventCount.load(std::memory_order_relaxed) + 1, std::memory_order_release);
        // To signal costs a lock of Boost's own. Nobody is on the way into the wait without being counted, since that
        // takes the queue's lock.
        if (waitingConsumers != 0)
            queueCondition.notify_one();
    }
    callAfterPostFunction();
}

// Returns nothing else, so that the oldest event is copied to where the caller wants it and not once more.
inline KXSomeEvent KXEventQueueAsQueue::takeOldest() {
    const BackoffLock lock(queueMutex, isQueueTaken);
    while (eventDeque.empty())
        waitForEvent();
    const KXSomeEvent oldest(eventDeque.front());
    eventDeque.pop_front();
    eventCount.store(eventCount.load(std::memory_order_relaxed) - 1, std::memory_order_release);
    return oldest;
}

KXSomeEvent KXEventQueueAsQueue::getNextEvent() {
    return isEmpty() ? KXSomeEvent() : takeOldest();
}

void KXEventQueueAsQueue::waitForEvent() {
    // However the wait ends, by an exception too, the lock is held again.
    struct Waiting {
        explicit Waiting(unsigned int& consumers) : count(++consumers) {}
        ~Waiting() {
            --count;
        }
        unsigned int& count;
    };
    const Waiting waiting(waitingConsumers);
    BackoffLock::waitFor(queueCondition, queueMutex, isQueueTaken);
}

unsigned int KXEventQueueAsQueue::getSize() {
    return eventCount.load(std::memory_order_acquire);
}

bool KXEventQueueAsQueue::isEmpty() {
    return eventCount.load(std::memory_order_acquire) == 0;
}

} // namespace KX
