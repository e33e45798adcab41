#include "events/KXEventQueue.h"

#include "events/EventTypeName.h"
#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventQueueAsQueue.h"
#include "platform/KXDebug.h"

namespace KX {

const unsigned int KXEventQueue::eventQueueDebugKey = KXDebug::insertNewDebugSection("kx_event_queue");

KXEventQueue::KXEventQueue() = default;
KXEventQueue::~KXEventQueue() = default;

KXEventQueue* KXEventQueue::create(int type) {
    switch (type) {
    case EVENT_QUEUE_AS_PIPE: return new KXEventQueueAsPipe;
    case EVENT_QUEUE_AS_QUEUE: return new KXEventQueueAsQueue;
    default: return nullptr;
    }
}

void KXEventQueue::setAfterPostFunction(void (*function)()) {
    afterPostFunction = function;
}

void KXEventQueue::tracePost(const KXEvent& event) {
    constexpr int traceLevel = 4;
    const EventTypeName name(event.eventType);
    KXDebug::debugPrintError(traceLevel, eventQueueDebugKey, "KXEventQueue::postEvent %d %d %s", event.eventType,
                             event.count, name.text());
}

} // namespace KX
