#pragma once

#include "terminal/settings/InputSettings.h"
#include "terminal/settings/SettingRow.h"

namespace Terminal {

class ScreenButton;
class SwitchButton;

/// A number with a button that lowers it and one that raises it. The buttons repeat while they are held.
class NumberRow : public SettingRow {
    Q_OBJECT

public:
    /// \p settings must outlive the row.
    /// \param step  change per press or per step of the knob; values become multiples of it
    NumberRow(InputSettings& settings, InputSettings::Setting setting, int step);

    void setChosen(bool chosen) override;
    void turn(int steps) override;

    ScreenButton& minusButton() const;
    ScreenButton& plusButton() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ScreenButton* addButton(int direction);

    InputSettings& settings;
    InputSettings::Setting setting;
    int step;
    ScreenButton* minus;
    ScreenButton* plus;
};

/// A switch, on or off.
class SwitchRow : public SettingRow {
    Q_OBJECT

public:
    /// \p settings must outlive the row.
    SwitchRow(InputSettings& settings, InputSettings::Setting setting);

    void setChosen(bool chosen) override;
    void activate() override;

    SwitchButton& switchButton() const;

private:
    void showValue();

    InputSettings& settings;
    InputSettings::Setting setting;
    SwitchButton* button;
};

/// A single button.
class ButtonRow : public SettingRow {
    Q_OBJECT

public:
    ButtonRow(const QString& name, const QString& buttonText);

    void setChosen(bool chosen) override;
    void activate() override;

    ScreenButton& pressButton() const;

signals:
    void pressed();

private:
    QString text;
    ScreenButton* button;
};

} // namespace Terminal
