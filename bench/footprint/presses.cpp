// Presses a key ten times, a second apart, with the manager's worker kept out of the way. Each press has two stretches:
// up to the mark after toolkitEventOccurred, and up to the one after getNextEvent.

#include "Mark.h"

#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "input/KXInputEventManager.h"
#include "platform/KXThread.h"

#include <cstdio>
#include <future>
#include <thread>

namespace {

constexpr int escapeOfToolkit = 0x01000000; // Qt::Key_Escape

KX::KXToolkitEvent keyEvent(int eventType, unsigned int timeStamp) {
    KX::KXToolkitEvent event;
    event.eventType = eventType;
    event.timeStamp = timeStamp;
    event.osKeyCode = escapeOfToolkit;
    return event;
}

bool isEscape(const KX::KXInputEvent& event, int eventType, unsigned int timeStamp) {
    if (event.eventType == eventType && event.keyCode == KX::KX_KEY_ESCAPE && event.timeStamp == timeStamp)
        return true;
    std::fprintf(stderr, "expected event %d of key %d at %u, got %d of key %d at %u\n", eventType,
                 KX::KX_KEY_ESCAPE, timeStamp, event.eventType, event.keyCode, event.timeStamp);
    return false;
}

bool pressAndRelease(KX::KXInputEventManager& manager, unsigned int timeStamp) {
    KX::KXToolkitEvent press = keyEvent(KX::TOOLKIT_KEY_PRESS_EVENT, timeStamp);
    footprintMark();
    manager.toolkitEventOccurred(press);
    footprintMark();
    const KX::KXInputEvent taken = manager.getNextEvent();
    footprintMark();
    if (!isEscape(taken, KX::KEY_PRESS_EVENT, timeStamp))
        return false;
    KX::KXToolkitEvent release = keyEvent(KX::TOOLKIT_KEY_RELEASE_EVENT, timeStamp + 50);
    manager.toolkitEventOccurred(release);
    return isEscape(manager.getNextEvent(), KX::KEY_RELEASE_EVENT, timeStamp + 50);
}

bool pressTenTimes(KX::KXInputEventManager& manager) {
    for (unsigned int timeStamp = 1000; timeStamp <= 10000; timeStamp += 1000)
        if (!pressAndRelease(manager, timeStamp))
            return false;
    return !manager.hasEvents();
}

} // namespace

// Takes the place of the platform's: no worker is made. A pass during a press would make the press wait for the
// manager's mutex, which takes more instructions on some runs than on others.
KX::KXThread* KX::KXThread::create(const std::string& /*name*/) {
    return nullptr;
}

int main() {
    // The C library spares a program of one thread some of the work, but no terminal is one.
    std::promise<void> end;
    std::thread other([&end] { end.get_future().wait(); });
    auto* const manager = KX::KXInputEventManager::createInstance();
    const bool good = pressTenTimes(*manager) && printMap();
    KX::KXInputEventManager::deleteInstance();
    end.set_value();
    other.join();
    return good ? 0 : 1;
}
