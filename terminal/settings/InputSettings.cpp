#include "terminal/settings/InputSettings.h"

#include "platform/KXStatus.h"
#include "terminal/settings/SettingTable.h"

#include <cstddef>
#include <utility>

namespace Terminal {

namespace {

static_assert(settingTable.size() == InputSettings::SettingCount);

const SettingEntry& entryOf(InputSettings::Setting setting) {
    return settingTable.at(setting);
}

bool isDuration(InputSettings::Setting setting) {
    return setting == InputSettings::DoublePressMs || setting == InputSettings::LongPressMs;
}

std::array<int, InputSettings::SettingCount> defaultValues() {
    std::array<int, InputSettings::SettingCount> values{};
    for (std::size_t number = 0; number < values.size(); ++number)
        values[number] = settingTable[number].defaultValue;
    return values;
}

QString withUnit(int value, InputSettings::Setting setting) {
    return QStringLiteral("%1 %2").arg(value).arg(SettingText::unit(setting));
}

QString refusedDuration(InputSettings::Setting setting, int value, const InputSettings& settings) {
    if (value < entryOf(setting).least)
        return QStringLiteral("Not below %1").arg(withUnit(entryOf(setting).least, setting));
    if (setting == InputSettings::DoublePressMs)
        return QStringLiteral("Not below the long press of %1 ms").arg(settings.value(InputSettings::LongPressMs));
    return QStringLiteral("Not above the double press of %1 ms").arg(settings.value(InputSettings::DoublePressMs));
}

} // namespace

InputSettings::InputSettings(Apply applyFunction, QObject* parent)
    : QObject(parent), applyToLibrary(std::move(applyFunction)), values(defaultValues()) {}

int InputSettings::value(Setting setting) const {
    return values.at(setting);
}

int InputSettings::leastNow(Setting setting) const {
    return setting == LongPressMs ? value(DoublePressMs) + 1 : entryOf(setting).least;
}

int InputSettings::greatestNow(Setting setting) const {
    return setting == DoublePressMs ? value(LongPressMs) - 1 : entryOf(setting).greatest;
}

int InputSettings::set(Setting setting, int value) {
    const int status = apply(setting, value);
    if (status != KX::STATUS_OK)
        emit refused(setting, value, status);
    else if (std::exchange(values.at(setting), value) != value)
        emit changed(setting, value);
    return status;
}

int InputSettings::apply(Setting setting, int value) const {
    // The library takes unsigned durations: a negative value would become a very long time.
    if (isDuration(setting) && value < 0)
        return KX::STATUS_REFUSED;
    return applyToLibrary(setting, value);
}

void InputSettings::restoreDefaults() {
    // The duration that does not conflict with the old value of the other comes first.
    if (value(DoublePressMs) < entryOf(LongPressMs).defaultValue) {
        restoreDefault(LongPressMs);
        restoreDefault(DoublePressMs);
    } else {
        restoreDefault(DoublePressMs);
        restoreDefault(LongPressMs);
    }
    restoreDefault(UserFactor);
    restoreDefault(LowPassFactor);
}

void InputSettings::restoreDefault(Setting setting) {
    set(setting, entryOf(setting).defaultValue);
}

QString SettingText::name(InputSettings::Setting setting) {
    return QString::fromUtf8(entryOf(setting).label);
}

QString SettingText::unit(InputSettings::Setting setting) {
    return QString::fromUtf8(entryOf(setting).unit);
}

QString SettingText::range(InputSettings::Setting setting, const InputSettings& settings) {
    if (setting == InputSettings::AcceptInput)
        return settings.value(setting) != 0 ? QStringLiteral("Input is taken") : QStringLiteral("Input is lost");
    const int least = settings.leastNow(setting);
    const int greatest = settings.greatestNow(setting);
    if (greatest == SettingEntry::noLimit)
        return QStringLiteral("%1 or more").arg(withUnit(least, setting));
    return QStringLiteral("%1 to %2").arg(least).arg(withUnit(greatest, setting));
}

QString SettingText::refusal(InputSettings::Setting setting, int value, int status,
                             const InputSettings& settings) {
    switch (status) {
    case KX::STATUS_REFUSED: return refusedDuration(setting, value, settings);
    case KX::STATUS_OUT_OF_RANGE:
        return value < entryOf(setting).least
                   ? QStringLiteral("Not below %1").arg(withUnit(entryOf(setting).least, setting))
                   : QStringLiteral("Not above %1").arg(withUnit(entryOf(setting).greatest, setting));
    default: return QStringLiteral("Refused with status %1").arg(status);
    }
}

} // namespace Terminal
