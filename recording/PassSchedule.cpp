#include "recording/KXPassSchedule.h"

#include "recording/KXSettingTable.h"

#include <algorithm>

namespace KX {

namespace {

using Recording::Entry;
using Recording::Session;
using Recording::SessionFacts;

constexpr std::uint64_t passIntervalMs = 100;
constexpr std::uint64_t restMs = 200;

bool isInput(const Entry& entry) {
    return std::holds_alternative<KXToolkitEvent>(entry.input) ||
           std::holds_alternative<KXInputEvent>(entry.input) ||
           std::holds_alternative<Recording::Frame>(entry.input);
}

// Until the longest long press of the session is due, and some passes more for a bundle of steps.
std::uint64_t pendingFor(std::int64_t longPressMs) {
    const std::int64_t longest =
        std::max(longPressMs, settingRow(KXInputSetting::LongKeyPressDuration).defaultValue);
    return static_cast<std::uint64_t>(longest) + 10 * passIntervalMs;
}

} // namespace

KXPassSchedule::KXPassSchedule(const Session& session) : KXPassSchedule(SessionFacts(session)) {}

KXPassSchedule::KXPassSchedule(const SessionFacts& facts)
    : isNeeded(!facts.hasPasses && facts.entries != 0), pendingMs(pendingFor(facts.greatestLongPressMs)),
      listensToBus(facts.isPlainLog), lastPassMs(facts.firstMs), lastInputMs(facts.firstMs) {
    if (facts.entries != 0)
        sessionEndMs = endAfter(facts.lastMs, facts.lastInputMs);
}

std::uint64_t KXPassSchedule::endAfter(std::uint64_t entryMs, std::uint64_t inputMs) const {
    return isNeeded ? std::max(entryMs, inputMs + restMs) : entryMs;
}

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
    sessionEndMs = std::max(sessionEndMs, endAfter(entry.timeMs, lastInputMs));
    if (const auto* const setting = std::get_if<Recording::NumberSetting>(&entry.input))
        if (setting->name == KXInputSetting::LongKeyPressDuration)
            pendingMs = std::max(pendingMs, pendingFor(setting->value));
    if (std::holds_alternative<Recording::Keypad>(entry.input))
        listensToBus = true;
    if (!isNeeded || !listensToBus || !std::holds_alternative<Recording::Frame>(entry.input))
        return false;
    lastPassMs = entry.timeMs;
    return true;
}

} // namespace KX
