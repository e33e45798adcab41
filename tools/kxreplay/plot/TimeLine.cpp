#include "tools/kxreplay/plot/TimeLine.h"

#include "events/KXKeyCode.h"
#include "tools/kxreplay/EventOutput.h"

#include <algorithm>

namespace Replay {

using KX::KXGesture;
using KX::KXInputDevice;

TimeLine::TimeLine(unsigned int firstTick, std::int64_t fromMs, std::int64_t toMs)
    : lastTick(firstTick), from(fromMs), to(toMs) {}

void TimeLine::take(const PlayedEvent& played) {
    const KX::KXInputEvent& event = played.event;
    const KX::KXEventKind kind = KX::kindOfEventType(event.eventType);
    const std::int64_t ms = timeOf(event);
    if (ms > to || kind.device == KXInputDevice::NoDevice)
        return;
    if (kind.device == KXInputDevice::Encoder) {
        wasCut = wasCut || moves.size() == mostMarksPerLane;
        if (ms >= from && moves.size() < mostMarksPerLane)
            moves.push_back({ms, event.value, event.count, event.keyCode == KX::KX_KEY_DOWN});
    } else if (kind.gesture != KXGesture::Move && kind.gesture != KXGesture::Enter &&
               kind.gesture != KXGesture::Exit) {
        takeKey(event, kind.gesture, ms);
    }
}

// A time stamp may be earlier than the one before, and the tick may wrap.
std::int64_t TimeLine::timeOf(const KX::KXInputEvent& event) {
    lastMs += static_cast<int>(event.timeStamp - lastTick);
    lastTick = event.timeStamp;
    return lastMs;
}

TimeLine::Lane& TimeLine::laneOf(const KX::KXInputEvent& event) {
    const auto found = std::find_if(lanes.begin(), lanes.end(), [&event](const Lane& lane) {
        return isSameKey(lane.key, event) &&
               (KX::isMouseEvent(event.eventType) || lane.key.osKeyCode == event.osKeyCode);
    });
    if (found != lanes.end())
        return *found;
    return lanes.emplace_back(Lane{event, nameKey(event), {}, {}});
}

void TimeLine::takeKey(const KX::KXInputEvent& event, KXGesture gesture, std::int64_t ms) {
    Lane& lane = laneOf(event);
    wasCut = wasCut || lane.marks.size() == mostMarksPerLane;
    if (lane.marks.size() >= mostMarksPerLane)
        return;
    const bool isHeld = !lane.spans.empty() && !lane.spans.back().toMs;
    if (gesture == KXGesture::Press || gesture == KXGesture::DoublePress)
        lane.spans.push_back({ms, std::nullopt, std::nullopt});
    else if (gesture == KXGesture::LongPress && isHeld)
        lane.spans.back().longFromMs = ms;
    else if ((gesture == KXGesture::Release || gesture == KXGesture::Escape) && isHeld)
        lane.spans.back().toMs = ms;
    if (!lane.spans.empty() && lane.spans.back().toMs && *lane.spans.back().toMs < from)
        lane.spans.pop_back(); // what ended before is not shown
    if (ms >= from && gesture != KXGesture::LongRelease)
        lane.marks.push_back({ms, gesture});
}

} // namespace Replay
