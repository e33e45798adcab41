#include "terminal/settings/InputSettings.h"

#include "platform/KXStatus.h"

#include <utility>

namespace Terminal {

namespace {

constexpr std::array<int, InputSettings::SettingCount> defaults = {300, 2000, 1000, 900, 1};

bool isDuration(InputSettings::Setting setting) {
    return setting == InputSettings::DoublePressMs || setting == InputSettings::LongPressMs;
}

} // namespace

InputSettings::InputSettings(Apply applyFunction, QObject* parent)
    : QObject(parent), applyToLibrary(std::move(applyFunction)), values(defaults) {}

int InputSettings::value(Setting setting) const {
    return values.at(setting);
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
    if (value(DoublePressMs) < defaultValue(LongPressMs)) {
        set(LongPressMs, defaultValue(LongPressMs));
        set(DoublePressMs, defaultValue(DoublePressMs));
    } else {
        set(DoublePressMs, defaultValue(DoublePressMs));
        set(LongPressMs, defaultValue(LongPressMs));
    }
    set(UserFactor, defaultValue(UserFactor));
    set(LowPassFactor, defaultValue(LowPassFactor));
}

int InputSettings::defaultValue(Setting setting) {
    return defaults.at(setting);
}

} // namespace Terminal
