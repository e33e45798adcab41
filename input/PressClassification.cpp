// How presses become double presses, long presses and long releases, with the default durations. Time t is in ms
// after the first press of a key:
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
// The second press becomes a double press by the time stamps of the two presses. The worker thread recognises a
// long press and stamps it with the tick of its pass. Keys and mouse buttons follow the same steps. Keys differ by
// key code, buttons by the second word of event data.

#include "input/KXInputEventManager.h"

#include "events/DiagnosticLine.h"
#include "events/EventFields.h"
#include "events/KXEventClass.h"
#include "events/KXEventKind.h"
#include "input/Observation.h"
#include "platform/KXStatus.h"

#include <iostream>

namespace KX {

namespace {

constexpr int nothingPending = 0;

bool isSameKeyOrButton(const KXInputEvent& event, const KXInputEvent& earlier) {
    return isKeyEvent(event.eventType) ? event.keyCode == earlier.keyCode
                                       : event.eventData[1] == earlier.eventData[1];
}

// The worker thread posts the copy as an input event, whatever class the original has.
void keep(KXInputEvent& kept, const KXInputEvent& event) {
    copyEventFields(kept, event);
    copyInputFields(kept, event);
    kept.incidentFlag = event.incidentFlag;
    kept.eventClass = INPUT_EVENT_CLASS;
}

} // namespace

// Both durations are one atomic, because double < long must hold whichever thread sets one of them. If another
// thread was faster, the setter compares again.
int KXInputEventManager::setDoubleKeyPressDuration(unsigned int ms) {
    const Observation observation(this);
    if (observation)
        observation->onSetting(KXInputSetting::DoubleKeyPressDuration, ms);
    PressDurations current = pressDurations.load();
    do {
        if (ms >= current.longPressMs)
            return STATUS_REFUSED;
    } while (!pressDurations.compare_exchange_weak(current, {ms, current.longPressMs}));
    return STATUS_OK;
}

int KXInputEventManager::setLongKeyPressDuration(unsigned int ms) {
    const Observation observation(this);
    if (observation)
        observation->onSetting(KXInputSetting::LongKeyPressDuration, ms);
    PressDurations current = pressDurations.load();
    do {
        if (ms <= current.doublePressMs)
            return STATUS_REFUSED;
    } while (!pressDurations.compare_exchange_weak(current, {current.doublePressMs, ms}));
    return STATUS_OK;
}

int KXInputEventManager::convertToDoublePressEvent(KXInputEvent& event) {
    if (kindOfEventType(event.eventType).gesture != KXGesture::Press)
        return STATUS_OK;

    const unsigned int sincePreviousMs = event.timeStamp - lastPressEvent.timeStamp;
    const bool pairs = sincePreviousMs <= pressDurations.load().doublePressMs &&
                       lastPressEvent.eventType == event.eventType && isSameKeyOrButton(event, lastPressEvent);
    // Kept as a plain press, so that a third press pairs with the second.
    keep(lastPressEvent, event);
    if (pairs)
        event.eventType = event.eventType == KEY_PRESS_EVENT ? KEY_DOUBLE_PRESS_EVENT : MOUSE_DOUBLE_PRESS_EVENT;
    return STATUS_OK;
}

int KXInputEventManager::markPossibleLongPress(KXInputEvent& event) {
    switch (kindOfEventType(event.eventType).gesture) {
    case KXGesture::Press:
    case KXGesture::DoublePress: keep(longPressCandidate, event); break;
    case KXGesture::Release:
    case KXGesture::Escape:
        if (isSameKeyOrButton(event, longPressCandidate))
            endLongPress(event.eventType);
        break;
    default: break;
    }
    return STATUS_OK;
}

void KXInputEventManager::endLongPress(int releaseType) {
    KXInputEvent ended = longPressCandidate;
    longPressCandidate.eventType = nothingPending; // first: a hook may throw
    switch (ended.eventType) {
    case KEY_LONG_PRESS_EVENT:
        ended.eventType = KEY_LONG_RELEASE_EVENT;
        post(ended);
        break;
    case MOUSE_LONG_PRESS_EVENT:
        if (releaseType != MOUSE_ESCAPE_EVENT) {
            ended.eventType = MOUSE_LONG_RELEASE_EVENT;
            post(ended);
        }
        break;
    default:
        if (ended.eventType != nothingPending && !isPressEvent(ended.eventType))
            writeLine(std::cerr,
                      {"KXInputEventManager::markPossibleLongPress(): unknown input event: ", ended.eventType});
        break;
    }
}

int KXInputEventManager::sendLongPressEvent(unsigned int now) {
    if (!isPressEvent(longPressCandidate.eventType))
        return STATUS_OK;
    if (now - longPressCandidate.timeStamp < pressDurations.load().longPressMs)
        return STATUS_OK;

    longPressCandidate.eventType =
        isKeyEvent(longPressCandidate.eventType) ? KEY_LONG_PRESS_EVENT : MOUSE_LONG_PRESS_EVENT;
    longPressCandidate.timeStamp = now;
    post(longPressCandidate);
    return STATUS_OK;
}

} // namespace KX
