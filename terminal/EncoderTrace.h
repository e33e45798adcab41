#pragma once

#include "encoder/KXEncoderDynamic.h"
#include "events/KXEvent.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace Terminal {

/// The last moves of the encoder, and what they count together.
///
/// Moves with less than \ref restMs between them are one turn of the knob; its value starts at 0.
class EncoderTrace {
public:
    struct Step {
        std::int64_t time = 0;  ///< in ms, goes on across the wrap of the tick
        int stepTimeMs = 0;     ///< smoothed
        int increment = 0;      ///< that each raw step counted
        std::int64_t value = 0; ///< of the turn up to here; downwards is negative
        bool beginsTurn = false;
    };

    static constexpr int restMs = 1000;
    static constexpr std::size_t capacity = 1000;

    /// Above which time of a step the encoder counts as restarted follows from it.
    void setSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& table);

    /// A step that takes longer restarts the encoder.
    int longestStepTimeMs() const;

    /// What the library will have made of the time since the last move: the smoothed step time in ms.
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
    int bundleValue = 0; ///< that the last key-made move bore
};

} // namespace Terminal
