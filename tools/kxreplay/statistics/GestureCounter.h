#pragma once

#include "tools/kxreplay/Player.h"
#include "tools/kxreplay/statistics/Counts.h"

#include <map>
#include <optional>
#include <utility>

namespace Replay {

/// Counts the gestures of one play: how often which, their times, and which were near a limit. It takes classified
/// events in order.
///
/// A gap is from a press to the next press, if both are of the same key: only then they can be a double press. A hold
/// is from a press to the release of its key, also when other keys are pressed meanwhile. Near the limit of a long
/// press can only be the last press, because only that can become long.
class GestureCounter {
public:
    explicit GestureCounter(Counts& target);

    void take(const PlayedEvent& played);

private:
    using Key = std::pair<int, int>; // device, key code or button

    struct Press {
        Key key;
        unsigned int timeStamp;
    };

    void takePress(const PlayedEvent& played, Key key);
    void takeLongPress(const PlayedEvent& played, Key key);
    void takeRelease(const PlayedEvent& played, Key key);
    void takeMove(const KX::KXInputEvent& event);
    void noteDistance(Limit limit, bool isReached, unsigned int distanceMs);

    Counts& counts;
    std::optional<Press> lastPress;             // which the next press may pair with
    std::map<Key, unsigned int> pressedSince;   // time stamps
    std::optional<Press> candidate;             // which may become long
    std::optional<unsigned int> candidateLimit; // when it was found long
    std::optional<unsigned int> lastMove;       // time stamp
};

} // namespace Replay
