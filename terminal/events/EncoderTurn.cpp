#include "terminal/events/EncoderTurn.h"

#include "events/KXKeyCode.h"

#include <algorithm>

namespace Terminal {

EncoderTurn::Added EncoderTurn::add(const KX::KXInputEvent& move) {
    const auto pause = static_cast<std::int32_t>(move.timeStamp - lastTick);
    Added added;
    added.beginsTurn = isEmpty || pause < 0 || pause >= restMs;
    if (added.beginsTurn) {
        sum = 0;
        netSteps = 0;
        bundleValue = 0;
    }
    added.steps = std::max(1, move.count);
    added.value = addedBy(move);
    const int sign = move.keyCode == KX::KX_KEY_DOWN ? -1 : 1;
    sum += std::int64_t(sign) * added.value;
    netSteps += sign * added.steps;
    lastTick = move.timeStamp;
    isEmpty = false;
    return added;
}

// Moves from step keys belong to a bundle, whose value grows until it is closed. Each move of the wheel stands
// alone.
int EncoderTurn::addedBy(const KX::KXInputEvent& move) {
    if (move.osKeyCode == KX::KX_KEY_NONE)
        return move.value;
    const bool goesOn = move.value > bundleValue;
    const int added = goesOn ? move.value - bundleValue : move.value;
    bundleValue = move.value;
    return added;
}

std::int64_t EncoderTurn::value() const {
    return sum;
}

int EncoderTurn::steps() const {
    return netSteps;
}

} // namespace Terminal
