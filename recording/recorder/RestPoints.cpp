#include "recording/recorder/RestPoints.h"

#include "events/KXEventType.h"

#include <algorithm>

namespace KX::Recording {

namespace {

bool wouldPair(unsigned int timeStamp, const KXInputMemory& memory) {
    return memory.hasPress && timeStamp - memory.pressTimeStamp <= memory.doublePressMs;
}

// Whether a step at \p timeStamp would continue the turn of a step at \p lastStep. A new encoder has 0 there.
bool continuesTurn(unsigned int timeStamp, unsigned int steps, std::uint64_t lastStep, unsigned int restartGapMs) {
    return lastStep >= timeStamp || (timeStamp - lastStep) / steps <= restartGapMs;
}

const KXEvent* eventOf(const Input& input) {
    if (const auto* const event = std::get_if<KXToolkitEvent>(&input))
        return event;
    return std::get_if<KXInputEvent>(&input);
}

// The encoder's steps in an event; 0: it is none of the encoder's. The encoder divides by them, whatever their sign.
unsigned int stepsIn(const KXEvent& event) {
    switch (event.eventType) {
    case TOOLKIT_WHEEL_EVENT:
    case ENCODER_MOVE_EVENT: return event.count == 0 ? 1 : static_cast<unsigned int>(event.count);
    case TOOLKIT_KEY_PRESS_EVENT: // of a knob that is wired as a keyboard
    case KEY_PRESS_EVENT: return 1;
    default: return 0;
    }
}

} // namespace

void RestPoints::addBeginning(const EntryLog::Place& place) {
    points.assign(1, place);
    lastPress = lastStep = place;
    before = {};
    hasStep = false;
}

void RestPoints::input(const Entry& entry, const EntryLog::Place& place, const KXInputMemory& memory) {
    disprovedSince.reset();
    noteChanges(place, memory);
    const KXEvent* const event = eventOf(entry.input);
    if (!event)
        return;
    if (wouldPair(event->timeStamp, memory))
        dropSince(lastPress);
    const unsigned int steps = stepsIn(*event);
    if (hasStep && steps != 0 &&
        (continuesTurn(event->timeStamp, steps, memory.stepTimeStamp, memory.restartGapMs) ||
         continuesTurn(event->timeStamp, steps, 0, memory.restartGapMs)))
        dropSince(lastStep);
}

void RestPoints::pass(unsigned int tick, const EntryLog::Place& place, const KXInputMemory& memory) {
    disprovedSince.reset();
    noteChanges(place, memory);
    const bool encoderRests = !hasStep || !continuesTurn(tick, 1, memory.stepTimeStamp, memory.restartGapMs);
    if (memory.isPressPending || memory.isBundleOpen || wouldPair(tick, memory) || !encoderRests)
        return;
    if (points.size() >= 2 && place.timeMs - points[points.size() - 2].timeMs < spacingMs)
        points.back() = place;
    else
        points.push_back(place);
}

// The memory has changed by the entry before.
void RestPoints::noteChanges(const EntryLog::Place& place, const KXInputMemory& memory) {
    if (memory.hasPress && (!before.hasPress || memory.pressTimeStamp != before.pressTimeStamp))
        lastPress = place;
    if (memory.stepTimeStamp != before.stepTimeStamp) {
        hasStep = true;
        lastStep = place;
    }
    before = memory;
}

// A place behind the input that made the memory does not know it.
void RestPoints::dropSince(const EntryLog::Place& place) {
    while (!points.empty() && !(points.back() < place))
        points.pop_back();
    if (!disprovedSince || place < *disprovedSince)
        disprovedSince = place;
}

std::optional<EntryLog::Place> RestPoints::last() const {
    return points.empty() ? std::nullopt : std::make_optional(points.back());
}

std::optional<EntryLog::Place> RestPoints::lastBefore(std::uint64_t timeMs) const {
    if (points.empty())
        return std::nullopt;
    const auto later = std::find_if(points.begin(), points.end(),
                                    [timeMs](const EntryLog::Place& point) { return point.timeMs > timeMs; });
    return later == points.begin() ? points.front() : *(later - 1);
}

bool RestPoints::wasDisproved(const EntryLog::Place& place) const {
    return disprovedSince && !(place < *disprovedSince);
}

void RestPoints::clear() {
    points.clear();
    disprovedSince.reset();
    lastPress = lastStep = {};
    before = {};
    hasStep = false;
}

void RestPoints::dropBefore(const EntryLog::Place& place) {
    while (!points.empty() && points.front() < place)
        points.pop_front();
}

} // namespace KX::Recording
