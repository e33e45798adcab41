#pragma once

#include "events/KXEventKind.h"
#include "tools/kxreplay/Player.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Replay {

/// What a picture of a recording shows: a lane for each key and button in the order of their first use, and the moves
/// of the encoder. It takes classified events in order. Times are in ms since the first entry of the recording.
class TimeLine {
public:
    struct Mark {
        std::int64_t ms;
        KX::KXGesture gesture;
    };

    struct Span {
        std::int64_t fromMs;
        std::optional<std::int64_t> longFromMs; ///< when it was found long
        std::optional<std::int64_t> toMs;       ///< nothing: it was not released
    };

    struct Lane {
        KX::KXInputEvent key; ///< an event of it
        std::string name;
        std::vector<Mark> marks;
        std::vector<Span> spans;
    };

    struct Move {
        std::int64_t ms;
        int value;
        int steps;
        bool isDown; ///< by the direction key for down
    };

    /// \param firstTick  of the recording
    /// \param fromMs, toMs  what is shown; events before and after are left out, but the spans that reach into it stay
    TimeLine(unsigned int firstTick, std::int64_t fromMs, std::int64_t toMs);

    void take(const PlayedEvent& played);

    /// What would draw over itself is left out, so memory depends only on the picture.
    static constexpr std::size_t mostMarksPerLane = 20000;

    const std::vector<Lane>& getLanes() const { return lanes; }
    const std::vector<Move>& getMoves() const { return moves; }
    std::int64_t firstShownMs() const { return from; }
    std::int64_t lastShownMs() const { return to; }
    bool isComplete() const { return !wasCut; }

private:
    std::int64_t timeOf(const KX::KXInputEvent& event);
    Lane& laneOf(const KX::KXInputEvent& event);
    void takeKey(const KX::KXInputEvent& event, KX::KXGesture gesture, std::int64_t ms);

    std::int64_t lastMs = 0; // of the event before
    unsigned int lastTick;
    const std::int64_t from;
    const std::int64_t to;
    std::vector<Lane> lanes;
    std::vector<Move> moves;
    bool wasCut = false;
};

} // namespace Replay
