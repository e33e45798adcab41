// How presses become double presses, long presses and long releases. With the default durations, t in ms after
// the first press of a key:
//
//   the operator                          posted (at t)
//   ------------------------------------  ------------------------------------------------------------------
//   taps                                  press (0), release (at release)
//   taps, presses again at 300            press (0), release, double press (300), release
//   taps, presses again at 301            press (0), release, press (301), release
//   taps three times, 300 apart           press (0), double press (300), double press (600), with releases
//   releases at 1999                      press (0), release (1999)
//   holds for 2000                        press (0), long press (first pass of the worker from 2000 on),
//                                         and at release long release, release
//   taps, holds the second                press (0), release, double press, long press, long release, release
//   holds one key, presses another        the later key may become long, the first one no more
//   holds one key, releases another       the release, and the long press all the same
//   holds the mouse, escapes              press (0), long press, escape; no long release
//
// A double press is recognised when it is pressed, from the time stamps of the two presses. A long press is
// recognised by the worker thread and stamped with the tick of its pass. Keys and mouse buttons go through the
// same steps; keys are told apart by key code, buttons by the second word of event data.

#include "input/KXInputEventManager.h"

#include "events/EventFields.h"
#include "events/KXEventClass.h"
#include "events/KXEventType.h"
#include "platform/KXStatus.h"

#include <iostream>

namespace KX {

namespace {

constexpr int nothingPending = 0;

bool isPress(int eventType) {
    return eventType == KEY_PRESS_EVENT || eventType == MOUSE_PRESS_EVENT;
}

bool isPressLike(int eventType) {
    return isPress(eventType) || eventType == KEY_DOUBLE_PRESS_EVENT || eventType == MOUSE_DOUBLE_PRESS_EVENT;
}

bool isReleaseLike(int eventType) {
    return eventType == KEY_RELEASE_EVENT || eventType == MOUSE_RELEASE_EVENT || eventType == MOUSE_ESCAPE_EVENT;
}

bool isKeyEvent(int eventType) {
    return eventType == KEY_PRESS_EVENT || eventType == KEY_DOUBLE_PRESS_EVENT || eventType == KEY_RELEASE_EVENT;
}

bool isSameKeyOrButton(const KXInputEvent& event, const KXInputEvent& earlier) {
    return isKeyEvent(event.eventType) ? event.keyCode == earlier.keyCode
                                       : event.eventData[1] == earlier.eventData[1];
}

// What is kept will be posted by the worker thread as an input event, whatever class the original was.
void keep(KXInputEvent& kept, const KXInputEvent& event) {
    copyEventFields(kept, event);
    copyInputFields(kept, event);
    kept.incidentFlag = event.incidentFlag;
    kept.eventClass = INPUT_EVENT_CLASS;
}

} // namespace

// Both durations change as one, whichever thread sets which: a setter that finds the other changed meanwhile
// judges anew.
int KXInputEventManager::setDoubleKeyPressDuration(unsigned int ms) {
    PressDurations current = pressDurations;
    do {
        if (ms >= current.longPressMs)
            return STATUS_REFUSED;
    } while (!pressDurations.compare_exchange_weak(current, {ms, current.longPressMs}));
    return STATUS_OK;
}

int KXInputEventManager::setLongKeyPressDuration(unsigned int ms) {
    PressDurations current = pressDurations;
    do {
        if (ms <= current.doublePressMs)
            return STATUS_REFUSED;
    } while (!pressDurations.compare_exchange_weak(current, {current.doublePressMs, ms}));
    return STATUS_OK;
}

int KXInputEventManager::convertToDoublePressEvent(KXInputEvent& event) {
    if (!isPress(event.eventType))
        return STATUS_OK;

    const unsigned int sincePreviousMs = event.timeStamp - lastPressEvent.timeStamp;
    const bool pairs = sincePreviousMs <= pressDurations.load().doublePressMs &&
                       lastPressEvent.eventType == event.eventType && isSameKeyOrButton(event, lastPressEvent);
    // Kept as the plain press it was, so that a third press pairs with the second.
    keep(lastPressEvent, event);
    if (pairs)
        event.eventType = event.eventType == KEY_PRESS_EVENT ? KEY_DOUBLE_PRESS_EVENT : MOUSE_DOUBLE_PRESS_EVENT;
    return STATUS_OK;
}

int KXInputEventManager::markPossibleLongPress(KXInputEvent& event) {
    if (isPressLike(event.eventType))
        keep(longPressCandidate, event);
    else if (isReleaseLike(event.eventType) && isSameKeyOrButton(event, longPressCandidate))
        endLongPress(event.eventType);
    return STATUS_OK;
}

void KXInputEventManager::endLongPress(int releaseType) {
    switch (longPressCandidate.eventType) {
    case KEY_LONG_PRESS_EVENT:
        longPressCandidate.eventType = KEY_LONG_RELEASE_EVENT;
        postToEventQueue(longPressCandidate);
        break;
    case MOUSE_LONG_PRESS_EVENT:
        if (releaseType != MOUSE_ESCAPE_EVENT) {
            longPressCandidate.eventType = MOUSE_LONG_RELEASE_EVENT;
            postToEventQueue(longPressCandidate);
        }
        break;
    default:
        if (longPressCandidate.eventType != nothingPending && !isPressLike(longPressCandidate.eventType))
            std::cerr << "KXInputEventManager::markPossibleLongPress(): unknown input event: "
                      << longPressCandidate.eventType << std::endl;
        break;
    }
    longPressCandidate.eventType = nothingPending;
}

int KXInputEventManager::sendLongPressEvent(unsigned int now) {
    if (!isPressLike(longPressCandidate.eventType))
        return STATUS_OK;
    if (now - longPressCandidate.timeStamp < pressDurations.load().longPressMs)
        return STATUS_OK;

    longPressCandidate.eventType =
        isKeyEvent(longPressCandidate.eventType) ? KEY_LONG_PRESS_EVENT : MOUSE_LONG_PRESS_EVENT;
    longPressCandidate.timeStamp = now;
    postToEventQueue(longPressCandidate);
    return STATUS_OK;
}

} // namespace KX
