#pragma once

#include "events/KXEvent.h"

#include <cstdint>

namespace Terminal {

/// What the moves of one turn of the knob add up to.
///
/// Moves less than \ref restMs apart belong to one turn. Each turn starts at 0.
class EncoderTurn {
public:
    static constexpr int restMs = 1000;

    /// What one move did.
    struct Added {
        bool beginsTurn = false;
        int value = 0; ///< without a sign
        int steps = 0; ///< without a sign, at least 1
    };

    /// \p move is an ENCODER_MOVE_EVENT.
    Added add(const KX::KXInputEvent& move);

    /// Since the turn began; negative is downwards.
    std::int64_t value() const;
    int steps() const;

private:
    int addedBy(const KX::KXInputEvent& move);

    std::int64_t sum = 0;
    int netSteps = 0;
    unsigned int lastTick = 0;
    int bundleValue = 0; ///< of the last move that a step key made
    bool isEmpty = true;
};

} // namespace Terminal
