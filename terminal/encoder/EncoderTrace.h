#pragma once

#include "encoder/KXEncoderDynamic.h"
#include "events/KXEvent.h"
#include "terminal/events/EncoderTurn.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace Terminal {

/// The last moves of the encoder, and the value that they add up to, turn by turn.
class EncoderTrace {
public:
    struct Step {
        std::int64_t time = 0;  ///< in ms, continued when the tick wraps
        int stepTimeMs = 0;     ///< smoothed
        int steps = 0;          ///< raw steps in the event
        int added = 0;          ///< what the event added to the value; negative is downwards
        int increment = 0;      ///< what each raw step counted
        std::int64_t value = 0; ///< of the turn so far; negative is downwards
        bool beginsTurn = false;
    };

    static constexpr int restMs = EncoderTurn::restMs;
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

    /// The first step of the present turn that is kept; the end when there is none.
    std::deque<Step>::const_iterator turnBegin() const;

private:
    std::deque<Step> kept;
    EncoderTurn turn;
    unsigned int lastTick = 0;
    int lastStepTimeMs = 200;
    int restartStepTimeMs = 200;
};

} // namespace Terminal
