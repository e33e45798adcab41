#include "terminal/encoder/EncoderTrace.h"

#include <algorithm>

namespace Terminal {

namespace {

constexpr int longestWithoutTable = 500;

int rawStepsOf(const KX::KXInputEvent& move) {
    return std::max(1, move.count);
}

} // namespace

void EncoderTrace::setSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& table) {
    restartStepTimeMs = table.size() < 2 ? longestWithoutTable : static_cast<int>(2 * table.back().timeGap);
}

int EncoderTrace::longestStepTimeMs() const {
    return restartStepTimeMs;
}

int EncoderTrace::expectedStepTimeMs(const KX::KXInputEvent& move) const {
    if (kept.empty())
        return restartStepTimeMs;
    const unsigned int gapMs = (move.timeStamp - lastTick) / static_cast<unsigned int>(rawStepsOf(move));
    if (gapMs > static_cast<unsigned int>(restartStepTimeMs))
        return restartStepTimeMs;
    return (static_cast<int>(gapMs) + lastStepTimeMs) / 2;
}

// Moves from step keys belong to a bundle, whose value grows until it is closed. Each move of the wheel stands
// alone.
int EncoderTrace::addedBy(const KX::KXInputEvent& move) {
    if (move.osKeyCode == KX::KX_KEY_NONE)
        return move.value;
    const bool goesOn = move.value > bundleValue;
    const int added = goesOn ? move.value - bundleValue : move.value;
    bundleValue = move.value;
    return added;
}

void EncoderTrace::add(const KX::KXInputEvent& move, int stepTimeMs) {
    const auto pause = static_cast<std::int32_t>(move.timeStamp - lastTick);
    Step step;
    step.beginsTurn = kept.empty() || pause < 0 || pause >= restMs;
    step.time = kept.empty() ? move.timeStamp : kept.back().time + std::max(0, pause);
    step.stepTimeMs = stepTimeMs;
    if (step.beginsTurn)
        bundleValue = 0;
    const int added = addedBy(move);
    step.increment = std::max(1, added / rawStepsOf(move));
    const std::int64_t signedAdded = move.keyCode == KX::KX_KEY_DOWN ? -std::int64_t(added) : added;
    step.value = signedAdded + (step.beginsTurn ? 0 : kept.back().value);
    kept.push_back(step);
    if (kept.size() > capacity)
        kept.pop_front();
    lastTick = move.timeStamp;
    lastStepTimeMs = stepTimeMs;
}

const std::deque<EncoderTrace::Step>& EncoderTrace::steps() const {
    return kept;
}

} // namespace Terminal
