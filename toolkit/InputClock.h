#pragma once

#include <cstdint>
#include <optional>

namespace KX {

/// Finds the tick at which the operator made an input, from the time stamp that the window system gave it.
///
/// A busy application sees input late, and only the stamp says when it was made. Stamps and ticks are ms in 32 bits
/// and wrap. What lies between them is the distance of the two clocks and the delay of the input:
///
///     tick at which the input is seen - stamp = distance + delay
///
/// On Linux, X servers, Wayland compositors and the tick use the same clock, so the distance is 0. This is assumed
/// at first, because then even the first input is right, however late it is seen. The distance is learned anew, from
/// the input at hand, which is taken as made now, when that input
///
/// - is more than 5 ms ahead of the shared clock: the clocks differ;
/// - is ahead of a learned distance: it is the least delayed one so far;
/// - is more than 60 s late: the window system's clock was set, or its server restarted;
/// - is the tenth in a row that is more than 100 ms late, all equally to 5 ms, in 2 s or more: the clocks differ by
///   less than 60 s. A busy application sees its inputs after delays that differ;
/// - is more than 1 s late, as all inputs for over 60 s: the same, where the connection delays inputs unequally.
///
/// A rest counts as one second at most in these times, so that two inputs that each met a busy application refute
/// nothing. A learned distance is the least one that was seen. It may grow by 100 ppm of the time that passes, as
/// clocks that run apart do. A learned distance of 0 to 5 ms is the shared clock again.
///
/// Results never lie in the future, nor before the previous result.
class InputClock {
public:
    static constexpr std::uint32_t noStamp = 0; ///< the input has no time of its own: it is made now
    static constexpr std::int32_t toleranceMs = 5;
    static constexpr std::int32_t lateMs = 1000;
    static constexpr std::int32_t longestDelayMs = 60000;
    static constexpr std::uint32_t longestLatenessMs = 60000;
    static constexpr std::uint32_t longestRestMs = 1000;
    static constexpr std::int32_t steadyLateMs = 100;
    static constexpr int steadyInputs = 10;
    static constexpr std::uint32_t steadyMs = 2000;
    static constexpr std::uint32_t msPerMsOfDrift = 10000; ///< 100 ppm

    /// \param now  the present tick
    /// \return the tick of an input that is seen now
    std::uint32_t tickOf(std::uint32_t stamp, std::uint32_t now);

private:
    std::uint32_t delayOf(std::uint32_t stamp, std::uint32_t now);
    void allowForDrift(std::uint32_t passedMs);
    bool isRefutedBy(std::int32_t delay, std::uint32_t passedMs);
    bool isSteadilyLate(std::int32_t delay, std::uint32_t passedMs);
    void learn(std::uint32_t newDistance);

    bool sharesClock = true;
    std::uint32_t distance = 0;
    std::uint64_t undriftedMs = 0; // since the distance was learned or grew
    std::uint32_t lastSeen = 0;    // the tick of the last call with a stamp
    std::uint32_t latenessMs = 0;  // how long all inputs have been late
    std::int32_t steadyDelay = 0;  // of the first input of those that are equally late
    int equallyLate = 0;           // so many inputs are
    std::uint32_t equallyLateMs = 0;
    std::optional<std::uint32_t> lastResult;
};

} // namespace KX
