#pragma once

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
    /// The index of the setting in \ref settingTable.
    enum Setting {
        DoublePressMs,
        LongPressMs,
        UserFactor,    ///< in thousandths
        LowPassFactor, ///< in thousandths
        AcceptInput,   ///< 0 or 1
        SettingCount
    };
    Q_ENUM(Setting)

    /// Hands a value to the library.
    /// \return the library's status; \ref KX::STATUS_OK when it accepted the value
    using Apply = std::function<int(Setting setting, int value)>;

    explicit InputSettings(Apply apply, QObject* parent = nullptr);

    int value(Setting setting) const;

    /// The values that are possible now: a double press must be shorter than a long press.
    int leastNow(Setting setting) const;
    int greatestNow(Setting setting) const;

    /// Applies \p value at once.
    /// \return the library's status; the setting is unchanged unless this is \ref KX::STATUS_OK
    int set(Setting setting, int value);

    /// Resets the two durations and the two factors to their defaults. Does not change whether input is accepted.
    void restoreDefaults();

signals:
    void changed(InputSettings::Setting setting, int value);
    void refused(InputSettings::Setting setting, int value, int status);

private:
    int apply(Setting setting, int value) const;
    void restoreDefault(Setting setting);

    Apply applyToLibrary;
    std::array<int, SettingCount> values;
};

/// The texts of the settings on the screen.
namespace SettingText {

QString name(InputSettings::Setting setting);

/// Empty for a setting without a unit.
QString unit(InputSettings::Setting setting);

/// The values that are possible now: "0 to 1999 ms".
QString range(InputSettings::Setting setting, const InputSettings& settings);

/// Why the library refused \p value with \p status.
QString refusal(InputSettings::Setting setting, int value, int status, const InputSettings& settings);

} // namespace SettingText

} // namespace Terminal
