#include "events/PostTrace.h"

#include "events/EventTypeName.h"
#include "events/KXEventQueue.h"
#include "platform/KXDebug.h"

namespace KX {

void tracePost(const KXEvent& event) {
    constexpr int traceLevel = 4;
    const EventTypeName name(event.eventType);
    KXDebug::debugPrintError(traceLevel, KXEventQueue::eventQueueDebugKey, "KXEventQueue::postEvent %d %d %s",
                             event.eventType, event.count, name.text());
}

} // namespace KX
