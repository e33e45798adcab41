// An example of an application's test: two seconds pass at once.

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"

#include <cstdio>

static void printWaitingEvents() {
    auto* manager = KX::KXInputEventManager::getInstance();
    while (manager->hasEvents()) {
        const KX::KXInputEvent event = manager->getNextEvent();
        std::printf("%u %s key=%d\n", event.timeStamp, KX::translateEventTypeToString(event.eventType).c_str(),
                    event.keyCode);
    }
}

int main() {
    KX::KXSimulation::reset();
    KX::KXSimulation::setTick(4294966296u); // the clock wraps while the key is down
    auto* manager = KX::KXInputEventManager::createInstance();

    KX::KXToolkitEvent press;
    press.eventType = KX::TOOLKIT_KEY_PRESS_EVENT;
    press.timeStamp = KX::KXTick::getTickCount();
    press.osKeyCode = 0x01000000; // Qt::Key_Escape
    manager->toolkitEventOccurred(press);

    KX::KXSimulation::advance(1999);
    printWaitingEvents();
    std::printf("at %u\n", KX::KXTick::getTickCount());
    KX::KXSimulation::advance(1);
    printWaitingEvents();

    KX::KXInputEventManager::deleteInstance();
}
