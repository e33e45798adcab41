#pragma once

#include "encoder/KXEncoderDynamic.h"
#include "events/KXEvent.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace Terminal {

/// The last moves of the encoder, and the value that they add up to.
///
/// Moves less than \ref restMs apart belong to one turn of the knob. The value of each turn starts at 0.
class EncoderTrace {
public:
    struct Step {
        std::int64_t time = 0;  ///< in ms, continued when the tick wraps
        int stepTimeMs = 0;     ///< smoothed
        int increment = 0;      ///< what each raw step counted
        std::int64_t value = 0; ///< of the turn so far; negative is downwards
        bool beginsTurn = false;
    };

    static constexpr int restMs = 1000;
    static constexpr std::size_t capacity = 1000;

    /// The table decides how long a step may take before the encoder counts as restarted.
    void setSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& table);

    /// A step that takes longer restarts the encoder.
    int longestStepTimeMs() const;

    /// The smoothed step time in ms that the library should have after \p move.
    int expectedStepTimeMs(const KX::KXInputEvent& move) const;

    /// \p move is an ENCODER_MOVE_EVENT.
    void add(const KX::KXInputEvent& move, int stepTimeMs);

    /// Oldest first.
    const std::deque<Step>& steps() const;

private:
    int addedBy(const KX::KXInputEvent& move);

    std::deque<Step> kept;
    unsigned int lastTick = 0;
    int lastStepTimeMs = 200;
    int restartStepTimeMs = 200;
    int bundleValue = 0; ///< of the last move that a step key made
};

} // namespace Terminal
