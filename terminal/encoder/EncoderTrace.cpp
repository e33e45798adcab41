#include "terminal/encoder/EncoderTrace.h"

#include "events/KXKeyCode.h"

#include <algorithm>
#include <iterator>

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

void EncoderTrace::add(const KX::KXInputEvent& move, int stepTimeMs) {
    const auto pause = static_cast<std::int32_t>(move.timeStamp - lastTick);
    const EncoderTurn::Added added = turn.add(move);
    Step step;
    step.beginsTurn = added.beginsTurn;
    step.time = kept.empty() ? move.timeStamp : kept.back().time + std::max(0, pause);
    step.stepTimeMs = stepTimeMs;
    step.steps = added.steps;
    step.added = move.keyCode == KX::KX_KEY_DOWN ? -added.value : added.value;
    step.increment = std::max(1, added.value / added.steps);
    step.value = turn.value();
    kept.push_back(step);
    if (kept.size() > capacity)
        kept.pop_front();
    lastTick = move.timeStamp;
    lastStepTimeMs = stepTimeMs;
}

const std::deque<EncoderTrace::Step>& EncoderTrace::steps() const {
    return kept;
}

std::deque<EncoderTrace::Step>::const_iterator EncoderTrace::turnBegin() const {
    const auto begin = std::find_if(kept.rbegin(), kept.rend(), [](const Step& step) { return step.beginsTurn; });
    return begin == kept.rend() ? kept.begin() : std::prev(begin.base());
}

} // namespace Terminal
