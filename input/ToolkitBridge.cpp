#include "input/KXInputEventManager.h"

#include "events/DiagnosticLine.h"
#include "events/KXEventClass.h"
#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "input/Observation.h"
#include "platform/KXStatus.h"

#include <iostream>

namespace KX {

namespace {

// No event type has this number; applications know clicks by it.
constexpr int clickEventType = 1010;

} // namespace

int KXInputEventManager::toolkitEventOccurred(KXToolkitEvent& event) {
    if (!inputObserver.load(std::memory_order_relaxed))
        return renumber(event);
    ToolkitReport report(event);
    try {
        const int status = renumber(event);
        report.tellUnlessTold(this);
        return status;
    } catch (...) {
        report.tellUnlessTold(this); // an override may have thrown before it took the event
        throw;
    }
}

int KXInputEventManager::renumber(KXToolkitEvent& event) {
    switch (event.eventType) {
    case TOOLKIT_KEY_PRESS_EVENT: return forwardKeyAs(KEY_PRESS_EVENT, event);
    case TOOLKIT_KEY_RELEASE_EVENT: return forwardKeyAs(KEY_RELEASE_EVENT, event);
    case TOOLKIT_MOUSE_PRESS_EVENT: return forwardAs(MOUSE_PRESS_EVENT, event);
    case TOOLKIT_MOUSE_RELEASE_EVENT: return forwardAs(MOUSE_RELEASE_EVENT, event);
    case TOOLKIT_MOUSE_MOVE_EVENT: return forwardAs(MOUSE_MOVE_EVENT, event);
    case TOOLKIT_MOUSE_ESCAPE_EVENT: return forwardAs(MOUSE_ESCAPE_EVENT, event);
    case TOOLKIT_WHEEL_EVENT: return forwardAs(ENCODER_MOVE_EVENT, event);
    case TOOLKIT_CLICK_EVENT: return forwardAs(clickEventType, event);
    case REMOVE_POOL_WIDGETS_CONFIRM_EVENT: return forwardAs(REMOVE_POOL_WIDGETS_CONFIRM_EVENT, event);

    // The manager recognises double and long presses itself; with the toolkit's they would count twice.
    case TOOLKIT_MOUSE_DOUBLE_PRESS_EVENT:
    case TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT:
    case TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT:
    case TOOLKIT_MOUSE_ENTER_EVENT:
    case TOOLKIT_MOUSE_EXIT_EVENT: return STATUS_REFUSED;

    default:
        writeLine(std::cerr,
                  {"KXInputEventManager::toolkitEventOccurred(): got unknown input event: ", event.eventType});
        return STATUS_REFUSED;
    }
}

int KXInputEventManager::forwardKeyAs(int eventType, KXToolkitEvent& event) {
    event.keyCode = keyCodeOf(event.osKeyCode);
    return forwardAs(eventType, event);
}

int KXInputEventManager::forwardAs(int eventType, KXToolkitEvent& event) {
    event.eventType = eventType;
    event.eventClass = INPUT_EVENT_CLASS;
    return inputEventOccurred(event);
}

int KXInputEventManager::postESCtoEventQueue(bool pressed) {
    KXInputEvent escape;
    escape.eventType = pressed ? KEY_PRESS_EVENT : KEY_RELEASE_EVENT;
    escape.value = -1;
    escape.keyCode = KX_KEY_ESCAPE;
    escape.osKeyCode = KX_KEY_UNMAPPED;
    return postToEventQueue(escape);
}

} // namespace KX
