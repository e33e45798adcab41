#include "tools/kxreplay/statistics/GestureCounter.h"

#include "events/KXEventKind.h"
#include "tools/kxreplay/statistics/Bins.h"

#include <algorithm>

namespace Replay {

namespace {

using KX::KXGesture;
using KX::KXInputDevice;

// The pointer has no key while it moves.
int codeOf(const KX::KXInputEvent& event, const KX::KXEventKind& kind) {
    const bool isButton = kind.device == KXInputDevice::Mouse;
    if (isButton &&
        (kind.gesture == KXGesture::Move || kind.gesture == KXGesture::Enter || kind.gesture == KXGesture::Exit))
        return 0;
    return isButton ? static_cast<int>(event.eventData[1]) : event.keyCode;
}

unsigned int difference(unsigned int one, unsigned int other) {
    return one > other ? one - other : other - one;
}

} // namespace

GestureCounter::GestureCounter(Counts& target) : counts(target) {}

void GestureCounter::take(const PlayedEvent& played) {
    const KX::KXInputEvent& event = played.event;
    const KX::KXEventKind kind = KX::kindOfEventType(event.eventType);
    if (kind.device == KXInputDevice::NoDevice)
        return;
    const Key key(static_cast<int>(kind.device), codeOf(event, kind));
    counts.add(Counted::Gestures, {key.first, key.second, kind.device == KXInputDevice::Key ? event.osKeyCode : 0,
                                   static_cast<int>(kind.gesture)});
    switch (kind.gesture) {
    case KXGesture::Press:
    case KXGesture::DoublePress: takePress(played, key); break;
    case KXGesture::LongPress: takeLongPress(played, key); break;
    case KXGesture::Release:
    case KXGesture::Escape: takeRelease(played, key); break;
    case KXGesture::Move:
        if (kind.device == KXInputDevice::Encoder)
            takeMove(event);
        break;
    default: break;
    }
}

void GestureCounter::takePress(const PlayedEvent& played, Key key) {
    const unsigned int now = played.event.timeStamp;
    if (lastPress && lastPress->key == key) {
        const unsigned int gapMs = now - lastPress->timeStamp;
        const unsigned int limitMs = played.durations.doublePressMs;
        counts.add(Counted::Gaps, {binFor(Counted::Gaps, gapMs)});
        noteDistance(Limit::DoublePress, gapMs <= limitMs, difference(gapMs, limitMs));
    }
    lastPress = candidate = Press{key, now};
    candidateLimit.reset();
    pressedSince[key] = now;
}

void GestureCounter::takeLongPress(const PlayedEvent& played, Key key) {
    if (candidate && candidate->key == key)
        candidateLimit = played.durations.longPressMs;
}

void GestureCounter::takeRelease(const PlayedEvent& played, Key key) {
    const auto press = pressedSince.find(key);
    if (press == pressedSince.end())
        return;
    const unsigned int heldMs = played.event.timeStamp - press->second;
    counts.add(Counted::Holds, {binFor(Counted::Holds, heldMs)});
    pressedSince.erase(press);
    if (!candidate || candidate->key != key)
        return;
    const unsigned int limitMs = candidateLimit.value_or(played.durations.longPressMs);
    noteDistance(Limit::LongPress, heldMs >= limitMs, difference(heldMs, limitMs));
    candidate.reset();
}

// The first move has no speed.
void GestureCounter::takeMove(const KX::KXInputEvent& event) {
    const auto steps = static_cast<unsigned int>(std::max(event.count, 1));
    counts.add(Counted::Steps, {event.keyCode}, steps);
    if (lastMove)
        counts.add(Counted::StepTimes, {binFor(Counted::StepTimes, (event.timeStamp - *lastMove) / steps)}, steps);
    lastMove = event.timeStamp;
}

void GestureCounter::noteDistance(Limit limit, bool isReached, unsigned int distanceMs) {
    const int bin = binFor(Counted::CloseCalls, distanceMs);
    if (bin != binsOf(Counted::CloseCalls).back())
        counts.add(Counted::CloseCalls, {static_cast<int>(limit), isReached ? 1 : 0, bin});
}

} // namespace Replay
