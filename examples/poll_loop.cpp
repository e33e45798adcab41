// The main loop is poll(). No toolkit is needed: the program itself hands in what the operator does.

#include "events/KXEventQueue.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"
#include "platform/KXTick.h"

#include <cstdio>
#include <poll.h>

namespace {

constexpr int escape = 0x01000000; // Qt::Key_Escape

void report(int type) {
    KX::KXToolkitEvent event;
    event.eventType = type;
    event.timeStamp = KX::KXTick::getTickCount();
    event.osKeyCode = escape;
    KX::KXInputEventManager::getInstance()->toolkitEventOccurred(event);
}

void tap() {
    report(KX::TOOLKIT_KEY_PRESS_EVENT);
    report(KX::TOOLKIT_KEY_RELEASE_EVENT);
}

} // namespace

int main() {
    auto* const manager = KX::KXInputEventManager::createInstance();
    tap();
    tap();

    const auto& inbox = dynamic_cast<KX::KXEndPoint&>(*manager->getInputEventsQueue());
    pollfd wakeUp = {inbox.getReadEndPointID(), POLLIN, 0};
    for (int printed = 0; printed < 4;) {
        poll(&wakeUp, 1, -1); // the other descriptors of the application stand here, too
        while (manager->hasEvents()) {
            const KX::KXInputEvent event = manager->getNextEvent();
            std::printf("%s key=%d\n", KX::translateEventTypeToString(event.eventType).c_str(), event.keyCode);
            ++printed;
        }
    }
    KX::KXInputEventManager::deleteInstance();
}
