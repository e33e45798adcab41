#include "events/KXEventQueue.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"
#include "platform/KXTick.h"

#include <cstdio>
#include <poll.h>

int main() {
    auto* manager = KX::KXInputEventManager::createInstance();

    KX::KXToolkitEvent press;
    press.eventType = KX::TOOLKIT_KEY_PRESS_EVENT;
    press.timeStamp = KX::KXTick::getTickCount();
    press.osKeyCode = 0x01000000; // Qt::Key_Escape
    manager->toolkitEventOccurred(press);

    const auto& inbox = dynamic_cast<KX::KXEndPoint&>(*manager->getInputEventsQueue());
    pollfd wakeUp = {inbox.getReadEndPointID(), POLLIN, 0};
    poll(&wakeUp, 1, -1); // or any main loop that watches file descriptors
    const KX::KXInputEvent event = manager->getNextEvent();
    std::printf("%s key=%d\n", KX::translateEventTypeToString(event.eventType).c_str(), event.keyCode);

    KX::KXInputEventManager::deleteInstance();
}
