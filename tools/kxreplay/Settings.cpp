#include "tools/kxreplay/Settings.h"

#include "recording/KXSettingTable.h"
#include "tools/arguments/ArgumentReader.h"

#include <algorithm>

namespace Replay {

namespace {

using KX::KXInputSetting;
using KX::Recording::Entry;
using KX::Recording::NumberSetting;

unsigned int defaultMs(KXInputSetting name) {
    return static_cast<unsigned int>(KX::settingRow(name).defaultValue);
}

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

Durations::Durations()
    : Durations(defaultMs(KXInputSetting::DoubleKeyPressDuration),
                defaultMs(KXInputSetting::LongKeyPressDuration)) {}

Durations::Durations(unsigned int doublePress, unsigned int longPress)
    : doublePressMs(doublePress), longPressMs(longPress) {}

void Durations::take(const NumberSetting& setting) {
    const auto ms = static_cast<unsigned int>(setting.value);
    if (setting.name == KXInputSetting::DoubleKeyPressDuration && ms < longPressMs)
        doublePressMs = ms;
    else if (setting.name == KXInputSetting::LongKeyPressDuration && ms > doublePressMs)
        longPressMs = ms;
}

bool Durations::areAllowed() const {
    return doublePressMs < longPressMs;
}

bool OtherSettings::haveDurations() const {
    return replace(KXInputSetting::DoubleKeyPressDuration) || replace(KXInputSetting::LongKeyPressDuration);
}

bool OtherSettings::replace(KXInputSetting name) const {
    return values.count(name) != 0;
}

Durations OtherSettings::applyTo(Durations recorded) const {
    if (replace(KXInputSetting::DoubleKeyPressDuration))
        recorded.doublePressMs = static_cast<unsigned int>(values.at(KXInputSetting::DoubleKeyPressDuration));
    if (replace(KXInputSetting::LongKeyPressDuration))
        recorded.longPressMs = static_cast<unsigned int>(values.at(KXInputSetting::LongKeyPressDuration));
    return recorded;
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
