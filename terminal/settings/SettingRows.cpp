#include "terminal/settings/SettingRows.h"

#include "terminal/settings/SettingText.h"
#include "terminal/window/ScreenButton.h"
#include "terminal/window/Theme.h"

#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int valueWidth = 104;
constexpr int greatestShown = 999999; // the widest that fits
constexpr int repeatDelayMs = 500;
constexpr int repeatIntervalMs = 60;

// The value \p steps multiples of \p step further.
int steppedValue(int value, int step, int steps) {
    const int below = value / step;
    const int above = (value + step - 1) / step;
    const qint64 multiple = qint64(steps > 0 ? below : above) + steps;
    return static_cast<int>(std::clamp<qint64>(multiple * step, -greatestShown, greatestShown));
}

} // namespace

NumberRow::NumberRow(InputSettings& inputSettings, InputSettings::Setting which, int stepWidth)
    : SettingRow(SettingText::name(which)), settings(inputSettings), setting(which), step(stepWidth) {
    minus = addButton(-1);
    controls().addSpacing(valueWidth);
    plus = addButton(1);
    NumberRow::setChosen(false);
    showInfo(SettingText::range(setting, settings));
    connect(
        &settings, &InputSettings::changed, this, [this] { showInfo(SettingText::range(setting, settings)); });
    connect(&settings, &InputSettings::refused, this,
            [this](InputSettings::Setting refused, int value, int status) {
                if (refused == setting)
                    showRefusal(SettingText::refusal(setting, value, status, settings));
            });
}

ScreenButton* NumberRow::addButton(int direction) {
    auto* button = new ScreenButton(QString());
    button->setFixedSize(54, controlHeight);
    button->setTextSize(22);
    button->setKeyBelow(true);
    button->setAutoRepeat(true);
    button->setAutoRepeatDelay(repeatDelayMs);
    button->setAutoRepeatInterval(repeatIntervalMs);
    controls().addWidget(button);
    connect(button, &QAbstractButton::pressed, this, &SettingRow::touched);
    connect(button, &QAbstractButton::clicked, this, [this, direction] { turn(direction); });
    return button;
}

void NumberRow::setChosen(bool chosen) {
    minus->setText(chosen ? QStringLiteral("\u2212\tDown") : QStringLiteral("\u2212"));
    plus->setText(chosen ? QStringLiteral("+\tUp") : QStringLiteral("+"));
    SettingRow::setChosen(chosen);
}

void NumberRow::turn(int steps) {
    settings.set(setting, steppedValue(settings.value(setting), step, steps));
}

ScreenButton& NumberRow::minusButton() const {
    return *minus;
}

ScreenButton& NumberRow::plusButton() const {
    return *plus;
}

void NumberRow::paintEvent(QPaintEvent* event) {
    SettingRow::paintEvent(event);
    QPainter painter(this);
    const QString number = QString::number(settings.value(setting));
    const QString unit = QLatin1Char(' ') + SettingText::unit(setting);
    const QFont numberFont = Theme::font(21, true);
    const QFont unitFont = Theme::font(13);
    const int numberWidth = QFontMetrics(numberFont).horizontalAdvance(number);
    const int unitWidth = QFontMetrics(unitFont).horizontalAdvance(unit);
    const int left = minus->geometry().right();
    const int start = left + (plus->x() - left - numberWidth - unitWidth) / 2;
    const int baseLine = (height() + QFontMetrics(numberFont).capHeight()) / 2;
    painter.setPen(Theme::text());
    painter.setFont(numberFont);
    painter.drawText(start, baseLine, number);
    painter.setPen(Theme::quietText());
    painter.setFont(unitFont);
    painter.drawText(start + numberWidth, baseLine, unit);
}

SwitchRow::SwitchRow(InputSettings& inputSettings, InputSettings::Setting which)
    : SettingRow(SettingText::name(which)), settings(inputSettings), setting(which), button(new SwitchButton) {
    button->setFixedHeight(controlHeight);
    controls().addWidget(button);
    showValue();
    connect(button, &QAbstractButton::pressed, this, &SettingRow::touched);
    connect(button, &QAbstractButton::clicked, this, &SwitchRow::activate);
    connect(&settings, &InputSettings::changed, this, &SwitchRow::showValue);
}

void SwitchRow::showValue() {
    button->setChecked(settings.value(setting) != 0);
    showInfo(SettingText::range(setting, settings));
}

void SwitchRow::setChosen(bool chosen) {
    button->setText(chosen ? QStringLiteral("Return") : QString());
    SettingRow::setChosen(chosen);
}

void SwitchRow::activate() {
    settings.set(setting, settings.value(setting) != 0 ? 0 : 1);
    showValue(); // a refusal leaves the switch as it was
}

SwitchButton& SwitchRow::switchButton() const {
    return *button;
}

ButtonRow::ButtonRow(const QString& name, const QString& buttonText)
    : SettingRow(name), text(buttonText), button(new ScreenButton(buttonText)) {
    button->setKeyBelow(true);
    button->setFixedSize(118, controlHeight);
    controls().addWidget(button);
    connect(button, &QAbstractButton::pressed, this, &SettingRow::touched);
    connect(button, &QAbstractButton::clicked, this, &ButtonRow::pressed);
}

void ButtonRow::setChosen(bool chosen) {
    button->setText(chosen ? text + QStringLiteral("\tReturn") : text);
    SettingRow::setChosen(chosen);
}

void ButtonRow::activate() {
    emit pressed();
}

ScreenButton& ButtonRow::pressButton() const {
    return *button;
}

} // namespace Terminal
