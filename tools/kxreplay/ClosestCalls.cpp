#include "tools/kxreplay/ClosestCalls.h"

#include "events/KXEventKind.h"
#include "tools/kxreplay/EventOutput.h"

#include <algorithm>

namespace Replay {

namespace {

using Call = ClosestCalls::Call;

bool isClose(const Call& call) {
    return call.distanceMs() <= call.limitMs / ClosestCalls::windowPart;
}

bool isDoublePress(int type) {
    return KX::kindOfEventType(type).gesture == KX::KXGesture::DoublePress;
}

template<typename IsBefore>
std::vector<Call> firstOf(std::vector<Call> calls, IsBefore isBefore) {
    std::stable_sort(calls.begin(), calls.end(), isBefore);
    calls.resize(std::min(calls.size(), ClosestCalls::most));
    return calls;
}

bool isNearer(const Call& one, const Call& other) {
    return one.distanceMs() < other.distanceMs();
}

} // namespace

unsigned int Call::distanceMs() const {
    return tookMs > limitMs ? tookMs - limitMs : limitMs - tookMs;
}

void ClosestCalls::take(const PlayedEvent& played) {
    switch (KX::kindOfEventType(played.event.eventType).gesture) {
    case KX::KXGesture::Press:
    case KX::KXGesture::DoublePress: takePress(played); break;
    case KX::KXGesture::LongPress: takeLongPress(played); break;
    case KX::KXGesture::Release:
    case KX::KXGesture::Escape: takeRelease(played); break;
    default: break;
    }
}

// A double press must directly follow its first press, with no press of another key in between.
void ClosestCalls::takePress(const PlayedEvent& played) {
    const KX::KXInputEvent& event = played.event;
    if (lastPress && isSameKey(*lastPress, event)) {
        const Call call{event,
                        played.line,
                        event.timeStamp - lastPress->timeStamp,
                        played.durations.doublePressMs,
                        isDoublePress(event.eventType),
                        0};
        if (isClose(call))
            presses.push_back(call);
    }
    lastPress = event;
    hold = Hold{event, std::nullopt, 0};
}

void ClosestCalls::takeLongPress(const PlayedEvent& played) {
    if (!hold || !isSameKey(hold->press, played.event))
        return;
    const unsigned int afterMs = played.event.timeStamp - hold->press.timeStamp;
    const unsigned int limitMs = played.durations.longPressMs;
    hold->longAfterMs = afterMs;
    hold->longLimitMs = limitMs;
    if (afterMs - limitMs > lateMs)
        lates.push_back({played.event, played.line, afterMs, limitMs, true, afterMs});
}

void ClosestCalls::takeRelease(const PlayedEvent& played) {
    if (!hold || !isSameKey(hold->press, played.event))
        return;
    const Call call{played.event,
                    played.line,
                    played.event.timeStamp - hold->press.timeStamp,
                    hold->longAfterMs ? hold->longLimitMs : played.durations.longPressMs,
                    hold->longAfterMs.has_value(),
                    hold->longAfterMs.value_or(0)};
    if (isClose(call))
        holds.push_back(call);
    hold.reset();
}

std::vector<Call> ClosestCalls::doublePresses() const {
    return firstOf(presses, isNearer);
}

std::vector<Call> ClosestCalls::longPresses() const {
    return firstOf(holds, isNearer);
}

std::vector<Call> ClosestCalls::lateLongPresses() const {
    return firstOf(
        lates, [](const Call& one, const Call& other) { return one.distanceMs() > other.distanceMs(); });
}

} // namespace Replay
