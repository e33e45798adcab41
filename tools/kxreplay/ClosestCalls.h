#pragma once

#include "tools/kxreplay/Player.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Replay {

/// Input that was nearly classified differently. Operators may take it for a fault.
///
/// It takes classified events in order.
class ClosestCalls {
public:
    struct Call {
        KX::KXInputEvent event;       ///< the second press or the release; for a late one the long press
        std::size_t line = 0;         ///< of the entry that caused it
        unsigned int tookMs = 0;      ///< since the press
        unsigned int limitMs = 0;     ///< the limit at that time
        bool reached = false;         ///< classified as a double or long press
        unsigned int longAfterMs = 0; ///< from the press to the long press

        unsigned int distanceMs() const;
    };

    static constexpr std::size_t most = 5;

    /// A call is close within this fraction of the limit.
    static constexpr unsigned int windowPart = 4;

    /// A worker on time detects a long press within 100 ms. Beyond this it was late.
    static constexpr unsigned int lateMs = 150;

    void take(const PlayedEvent& played);

    /// Second presses near the limit of double presses, nearest first.
    std::vector<Call> doublePresses() const;

    /// Holds that ended near the limit of long presses, nearest first.
    std::vector<Call> longPresses() const;

    /// Long presses that were detected late, latest first.
    std::vector<Call> lateLongPresses() const;

private:
    struct Hold {
        KX::KXInputEvent press;
        std::optional<unsigned int> longAfterMs;
        unsigned int longLimitMs = 0; // when the long press was detected
    };

    void takePress(const PlayedEvent& played);
    void takeLongPress(const PlayedEvent& played);
    void takeRelease(const PlayedEvent& played);

    std::optional<KX::KXInputEvent> lastPress;
    std::optional<Hold> hold; // the press that may become long
    std::vector<Call> presses;
    std::vector<Call> holds;
    std::vector<Call> lates;
};

} // namespace Replay
