#include "terminal/timeline/KeyTimeLine.h"

#include <algorithm>
#include <cstdlib>

namespace Terminal {

namespace {

// Two threads post events, so their ticks may be out of order. More than this has another reason.
constexpr KeyTimeLine::Time latestBy = 60000;

KeyTimeLine::LaneKey laneKeyOf(const KX::KXInputEvent& event) {
    if (KX::isMouseEvent(event.eventType))
        return {KeyTimeLine::LaneKind::MouseButton, event.eventData[1]};
    return {KeyTimeLine::LaneKind::Key, static_cast<unsigned int>(event.keyCode)};
}

bool isDown(const KeyTimeLine::Lane& lane) {
    return !lane.spans.empty() && lane.spans.back().ending == KeyTimeLine::Span::Ending::Down;
}

} // namespace

void KeyTimeLine::setDoublePressWindow(unsigned int ms) {
    doublePressWindowMs = ms;
}

void KeyTimeLine::append(const KX::KXInputEvent& event) {
    const KX::KXGesture gesture = KX::kindOfEventType(event.eventType).gesture;
    switch (gesture) {
    case KX::KXGesture::Press:
    case KX::KXGesture::DoublePress: press(event, advanceTo(event), gesture); break;
    case KX::KXGesture::LongPress:
    case KX::KXGesture::LongRelease: signOfLife(event, advanceTo(event), gesture); break;
    case KX::KXGesture::Release:
    case KX::KXGesture::Escape: release(event, advanceTo(event), gesture); break;
    case KX::KXGesture::Move: move(event, advanceTo(event)); break;
    default: return;
    }
    while (keptEvents > capacity)
        dropOldest();
}

KeyTimeLine::Time KeyTimeLine::advanceTo(const KX::KXInputEvent& event) {
    if (!hasTime) {
        hasTime = true;
        newestTick = event.timeStamp;
        newestTime = event.timeStamp;
        return newestTime;
    }
    // The tick lies within 2^31 ms before or after the newest event, even across the wrap.
    const Time distance = static_cast<std::int32_t>(event.timeStamp - newestTick);
    // An Escape that the application posts itself has no tick. It counts as happening now.
    if (event.timeStamp == 0 && std::abs(distance) > latestBy)
        return newestTime;
    if (distance < 0 && distance >= -latestBy)
        return newestTime + distance;
    // An older tick than that comes from another clock, such as a recording's. The time line goes on from here.
    newestTick = event.timeStamp;
    newestTime += std::max<Time>(distance, 0);
    return newestTime;
}

KeyTimeLine::Lane& KeyTimeLine::laneOf(const KX::KXInputEvent& event) {
    const auto [found, isNew] = keyLanes.try_emplace(laneKeyOf(event));
    if (isNew) {
        found->second.namesake = event;
        found->second.number = openedLanes++;
    }
    return found->second;
}

KeyTimeLine::Span& KeyTimeLine::openSpan(Lane& lane, Time time) {
    Span span;
    // Spans are searched by time, so none may begin before the previous one has ended.
    span.start = lane.spans.empty() ? time : std::max(time, lane.spans.back().end);
    span.end = span.start;
    lane.spans.push_back(span);
    oldestFirst.emplace_back(Place::Span, laneKeyOf(lane.namesake));
    ++keptEvents;
    ++keysDown;
    return lane.spans.back();
}

void KeyTimeLine::press(const KX::KXInputEvent& event, Time time, KX::KXGesture gesture) {
    Lane& lane = laneOf(event);
    if (isDown(lane)) {
        lane.spans.back().ending = Span::Ending::Lost;
        --keysDown;
    }
    const bool follows = !lane.spans.empty() && lane.spans.back().isPressSeen;
    const Time previousStart = follows ? lane.spans.back().start : 0;
    Span& span = openSpan(lane, time);
    span.followsPress = follows;
    span.isInterrupted = laneKeyOf(event) != lastPressed;
    lastPressed = laneKeyOf(event);
    span.sincePreviousPress = follows ? static_cast<unsigned int>(span.start - previousStart) : 0;
    span.doublePressWindow = doublePressWindowMs;
    span.isDoublePress = gesture == KX::KXGesture::DoublePress;
}

void KeyTimeLine::count(Span& span) {
    ++span.eventCount;
    ++keptEvents;
}

// The present span of the key. If its press was missed, a new span.
KeyTimeLine::Span& KeyTimeLine::spanGoingOn(Lane& lane, Time time) {
    if (isDown(lane)) {
        count(lane.spans.back());
        return lane.spans.back();
    }
    Span& span = openSpan(lane, time);
    span.isPressSeen = false;
    return span;
}

// A long press or a long release. The long release is posted just before the release, with the tick of the long
// press.
void KeyTimeLine::signOfLife(const KX::KXInputEvent& event, Time time, KX::KXGesture gesture) {
    Lane& lane = laneOf(event);
    Span& span = spanGoingOn(lane, time);
    span.end = std::max(span.end, time);
    if (gesture == KX::KXGesture::LongRelease) {
        span.isLongRelease = true;
        return;
    }
    span.isLongPress = true;
    span.longPressAt = std::max(span.start, time);
}

void KeyTimeLine::release(const KX::KXInputEvent& event, Time time, KX::KXGesture gesture) {
    Lane& lane = laneOf(event);
    Span& span = spanGoingOn(lane, time);
    // The release may be older than the long press that was posted before it.
    span.end = std::max(span.start, time);
    span.longPressAt = std::min(span.longPressAt, span.end);
    span.ending = gesture == KX::KXGesture::Escape ? Span::Ending::Escaped : Span::Ending::Released;
    --keysDown;
}

// A move of the mouse only tells the time.
void KeyTimeLine::move(const KX::KXInputEvent& event, Time time) {
    if (event.eventType != KX::ENCODER_MOVE_EVENT)
        return;
    Move step;
    step.time = encoderMoves.empty() ? time : std::max(time, encoderMoves.back().time);
    step.value = event.value;
    step.count = event.count;
    step.isDownwards = event.keyCode == KX::KX_KEY_DOWN;
    encoderMoves.push_back(step);
    oldestFirst.emplace_back(Place::Move, LaneKey());
    ++keptEvents;
}

void KeyTimeLine::dropOldest() {
    const auto [place, laneKey] = oldestFirst.front();
    oldestFirst.pop_front();
    if (place == Place::Move) {
        encoderMoves.pop_front();
        --keptEvents;
        return;
    }
    const auto lane = keyLanes.find(laneKey);
    const Span& span = lane->second.spans.front();
    keptEvents -= span.eventCount;
    keysDown -= span.ending == Span::Ending::Down ? 1 : 0;
    lane->second.spans.pop_front();
    if (lane->second.spans.empty())
        keyLanes.erase(lane);
}

const KeyTimeLine::Lanes& KeyTimeLine::lanes() const {
    return keyLanes;
}

const std::deque<KeyTimeLine::Move>& KeyTimeLine::moves() const {
    return encoderMoves;
}

KeyTimeLine::Time KeyTimeLine::newest() const {
    return newestTime;
}

KeyTimeLine::Time KeyTimeLine::oldest() const {
    if (oldestFirst.empty())
        return newestTime;
    const auto& [place, laneKey] = oldestFirst.front();
    return place == Place::Move ? encoderMoves.front().time : keyLanes.at(laneKey).spans.front().start;
}

unsigned int KeyTimeLine::tickAt(Time time) const {
    return newestTick + static_cast<unsigned int>(time - newestTime);
}

bool KeyTimeLine::isEmpty() const {
    return keptEvents == 0;
}

bool KeyTimeLine::isAnyKeyDown() const {
    return keysDown > 0;
}

int KeyTimeLine::eventCount() const {
    return keptEvents;
}

std::deque<KeyTimeLine::Span>::const_iterator KeyTimeLine::firstSpanEndingAt(const Lane& lane, Time time) {
    const auto endsBefore = [](const Span& span, Time limit) {
        return span.ending != Span::Ending::Down && span.end < limit;
    };
    return std::lower_bound(lane.spans.begin(), lane.spans.end(), time, endsBefore);
}

std::deque<KeyTimeLine::Move>::const_iterator KeyTimeLine::firstMoveAt(Time time) const {
    const auto isBefore = [](const Move& step, Time limit) { return step.time < limit; };
    return std::lower_bound(encoderMoves.begin(), encoderMoves.end(), time, isBefore);
}

} // namespace Terminal
