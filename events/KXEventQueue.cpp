#include "events/KXEventQueue.h"

#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventQueueAsQueue.h"
#include "platform/KXDebug.h"

namespace KX {

const unsigned int KXEventQueue::eventQueueDebugKey = KXDebug::insertNewDebugSection("kx_event_queue");

KXEventQueue::KXEventQueue() = default;
KXEventQueue::~KXEventQueue() = default;

KXEventQueue* KXEventQueue::create(int type) {
    switch (type) {
    case EVENT_QUEUE_AS_PIPE:
        return new KXEventQueueAsPipe;
    case EVENT_QUEUE_AS_QUEUE:
        return new KXEventQueueAsQueue;
    default:
        return nullptr;
    }
}

void KXEventQueue::setAfterPostFunction(void (*function)()) {
    afterPostFunction = function;
}

} // namespace KX
