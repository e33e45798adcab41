#pragma once

#include "recording/KXSettingTable.h"

#include <QMetaType>
#include <QObject>
#include <QString>

#include <array>
#include <functional>

namespace Terminal {

/// The settings of the classification, and whether input is accepted. Reads and changes them.
///
/// It starts with the library's defaults and stores only what the library accepts.
class InputSettings : public QObject {
    Q_OBJECT

public:
    /// Hands a value to the library.
    /// \return the library's status; \ref KX::STATUS_OK when it accepted the value
    using Apply = std::function<int(KX::KXInputSetting setting, int value)>;

    explicit InputSettings(Apply apply, QObject* parent = nullptr);

    int value(KX::KXInputSetting setting) const;

    /// The values that are possible now: a double press must be shorter than a long press.
    int leastNow(KX::KXInputSetting setting) const;
    int greatestNow(KX::KXInputSetting setting) const;

    /// Applies \p value at once.
    /// \return the library's status; the setting is unchanged unless this is \ref KX::STATUS_OK
    int set(KX::KXInputSetting setting, int value);

    int defaultValue(KX::KXInputSetting setting) const;
    bool isDefault(KX::KXInputSetting setting) const;

    /// Resets the two durations and the two factors to their defaults. Does not change whether input is accepted.
    void restoreDefaults();

signals:
    void changed(KX::KXInputSetting setting, int value);
    void refused(KX::KXInputSetting setting, int value, int status);

private:
    int apply(KX::KXInputSetting setting, int value) const;
    void restoreDefault(KX::KXInputSetting setting);

    Apply applyToLibrary;
    std::array<int, KX::settingTable.size()> values; // by setting
};

/// The texts of the settings on the screen.
namespace SettingText {

QString name(KX::KXInputSetting setting);

/// The value with its unit, as an operator says it: "300 ms", "\u00d7 1.00", "90 %", "off".
QString value(KX::KXInputSetting setting, int value);

/// The values that are possible now: "off to 1999 ms".
QString range(KX::KXInputSetting setting, const InputSettings& settings);

/// Why the library refused \p value with \p status.
QString refusal(KX::KXInputSetting setting, int value, int status, const InputSettings& settings);

} // namespace SettingText

} // namespace Terminal

Q_DECLARE_METATYPE(KX::KXInputSetting)
