#include "tools/kxreplay/Settings.h"

#include "recording/KXSettingTable.h"
#include "tools/arguments/BadInput.h"

#include <utility>

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

DurationCheck::DurationCheck(const OtherSettings& otherSettings, std::string fileName, std::string headName)
    : settings(otherSettings), name(std::move(fileName)), nameOfHead(std::move(headName)) {}

// Settings before the first input may come in any order. Only their result counts.
void DurationCheck::take(const Entry& entry) {
    if (!settings.haveDurations())
        return;
    if (isOperatorsOrPass(entry))
        finish();
    const auto* const setting = std::get_if<NumberSetting>(&entry.input);
    if (!setting)
        return;
    recorded.take(*setting);
    if (!isHead)
        check(settings.applyTo(recorded), name + ":" + std::to_string(entry.line));
}

void DurationCheck::finish() {
    if (isHead && settings.haveDurations())
        check(settings.applyTo(recorded), nameOfHead);
    isHead = false;
}

void checkDurations(const OtherSettings& settings, const Playable& session, const std::string& fileName,
                    const std::string& headName) {
    if (!settings.haveDurations())
        return;
    DurationCheck check(settings, fileName, headName);
    const auto next = session.open();
    while (const Entry* const entry = next())
        check.take(*entry);
    check.finish();
}

} // namespace Replay
