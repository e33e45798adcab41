#include "recording/KXPassSchedule.h"

#include "recording/KXSettingTable.h"

#include <algorithm>

namespace KX {

namespace {

using Recording::Entry;
using Recording::Session;

constexpr std::uint64_t passIntervalMs = 100;
constexpr std::uint64_t restMs = 200;

bool isInput(const Entry& entry) {
    return std::holds_alternative<KXToolkitEvent>(entry.input) ||
           std::holds_alternative<KXInputEvent>(entry.input) ||
           std::holds_alternative<Recording::Frame>(entry.input);
}

std::uint64_t startOf(const Session& session) {
    return session.entries.empty() ? 0 : session.entries.front().timeMs;
}

std::uint64_t endOf(const Session& session) {
    if (session.entries.empty())
        return 0;
    const std::uint64_t lastEntryMs = session.entries.back().timeMs;
    if (session.hasPasses)
        return lastEntryMs;
    const auto lastInput = std::find_if(session.entries.rbegin(), session.entries.rend(), isInput);
    const Entry& last = lastInput == session.entries.rend() ? session.entries.front() : *lastInput;
    return std::max(lastEntryMs, last.timeMs + restMs);
}

// Until the longest long press of the session is due, and some passes more for a bundle of steps.
std::uint64_t longestPending(const Session& session) {
    std::int64_t longest = settingRow(KXInputSetting::LongKeyPressDuration).defaultValue;
    for (const Entry& entry : session.entries) {
        const auto* const setting = std::get_if<Recording::NumberSetting>(&entry.input);
        if (setting && setting->name == KXInputSetting::LongKeyPressDuration)
            longest = std::max(longest, setting->value);
    }
    return static_cast<std::uint64_t>(longest) + 10 * passIntervalMs;
}

} // namespace

KXPassSchedule::KXPassSchedule(const Session& session)
    : isNeeded(!session.hasPasses && !session.entries.empty()), sessionEndMs(endOf(session)),
      pendingMs(longestPending(session)), listensToBus(session.isPlainLog), lastPassMs(startOf(session)),
      lastInputMs(lastPassMs) {}

std::optional<std::uint64_t> KXPassSchedule::nextMs() const {
    if (!isNeeded)
        return std::nullopt;
    return lastPassMs + passIntervalMs;
}

std::optional<std::uint64_t> KXPassSchedule::takeNext(std::uint64_t timeMs) {
    if (!isNeeded || lastPassMs + passIntervalMs > timeMs)
        return std::nullopt;
    lastPassMs += passIntervalMs;
    // The pass before the end of a pause keeps the beat.
    if (lastPassMs > lastInputMs + pendingMs)
        lastPassMs += (timeMs - lastPassMs) / passIntervalMs * passIntervalMs;
    return lastPassMs;
}

bool KXPassSchedule::played(const Entry& entry) {
    if (isInput(entry))
        lastInputMs = entry.timeMs;
    if (std::holds_alternative<Recording::Keypad>(entry.input))
        listensToBus = true;
    if (!isNeeded || !listensToBus || !std::holds_alternative<Recording::Frame>(entry.input))
        return false;
    lastPassMs = entry.timeMs;
    return true;
}

} // namespace KX
