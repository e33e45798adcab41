#pragma once

#include "terminal/settings/InputSettings.h"

#include <QWidget>

class QHBoxLayout;
class QSpacerItem;

namespace Terminal {

class ScreenButton;
class SwitchButton;

/// A row of the settings: a name, a line of information below it, and controls at the right.
class SettingRow : public QWidget {
    Q_OBJECT

public:
    explicit SettingRow(const QString& name, QWidget* parent = nullptr);

    /// Shows information below the name.
    void showInfo(const QString& text);

    /// Shows below the name why a value was refused, until the next information.
    void showRefusal(const QString& text);
    QString infoText() const;

    /// Says below the name that the value is not the default, which is \p text; empty: it is the default.
    void showDefault(const QString& text);
    QString defaultText() const;
    bool saysRefusal() const;

    /// Whether the keys change this row. A chosen row is highlighted, and its controls show the names of the keys.
    virtual void setChosen(bool chosen);
    bool isChosen() const;

    /// Turns the knob; positive is to the right.
    virtual void turn(int steps);

    /// Handles the key Return.
    virtual void activate();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    /// The operator has touched the row.
    void touched();

protected:
    QHBoxLayout& controls() const;

    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void arrange();
    int drawLine(QPainter& painter, const QRect& area, const QFont& font, const QColor& colour,
                 const QString& text) const;

    QString title;
    QString info;
    QString defaultValue;
    bool infoIsRefusal = false;
    bool chosenByKeys = false;
    QHBoxLayout* controlLayout;
};

/// A number with a button that lowers it and one that raises it. The buttons repeat while they are held.
class NumberRow : public SettingRow {
    Q_OBJECT

public:
    /// \p settings must outlive the row.
    NumberRow(InputSettings& settings, KX::KXInputSetting setting);

    void setChosen(bool chosen) override;
    void turn(int steps) override;

    ScreenButton& minusButton() const;
    ScreenButton& plusButton() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void arrangeValue();
    ScreenButton* addButton(int direction);
    void showValue();

    InputSettings& settings;
    KX::KXInputSetting setting;
    ScreenButton* minus;
    ScreenButton* plus;
    QSpacerItem* valueRoom;
};

/// A switch, on or off.
class SwitchRow : public SettingRow {
    Q_OBJECT

public:
    /// \p settings must outlive the row.
    SwitchRow(InputSettings& settings, KX::KXInputSetting setting);

    void setChosen(bool chosen) override;
    void activate() override;

    SwitchButton& switchButton() const;

private:
    void showValue();

    InputSettings& settings;
    KX::KXInputSetting setting;
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
