#pragma once

#include "terminal/InputSettings.h"

#include <QString>

/// How the settings are worded on the screen.
namespace Terminal::SettingText {

QString name(InputSettings::Setting setting);

/// Empty where there is none.
QString unit(InputSettings::Setting setting);

/// What values can be set now: "0 to 1999 ms".
QString range(InputSettings::Setting setting, const InputSettings& settings);

/// Why \p value was refused with \p status.
QString refusal(InputSettings::Setting setting, int value, int status, const InputSettings& settings);

} // namespace Terminal::SettingText
