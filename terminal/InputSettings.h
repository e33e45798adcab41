#pragma once

#include <QObject>

#include <array>
#include <functional>

namespace Terminal {

/// How input is classified, and whether it is taken at all: the settings as they are, and the way to change them.
///
/// It begins with what the library begins with, and changes only what the library accepts.
class InputSettings : public QObject {
    Q_OBJECT

public:
    enum Setting {
        DoublePressMs,
        LongPressMs,
        UserFactor,    ///< in thousandths
        LowPassFactor, ///< in thousandths
        AcceptInput,   ///< 0 or 1
        SettingCount
    };
    Q_ENUM(Setting)

    /// Hands a value to the library. \return the library's status: \ref KX::STATUS_OK when it was taken
    using Apply = std::function<int(Setting setting, int value)>;

    explicit InputSettings(Apply apply, QObject* parent = nullptr);

    int value(Setting setting) const;

    /// Applies \p value at once.
    /// \return the library's status; nothing has changed unless it is \ref KX::STATUS_OK
    int set(Setting setting, int value);

    /// Sets the two durations and the two factors back to what they were at the start. Whether input is taken is
    /// left as it is.
    void restoreDefaults();

    static int defaultValue(Setting setting);

signals:
    void changed(InputSettings::Setting setting, int value);
    void refused(InputSettings::Setting setting, int value, int status);

private:
    int apply(Setting setting, int value) const;

    Apply applyToLibrary;
    std::array<int, SettingCount> values;
};

} // namespace Terminal
