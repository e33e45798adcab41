#include "toolkit/InputClock.h"

#include <algorithm>
#include <cstdlib>

namespace KX {

// Delays are compared, not ticks: how long ago the last result was is right across the wrap, and after any pause.
std::uint32_t InputClock::tickOf(std::uint32_t stamp, std::uint32_t now) {
    std::uint32_t delay = stamp == noStamp ? 0 : delayOf(stamp, now);
    if (lastResult)
        delay = std::min(delay, now - *lastResult);
    lastResult = now - delay;
    return *lastResult;
}

std::uint32_t InputClock::delayOf(std::uint32_t stamp, std::uint32_t now) {
    const std::uint32_t passedMs = now - lastSeen;
    lastSeen = now;
    allowForDrift(passedMs);
    const std::uint32_t seenDistance = now - stamp;
    const auto delay = static_cast<std::int32_t>(seenDistance - distance);
    if (isRefutedBy(delay, passedMs)) {
        learn(seenDistance);
        return 0;
    }
    return static_cast<std::uint32_t>(std::max(delay, 0));
}

void InputClock::allowForDrift(std::uint32_t passedMs) {
    if (sharesClock)
        return;
    undriftedMs += passedMs;
    distance += static_cast<std::uint32_t>(undriftedMs / msPerMsOfDrift);
    undriftedMs %= msPerMsOfDrift;
}

bool InputClock::isRefutedBy(std::int32_t delay, std::uint32_t passedMs) {
    if (delay < (sharesClock ? -toleranceMs : 0) || delay > longestDelayMs)
        return true;
    const std::uint32_t countedMs = std::min(passedMs, longestRestMs);
    latenessMs = delay > lateMs ? latenessMs + countedMs : 0;
    return isSteadilyLate(delay, countedMs) || latenessMs > longestLatenessMs;
}

bool InputClock::isSteadilyLate(std::int32_t delay, std::uint32_t passedMs) {
    if (delay <= steadyLateMs) {
        equallyLate = 0;
        return false;
    }
    if (equallyLate > 0 && std::abs(delay - steadyDelay) <= toleranceMs) {
        ++equallyLate;
        equallyLateMs += passedMs;
    } else {
        steadyDelay = delay;
        equallyLate = 1;
        equallyLateMs = 0;
    }
    return equallyLate >= steadyInputs && equallyLateMs >= steadyMs;
}

void InputClock::learn(std::uint32_t newDistance) {
    sharesClock = newDistance <= std::uint32_t{toleranceMs};
    distance = sharesClock ? 0 : newDistance;
    undriftedMs = 0;
    latenessMs = 0;
    equallyLate = 0;
}

} // namespace KX
