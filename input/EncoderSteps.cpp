// How steps of the rotary encoder become encoder moves. A knob that is wired as a keyboard reports each step as a
// press of key 4 or 5. Time t is in ms after the first step:
//
//   the operator                             posted (at t)
//   ---------------------------------------  ---------------------------------------------------------------
//   turns one step                           move with value 1 (0)
//   turns three steps within 50              move with value 1 (0); a bundle of count 2 with the increment
//                                            accumulated so far (first pass of the worker from 50 on)
//   goes on turning                          a bundle at most every 50, each with the increment accumulated
//                                            since the first step
//   rests for 50                             nothing; the bundle is closed and the next step opens a new one
//   turns one step and one back at once      move with value 1 (0); the bundle closes, the step back is lost
//   turns two further steps and one back     one of the two is cancelled; the increment is not taken back
//   presses key 3                            the steps gathered so far, then key 3; the bundle is closed
//
// Moves that arrive as moves, as from a mouse wheel, are accelerated one by one and never bundled.

#include "input/KXInputEventManager.h"

#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventClass.h"
#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "platform/KXStatus.h"

namespace KX {

namespace {

constexpr unsigned int bundleIntervalMs = 50;
constexpr int bundleClosed = 0;

bool isOpen(const KXInputEvent& bundle) {
    return bundle.eventType == ENCODER_MOVE_EVENT;
}

} // namespace

int KXInputEventManager::convertToEncoderEvents(KXInputEvent& event) {
    switch (event.eventType) {
    case KEY_PRESS_EVENT:
    case KEY_RELEASE_EVENT:
        if (isStepKey(event.keyCode))
            return convertStepKey(event);
        if (event.keyCode == KX_KEY_RETURN)
            endEncoderBundle();
        return STATUS_OK;
    case ENCODER_MOVE_EVENT:
        if (encoderDynamic) {
            event.value = 0;
            encoderDynamic->calculateIncrement(event, event);
        }
        return STATUS_OK;
    default: return STATUS_OK;
    }
}

int KXInputEventManager::convertStepKey(KXInputEvent& event) {
    if (event.eventType == KEY_RELEASE_EVENT)
        return STATUS_CONSUMED;
    event.eventType = ENCODER_MOVE_EVENT;
    event.count = 1;
    event.value = 1;
    return bundleKeyEncoderEvents(event);
}

int KXInputEventManager::bundleKeyEncoderEvents(KXInputEvent& event) {
    if (event.eventType != ENCODER_MOVE_EVENT)
        return STATUS_OK;
    if (!isOpen(encoderBundle)) {
        openEncoderBundle(event);
        return STATUS_OK;
    }
    if (event.keyCode == encoderBundle.keyCode) {
        ++encoderBundle.count;
        accelerate(event, encoderBundle);
    } else {
        turnEncoderBundleBack(event);
    }
    return STATUS_CONSUMED;
}

// The opening step is posted at once, so that the screen reacts at once. The bundle starts after it with count 0.
// The worker thread posts the bundle as an input event, whatever class the step has.
void KXInputEventManager::openEncoderBundle(KXInputEvent& step) {
    encoderBundle = step;
    encoderBundle.eventClass = INPUT_EVENT_CLASS;
    encoderBundle.count = 0;
    accelerate(step, encoderBundle);
}

// One step back cancels one step forward. The value stays: it is how far the knob was turned, not where it ended.
void KXInputEventManager::turnEncoderBundleBack(KXInputEvent& step) {
    if (encoderBundle.count < 0) {
        encoderBundle.count = 0;
        encoderBundle.keyCode = encoderBundle.keyCode == KX_KEY_UP ? KX_KEY_DOWN : KX_KEY_UP;
        accelerate(step, encoderBundle);
        return;
    }
    if (encoderBundle.count > 0)
        --encoderBundle.count;
    if (encoderBundle.count == 0)
        encoderBundle.eventType = bundleClosed;
}

void KXInputEventManager::endEncoderBundle() {
    if (!isOpen(encoderBundle))
        return;
    KXInputEvent steps = encoderBundle;
    encoderBundle.count = 0;
    encoderBundle.eventType = bundleClosed;
    if (steps.count != 0)
        post(steps); // last: after a hook that throws, the steps are not posted again
}

int KXInputEventManager::sendEncoderMoveEvent(unsigned int now) {
    if (now - encoderBundle.timeStamp < bundleIntervalMs)
        return STATUS_OK;
    KXInputEvent steps = encoderBundle;
    encoderBundle.timeStamp = now;
    encoderBundle.count = 0;
    // A posted bundle stays open and keeps its value for the next one. A bundle without new steps is closed.
    if (isOpen(steps) && steps.count != 0)
        post(steps); // last, as above
    else
        encoderBundle.eventType = bundleClosed;
    return STATUS_OK;
}

void KXInputEventManager::accelerate(KXInputEvent& step, KXInputEvent& sum) {
    if (encoderDynamic)
        encoderDynamic->calculateIncrement(step, sum);
}

} // namespace KX
