#include "toolkit/KXEventNotifier.h"

#include "events/KXEventQueue.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"

#include <QPointer>
#include <QSocketNotifier>

#include <algorithm>
#include <stdexcept>

namespace KX {

namespace {

constexpr int closedId = -1;

int readEndPointToWaitOn() {
    if (!KXInputEventManager::hasInstance())
        throw std::runtime_error("there is no input event manager");
    const auto* const endPoint =
        dynamic_cast<KXEndPoint*>(KXInputEventManager::getInstance()->getInputEventsQueue());
    const int id = endPoint ? endPoint->getReadEndPointID() : closedId;
    if (id == closedId)
        throw std::runtime_error("the queue of classified events is not open");
    return id;
}

} // namespace

struct KXEventNotifier::State {
    QSocketNotifier readable{readEndPointToWaitOn(), QSocketNotifier::Read};
    const unsigned int queueNumber = KXInputEventManager::getInstance()->getInputEventsQueueNumber();
    bool isEmitting = false;

    // The manager while it has the queue that this waits on. Any slot may have deleted it, and the queue of another
    // manager may have the same descriptor.
    KXInputEventManager* manager() const {
        if (!KXInputEventManager::hasInstance())
            return nullptr;
        KXInputEventManager* const present = KXInputEventManager::getInstance();
        return present->getInputEventsQueueNumber() == queueNumber ? present : nullptr;
    }
};

KXEventNotifier::KXEventNotifier(QObject* parent) : QObject(parent), state(std::make_unique<State>()) {
    qRegisterMetaType<KXInputEvent>(); // for connections to other threads
    connect(&state->readable, &QSocketNotifier::activated, this, [this] { takeUpTo(mostAtOnce); });
}

KXEventNotifier::~KXEventNotifier() = default;

void KXEventNotifier::takeWaitingEvents() {
    if (KXInputEventManager* const manager = state->manager())
        takeUpTo(manager->getInputEventsQueue()->getSize());
}

void KXEventNotifier::takeUpTo(std::size_t most) {
    if (state->isEmitting)
        return;
    state->isEmitting = true;
    // An event loop in a slot would find the end point readable all the time.
    state->readable.setEnabled(false);
    const QPointer<KXEventNotifier> self(this);
    KXInputEventManager* manager = state->manager();
    for (; most > 0 && manager && manager->hasEvents(); --most) {
        emit eventOccurred(manager->getNextEvent());
        if (!self)
            return;
        manager = state->manager();
    }
    state->isEmitting = false;
    state->readable.setEnabled(manager != nullptr);
}

} // namespace KX
