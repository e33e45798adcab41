#include "terminal/session/EventPump.h"

#include "events/KXEventQueue.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"

#include <cstddef>
#include <stdexcept>

namespace Terminal {

namespace {

// More than one batch stays in the pipe and triggers the notifier again. In between the window can react.
constexpr std::size_t batchLimit = 1000;

int readEndPointOf(KX::KXInputEventManager& manager) {
    const auto* endPoint = dynamic_cast<KX::KXEndPoint*>(manager.getInputEventsQueue());
    const int id = endPoint ? endPoint->getReadEndPointID() : -1;
    if (id == -1)
        throw std::runtime_error("the queue of classified events is not open");
    return id;
}

} // namespace

EventPump::EventPump(KX::KXInputEventManager& inputEventManager)
    : manager(inputEventManager), readable(readEndPointOf(inputEventManager), QSocketNotifier::Read) {
    connect(&readable, &QSocketNotifier::activated, this, &EventPump::takeWaitingEvents);
}

void EventPump::takeWaitingEvents() {
    ClassifiedEvents batch;
    while (batch.size() < batchLimit && manager.hasEvents())
        batch.push_back(manager.getNextEvent());
    if (!batch.empty())
        emit eventsTaken(batch);
}

} // namespace Terminal
