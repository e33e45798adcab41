#pragma once

#include "tools/kxreplay/Player.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Replay {

/// Input that was nearly classified otherwise: what an operator does not mean, and calls a fault.
///
/// Takes classified events in order.
class ClosestCalls {
public:
    struct Call {
        KX::KXInputEvent event;       ///< the second press, or the release; of a late one the long press
        std::size_t line = 0;         ///< of the entry it came of
        unsigned int tookMs = 0;      ///< from the press on
        unsigned int limitMs = 0;     ///< that held then
        bool reached = false;         ///< taken for a double press, or a long one
        unsigned int longAfterMs = 0; ///< when it was taken for a long one, from the press on

        unsigned int distanceMs() const;
    };

    static constexpr std::size_t most = 5;

    /// How far from the limit a close call may be: a part of the limit.
    static constexpr unsigned int windowPart = 4;

    /// A worker that passes in time finds a long press within 100 ms; beyond this it was late.
    static constexpr unsigned int lateMs = 150;

    void take(const PlayedEvent& played);

    /// Second presses of a key near the limit of double presses, the nearest first.
    std::vector<Call> doublePresses() const;

    /// Holds that ended near the limit of long presses, the nearest first.
    std::vector<Call> longPresses() const;

    /// Long presses that were recognised late, the latest first.
    std::vector<Call> lateLongPresses() const;

private:
    struct Hold {
        KX::KXInputEvent press;
        std::optional<unsigned int> longAfterMs;
        unsigned int longLimitMs = 0; // that held when it was taken for a long one
    };

    void takePress(const PlayedEvent& played);
    void takeLongPress(const PlayedEvent& played);
    void takeRelease(const PlayedEvent& played);

    std::optional<KX::KXInputEvent> lastPress;
    std::optional<Hold> hold; // of the key that may become a long press
    std::vector<Call> presses;
    std::vector<Call> holds;
    std::vector<Call> lates;
};

} // namespace Replay
