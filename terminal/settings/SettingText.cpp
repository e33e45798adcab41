#include "terminal/settings/SettingText.h"

#include "platform/KXStatus.h"

namespace Terminal {

namespace {

constexpr int greatestLowPassFactor = 1000;

QString withUnit(int value, InputSettings::Setting setting) {
    return QStringLiteral("%1 %2").arg(value).arg(SettingText::unit(setting));
}

QString refusedDuration(InputSettings::Setting setting, int value, const InputSettings& settings) {
    if (value < 0)
        return QStringLiteral("Not below 0 ms");
    if (setting == InputSettings::DoublePressMs)
        return QStringLiteral("Not below the long press of %1 ms").arg(settings.value(InputSettings::LongPressMs));
    return QStringLiteral("Not above the double press of %1 ms").arg(settings.value(InputSettings::DoublePressMs));
}

} // namespace

QString SettingText::name(InputSettings::Setting setting) {
    switch (setting) {
    case InputSettings::DoublePressMs: return QStringLiteral("Double press");
    case InputSettings::LongPressMs: return QStringLiteral("Long press");
    case InputSettings::UserFactor: return QStringLiteral("Encoder factor");
    case InputSettings::LowPassFactor: return QStringLiteral("Encoder low-pass");
    default: return QStringLiteral("Accept input");
    }
}

QString SettingText::unit(InputSettings::Setting setting) {
    switch (setting) {
    case InputSettings::DoublePressMs:
    case InputSettings::LongPressMs: return QStringLiteral("ms");
    case InputSettings::UserFactor:
    case InputSettings::LowPassFactor: return QStringLiteral("\u2030");
    default: return {};
    }
}

QString SettingText::range(InputSettings::Setting setting, const InputSettings& settings) {
    switch (setting) {
    case InputSettings::DoublePressMs:
        return QStringLiteral("0 to %1").arg(withUnit(settings.value(InputSettings::LongPressMs) - 1, setting));
    case InputSettings::LongPressMs:
        return QStringLiteral("%1 or more")
            .arg(withUnit(settings.value(InputSettings::DoublePressMs) + 1, setting));
    case InputSettings::UserFactor: return QStringLiteral("%1 or more").arg(withUnit(1, setting));
    case InputSettings::LowPassFactor:
        return QStringLiteral("1 to %1").arg(withUnit(greatestLowPassFactor, setting));
    default:
        return settings.value(setting) != 0 ? QStringLiteral("Input is taken") : QStringLiteral("Input is lost");
    }
}

QString SettingText::refusal(InputSettings::Setting setting, int value, int status,
                             const InputSettings& settings) {
    switch (status) {
    case KX::STATUS_REFUSED: return refusedDuration(setting, value, settings);
    case KX::STATUS_OUT_OF_RANGE:
        return value < 1 ? QStringLiteral("Not below %1").arg(withUnit(1, setting))
                         : QStringLiteral("Not above %1").arg(withUnit(greatestLowPassFactor, setting));
    default: return QStringLiteral("Refused with status %1").arg(status);
    }
}

} // namespace Terminal
