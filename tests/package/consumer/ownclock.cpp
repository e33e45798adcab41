// A program that replaces one class of the platform. All libraries must use this clock, also the library that has
// the class.

#include "events/KXEventQueue.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"
#include "platform/KXTick.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <poll.h>

// So far ahead that code which compares this clock with another one waits for days.
static std::atomic<unsigned int> aheadMs{1000000000};

unsigned int KX::KXTick::getTickCount() {
    using namespace std::chrono;
    const auto sinceStart = duration_cast<milliseconds>(steady_clock::now().time_since_epoch());
    return static_cast<unsigned int>(sinceStart.count()) + aheadMs;
}

static void printNextEvent() {
    auto* manager = KX::KXInputEventManager::getInstance();
    const auto& inbox = dynamic_cast<KX::KXEndPoint&>(*manager->getInputEventsQueue());
    pollfd wakeUp = {inbox.getReadEndPointID(), POLLIN, 0};
    // Far longer than the worker's 100 ms, far shorter than the long press of one hour here.
    if (poll(&wakeUp, 1, 30000) != 1) {
        std::puts("nothing came: the libraries do not go by the program's clock");
        std::fflush(stdout);
        std::_Exit(1); // a normal exit would wait for the threads
    }
    std::puts(KX::translateEventTypeToString(manager->getNextEvent().eventType).c_str());
}

int main() {
    constexpr unsigned int hourMs = 3600000;
    auto* manager = KX::KXInputEventManager::createInstance();
    manager->setLongKeyPressDuration(hourMs);

    KX::KXToolkitEvent press;
    press.eventType = KX::TOOLKIT_KEY_PRESS_EVENT;
    press.timeStamp = KX::KXTick::getTickCount();
    press.osKeyCode = 0x01000000; // Qt::Key_Escape
    manager->toolkitEventOccurred(press);
    printNextEvent();

    aheadMs += hourMs;
    printNextEvent();
    KX::KXInputEventManager::deleteInstance();
}
