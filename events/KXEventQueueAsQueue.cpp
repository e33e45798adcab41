#include "events/KXEventQueueAsQueue.h"

#include "events/PostTrace.h"

#include <boost/thread/lock_guard.hpp>
#include <pthread.h>

namespace KX {

KXEventQueueAsQueue::KXEventQueueAsQueue() = default;
KXEventQueueAsQueue::~KXEventQueueAsQueue() = default;

void KXEventQueueAsQueue::postEvent(KXEvent& event) {
    tracePost(event);
    const KXSomeEvent holder(event);
    {
        const boost::lock_guard<boost::mutex> lock(queueMutex);
        eventDeque.push_back(holder);
        eventCount.store(eventCount.load(std::memory_order_relaxed) + 1, std::memory_order_release);
        notifyConsumer();
    }
    callAfterPostFunction();
}

// Boost takes a lock of its own to signal, for the sake of a thread that is on its way into the wait. With the queue's
// lock held nobody is without being counted, and while nobody is counted the bare signal does.
void KXEventQueueAsQueue::notifyConsumer() {
    if (waitingConsumers != 0)
        queueCondition.notify_one();
    else
        pthread_cond_signal(queueCondition.native_handle());
}

// Returns nothing else, so that the oldest event is copied to where the caller wants it and not once more.
inline KXSomeEvent KXEventQueueAsQueue::takeOldest() {
    boost::unique_lock<boost::mutex> lock(queueMutex);
    while (eventDeque.empty())
        waitForEvent(lock);
    const KXSomeEvent oldest(eventDeque.front());
    eventDeque.pop_front();
    eventCount.store(eventCount.load(std::memory_order_relaxed) - 1, std::memory_order_release);
    return oldest;
}

KXSomeEvent KXEventQueueAsQueue::getNextEvent() {
    return isEmpty() ? KXSomeEvent() : takeOldest();
}

void KXEventQueueAsQueue::waitForEvent(boost::unique_lock<boost::mutex>& lock) {
    // However the wait ends, by an exception too, the lock is held again.
    struct Waiting {
        explicit Waiting(unsigned int& consumers) : count(++consumers) {}
        ~Waiting() {
            --count;
        }
        unsigned int& count;
    };
    const Waiting waiting(waitingConsumers);
    queueCondition.wait(lock);
}

unsigned int KXEventQueueAsQueue::getSize() {
    return eventCount.load(std::memory_order_acquire);
}

bool KXEventQueueAsQueue::isEmpty() {
    return eventCount.load(std::memory_order_acquire) == 0;
}

} // namespace KX
