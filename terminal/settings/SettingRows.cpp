#include "terminal/settings/SettingRows.h"

#include "terminal/look/ScreenButton.h"
#include "terminal/look/Theme.h"

#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int inset = 8;
constexpr int textLeft = 14;
constexpr int valueWidth = 104;
constexpr int greatestShown = 999999; // the widest that fits
constexpr int repeatDelayMs = 500;
constexpr int repeatIntervalMs = 60;

// Moves value by so many steps, to multiples of step. From between two multiples the first step goes to the next one.
int steppedValue(int value, int step, int steps) {
    const int below = value / step;
    const int above = (value + step - 1) / step;
    const qint64 multiple = qint64(steps > 0 ? below : above) + steps;
    return static_cast<int>(std::clamp<qint64>(multiple * step, -greatestShown, greatestShown));
}

} // namespace

SettingRow::SettingRow(const QString& name, QWidget* parent)
    : QWidget(parent), title(name), controlLayout(new QHBoxLayout(this)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    controlLayout->setContentsMargins(inset, 0, inset, 0);
    controlLayout->setSpacing(2);
    controlLayout->addStretch(1);
}

QHBoxLayout& SettingRow::controls() const {
    return *controlLayout;
}

void SettingRow::showInfo(const QString& text) {
    info = text;
    infoIsRefusal = false;
    update();
}

void SettingRow::showRefusal(const QString& text) {
    info = text;
    infoIsRefusal = true;
    update();
}

QString SettingRow::infoText() const {
    return info;
}

bool SettingRow::saysRefusal() const {
    return infoIsRefusal;
}

void SettingRow::setChosen(bool chosen) {
    chosenByKeys = chosen;
    update();
}

bool SettingRow::isChosen() const {
    return chosenByKeys;
}

void SettingRow::turn(int /*steps*/) {}

void SettingRow::activate() {}

QSize SettingRow::sizeHint() const {
    return {480, 76};
}

QSize SettingRow::minimumSizeHint() const {
    return {360, 58};
}

void SettingRow::mousePressEvent(QMouseEvent* /*event*/) {
    emit touched();
}

void SettingRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(chosenByKeys ? Theme::accent() : Theme::outline(), chosenByKeys ? 2 : 1));
    painter.setBrush(chosenByKeys ? Theme::panel().lighter(125) : Theme::panel());
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 7, 7);

    // The name and up to two lines below it are centred vertically.
    const QFont nameFont = Theme::font(14, true);
    const QFont infoFont = Theme::font(12);
    const int right = controlLayout->itemAt(0)->geometry().right();
    QRect words(textLeft, 0, right - textLeft, height());
    const QRect infoArea = QFontMetrics(infoFont).boundingRect(words, Qt::TextWordWrap, info);
    const int nameHeight = QFontMetrics(nameFont).height();
    words.setTop((height() - nameHeight - infoArea.height()) / 2);
    painter.setPen(Theme::text());
    painter.setFont(nameFont);
    painter.drawText(words, Qt::AlignLeft | Qt::AlignTop, title);
    painter.setPen(infoIsRefusal ? Theme::colourOf(KX::KXGesture::LongPress) : Theme::quietText());
    painter.setFont(infoFont);
    painter.drawText(words.adjusted(0, nameHeight, 0, 0), Qt::TextWordWrap, info);
}

NumberRow::NumberRow(InputSettings& inputSettings, KX::KXInputSetting which)
    : SettingRow(SettingText::name(which)), settings(inputSettings), setting(which) {
    minus = addButton(-1);
    controls().addSpacing(valueWidth);
    plus = addButton(1);
    NumberRow::setChosen(false);
    showInfo(SettingText::range(setting, settings));
    connect(
        &settings, &InputSettings::changed, this, [this] { showInfo(SettingText::range(setting, settings)); });
    connect(&settings, &InputSettings::refused, this, [this](KX::KXInputSetting refused, int value, int status) {
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
    settings.set(setting,
                 steppedValue(settings.value(setting), static_cast<int>(KX::settingRow(setting).step), steps));
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

SwitchRow::SwitchRow(InputSettings& inputSettings, KX::KXInputSetting which)
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
