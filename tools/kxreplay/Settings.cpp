#include "tools/kxreplay/Settings.h"

#include "tools/arguments/ArgumentReader.h"

#include <algorithm>

namespace Replay {

namespace {

using KX::Recording::Entry;
using KX::Recording::NumberSetting;

bool isOperatorsOrPass(const Entry& entry) {
    return std::holds_alternative<KX::KXToolkitEvent>(entry.input) ||
           std::holds_alternative<KX::Recording::Frame>(entry.input) ||
           std::holds_alternative<KX::Recording::Pass>(entry.input);
}

std::vector<Entry>::const_iterator firstInput(const KX::Recording::Session& session) {
    return std::find_if(session.entries.begin(), session.entries.end(), isOperatorsOrPass);
}

Durations durationsAtFirstInput(const KX::Recording::Session& session) {
    Durations durations;
    const auto end = firstInput(session);
    for (auto entry = session.entries.begin(); entry != end; ++entry)
        if (const auto* const setting = std::get_if<NumberSetting>(&entry->input))
            durations.take(*setting);
    return durations;
}

void check(const Durations& durations, const std::string& where) {
    if (durations.areAllowed())
        return;
    throw Arguments::BadInput(where + ": a double press of " + std::to_string(durations.doublePressMs) +
                              " ms is not shorter than a long press of " + std::to_string(durations.longPressMs) +
                              " ms");
}

} // namespace

void Durations::take(const NumberSetting& setting) {
    const auto ms = static_cast<unsigned int>(setting.value);
    if (setting.name == KX::KXInputSetting::DoubleKeyPressDuration && ms < longPressMs)
        doublePressMs = ms;
    else if (setting.name == KX::KXInputSetting::LongKeyPressDuration && ms > doublePressMs)
        longPressMs = ms;
}

bool Durations::areAllowed() const {
    return doublePressMs < longPressMs;
}

bool OtherSettings::isEmpty() const {
    return !haveDurations() && !userFactor && !lowPass;
}

bool OtherSettings::haveDurations() const {
    return doublePressMs || longPressMs;
}

bool OtherSettings::replace(KX::KXInputSetting name) const {
    switch (name) {
    case KX::KXInputSetting::DoubleKeyPressDuration: return doublePressMs.has_value();
    case KX::KXInputSetting::LongKeyPressDuration: return longPressMs.has_value();
    case KX::KXInputSetting::EncoderUserFactor: return userFactor.has_value();
    case KX::KXInputSetting::EncoderLowPassFactor: return lowPass.has_value();
    case KX::KXInputSetting::AcceptInput:
    case KX::KXInputSetting::KeyboardLayout: return false;
    }
    return false;
}

Durations OtherSettings::applyTo(Durations recorded) const {
    return {doublePressMs.value_or(recorded.doublePressMs), longPressMs.value_or(recorded.longPressMs)};
}

// Settings before the first input may come in any order. Only their result counts.
void checkDurations(const OtherSettings& settings, const KX::Recording::Session& session,
                    const std::string& fileName) {
    if (!settings.haveDurations())
        return;
    Durations recorded = durationsAtFirstInput(session);
    check(settings.applyTo(recorded), "kxreplay");
    for (auto entry = firstInput(session); entry != session.entries.end(); ++entry) {
        const auto* const setting = std::get_if<NumberSetting>(&entry->input);
        if (!setting)
            continue;
        recorded.take(*setting);
        check(settings.applyTo(recorded), fileName + ":" + std::to_string(entry->line));
    }
}

} // namespace Replay
