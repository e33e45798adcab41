#include "events/KXEventQueueAsQueue.h"

#include "events/PostTrace.h"

#include <boost/thread/locks.hpp>

namespace KX {

KXEventQueueAsQueue::KXEventQueueAsQueue() = default;
KXEventQueueAsQueue::~KXEventQueueAsQueue() = default;

void KXEventQueueAsQueue::postEvent(KXEvent& event) {
    tracePost(event);
    const KXSomeEvent holder(event);
    {
        boost::unique_lock<boost::mutex> lock(queueMutex);
        eventDeque.push_back(holder);
        eventCount.store(static_cast<unsigned int>(eventDeque.size()), std::memory_order_release);
        queueCondition.notify_one();
    }
    callAfterPostFunction();
}

KXSomeEvent KXEventQueueAsQueue::getNextEvent() {
    if (isEmpty())
        return KXSomeEvent();

    boost::unique_lock<boost::mutex> lock(queueMutex);
    while (eventDeque.empty())
        queueCondition.wait(lock);
    const KXSomeEvent oldest(eventDeque.front());
    eventDeque.pop_front();
    eventCount.store(static_cast<unsigned int>(eventDeque.size()), std::memory_order_release);
    return oldest;
}

unsigned int KXEventQueueAsQueue::getSize() {
    return eventCount.load(std::memory_order_acquire);
}

bool KXEventQueueAsQueue::isEmpty() {
    return eventCount.load(std::memory_order_acquire) == 0;
}

} // namespace KX
