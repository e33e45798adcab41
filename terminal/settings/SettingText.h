#pragma once

#include "terminal/settings/InputSettings.h"

#include <QString>

/// The texts of the settings on the screen.
namespace Terminal::SettingText {

QString name(InputSettings::Setting setting);

/// Empty for a setting without a unit.
QString unit(InputSettings::Setting setting);

/// The values that are possible now: "0 to 1999 ms".
QString range(InputSettings::Setting setting, const InputSettings& settings);

/// Why the library refused \p value with \p status.
QString refusal(InputSettings::Setting setting, int value, int status, const InputSettings& settings);

} // namespace Terminal::SettingText
