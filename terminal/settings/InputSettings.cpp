#include "terminal/settings/InputSettings.h"

#include "platform/KXStatus.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace Terminal {

namespace {

using KX::KXInputSetting;

// Numbers in the window are of this type. The window shows a greater limit, or this one, as none.
constexpr int noLimit = std::numeric_limits<int>::max();

int toInt(std::int64_t value) {
    return static_cast<int>(std::min<std::int64_t>(value, noLimit));
}

int leastOf(KXInputSetting setting) {
    return toInt(KX::settingRow(setting).range.least);
}

int greatestOf(KXInputSetting setting) {
    return toInt(KX::settingRow(setting).range.greatest);
}

std::array<int, KX::settingTable.size()> defaultValues() {
    std::array<int, KX::settingTable.size()> values{};
    for (std::size_t number = 0; number < values.size(); ++number)
        values[number] = toInt(KX::settingTable[number].defaultValue);
    return values;
}

constexpr double thousandths = 1000;
constexpr int thousandthsPerHundredth = 10;

// Two decimals, or three where two would hide a part.
QString describeFactor(int value) {
    const int decimals = value % thousandthsPerHundredth == 0 ? 2 : 3;
    return QStringLiteral("\u00d7\u00a0%1").arg(value / thousandths, 0, 'f', decimals);
}

QString describePercent(int value) {
    const int decimals = value % thousandthsPerHundredth == 0 ? 0 : 1;
    return QStringLiteral("%1\u00a0%").arg(100 * value / thousandths, 0, 'f', decimals);
}

QString withUnit(int value, KXInputSetting setting) {
    return SettingText::value(setting, value);
}

QString refusedDuration(KXInputSetting setting, int value, const InputSettings& settings) {
    if (value < leastOf(setting))
        return QStringLiteral("Must be %1\u00a0ms or more").arg(leastOf(setting));
    if (setting == KXInputSetting::DoubleKeyPressDuration)
        return QStringLiteral("Must be below the long press of %1\u00a0ms")
            .arg(settings.value(KXInputSetting::LongKeyPressDuration));
    return QStringLiteral("Must be above the double press of %1\u00a0ms")
        .arg(settings.value(KXInputSetting::DoubleKeyPressDuration));
}

} // namespace

InputSettings::InputSettings(Apply applyFunction, QObject* parent)
    : QObject(parent), applyToLibrary(std::move(applyFunction)), values(defaultValues()) {}

int InputSettings::value(KXInputSetting setting) const {
    return values.at(static_cast<std::size_t>(setting));
}

int InputSettings::defaultValue(KXInputSetting setting) const {
    return toInt(KX::settingRow(setting).defaultValue);
}

bool InputSettings::isDefault(KXInputSetting setting) const {
    return value(setting) == defaultValue(setting);
}

int InputSettings::leastNow(KXInputSetting setting) const {
    return setting == KXInputSetting::LongKeyPressDuration ? value(KXInputSetting::DoubleKeyPressDuration) + 1
                                                           : leastOf(setting);
}

int InputSettings::greatestNow(KXInputSetting setting) const {
    return setting == KXInputSetting::DoubleKeyPressDuration ? value(KXInputSetting::LongKeyPressDuration) - 1
                                                             : greatestOf(setting);
}

int InputSettings::set(KXInputSetting setting, int value) {
    const int status = apply(setting, value);
    if (status != KX::STATUS_OK)
        emit refused(setting, value, status);
    else if (std::exchange(values.at(static_cast<std::size_t>(setting)), value) != value)
        emit changed(setting, value);
    return status;
}

int InputSettings::apply(KXInputSetting setting, int value) const {
    // The library takes unsigned durations: a negative value would become a very long time.
    if (KX::settingRow(setting).isDuration() && value < 0)
        return KX::STATUS_REFUSED;
    return applyToLibrary(setting, value);
}

void InputSettings::restoreDefaults() {
    // The duration that does not conflict with the old value of the other comes first.
    if (value(KXInputSetting::DoubleKeyPressDuration) <
        KX::settingRow(KXInputSetting::LongKeyPressDuration).defaultValue) {
        restoreDefault(KXInputSetting::LongKeyPressDuration);
        restoreDefault(KXInputSetting::DoubleKeyPressDuration);
    } else {
        restoreDefault(KXInputSetting::DoubleKeyPressDuration);
        restoreDefault(KXInputSetting::LongKeyPressDuration);
    }
    restoreDefault(KXInputSetting::EncoderUserFactor);
    restoreDefault(KXInputSetting::EncoderLowPassFactor);
}

void InputSettings::restoreDefault(KXInputSetting setting) {
    set(setting, toInt(KX::settingRow(setting).defaultValue));
}

QString SettingText::name(KXInputSetting setting) {
    switch (setting) {
    case KXInputSetting::DoubleKeyPressDuration: return QStringLiteral("Double press");
    case KXInputSetting::LongKeyPressDuration: return QStringLiteral("Long press");
    case KXInputSetting::EncoderUserFactor: return QStringLiteral("Factor");
    case KXInputSetting::EncoderLowPassFactor: return QStringLiteral("Low-pass");
    case KXInputSetting::AcceptInput: return QStringLiteral("Accept input");
    case KXInputSetting::KeyboardLayout: break; // not on the page
    }
    return {};
}

QString SettingText::value(KXInputSetting setting, int value) {
    switch (setting) {
    case KXInputSetting::DoubleKeyPressDuration:
        return value == 0 ? QStringLiteral("off") : QStringLiteral("%1\u00a0ms").arg(value);
    case KXInputSetting::LongKeyPressDuration: return QStringLiteral("%1\u00a0ms").arg(value);
    case KXInputSetting::EncoderUserFactor: return describeFactor(value);
    case KXInputSetting::EncoderLowPassFactor: return describePercent(value);
    case KXInputSetting::AcceptInput: return value == 0 ? QStringLiteral("off") : QStringLiteral("on");
    case KXInputSetting::KeyboardLayout: break; // not on the page
    }
    return QString::number(value);
}

QString SettingText::range(KXInputSetting setting, const InputSettings& settings) {
    if (setting == KXInputSetting::AcceptInput)
        return settings.value(setting) != 0 ? QStringLiteral("Input is taken") : QStringLiteral("Input is lost");
    const int least = settings.leastNow(setting);
    const int greatest = settings.greatestNow(setting);
    if (greatest == noLimit)
        return QStringLiteral("%1 or more").arg(withUnit(least, setting));
    return QStringLiteral("%1 to %2").arg(withUnit(least, setting), withUnit(greatest, setting));
}

QString SettingText::refusal(KXInputSetting setting, int value, int status, const InputSettings& settings) {
    switch (status) {
    case KX::STATUS_REFUSED: return refusedDuration(setting, value, settings);
    case KX::STATUS_OUT_OF_RANGE:
        return value < leastOf(setting)
                   ? QStringLiteral("Must be %1 or more").arg(withUnit(leastOf(setting), setting))
                   : QStringLiteral("Must be %1 or less").arg(withUnit(greatestOf(setting), setting));
    default: return QStringLiteral("Refused with status %1").arg(status);
    }
}

} // namespace Terminal
