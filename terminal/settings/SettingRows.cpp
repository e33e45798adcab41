#include "terminal/settings/SettingRows.h"

#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int inset = 6; // these lengths are scaled
constexpr int textLeft = 12;
constexpr int valueWidth = 116;
constexpr int rowHeight = 84;
constexpr int leastRowHeight = 60;
constexpr int greatestRowHeight = 200; // more would only be empty
constexpr int greatestShown = 999999;  // the widest that fits
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
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMaximumHeight(greatestRowHeight);
    controlLayout->setSpacing(2);
    controlLayout->addStretch(1);
    arrange();
}

void SettingRow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        arrange();
}

void SettingRow::arrange() {
    const int margin = Sizes::of(*this).scaled(inset);
    controlLayout->setContentsMargins(margin, 0, margin, 0);
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

void SettingRow::showDefault(const QString& text) {
    defaultValue = text;
    update();
}

QString SettingRow::defaultText() const {
    return defaultValue;
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
    const Sizes sizes = Sizes::of(*this);
    return {sizes.scaled(300), sizes.scaled(rowHeight)};
}

QSize SettingRow::minimumSizeHint() const {
    const Sizes sizes = Sizes::of(*this);
    return {sizes.scaled(300), sizes.scaled(leastRowHeight)};
}

void SettingRow::mousePressEvent(QMouseEvent* /*event*/) {
    emit touched();
}

void SettingRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Sizes sizes = Sizes::of(*this);
    painter.setPen(QPen(chosenByKeys ? Theme::accent() : Theme::outline(), chosenByKeys ? 2 : 1));
    painter.setBrush(chosenByKeys ? Theme::face() : Theme::panel());
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 7, 7);
    if (!defaultValue.isEmpty())
        painter.fillRect(QRectF(3, height() * 0.2, 4, height() * 0.6), Theme::accent());

    // The name and the lines below it are centred vertically.
    const QFont nameFont = Theme::font(sizes.text(), true);
    const QFont infoFont = Theme::font(sizes.text());
    const int left = sizes.scaled(textLeft);
    QRect words(left, 0, controlLayout->itemAt(0)->geometry().right() - left, height());
    const QString below = infoIsRefusal || defaultValue.isEmpty() ? info : defaultValue;
    const int nameHeight = QFontMetrics(nameFont).boundingRect(words, Qt::TextWordWrap, title).height();
    const int infoHeight = QFontMetrics(infoFont).boundingRect(words, Qt::TextWordWrap, below).height();
    words.setTop(std::max(0, (height() - nameHeight - infoHeight) / 2));
    words.setTop(words.top() + drawLine(painter, words, nameFont, Theme::text(), title));
    const QColor quiet = defaultValue.isEmpty() ? Theme::quietText() : Theme::accent();
    drawLine(painter, words, infoFont, infoIsRefusal ? Theme::warning() : quiet, below);
}

// Returns the height of the line.
int SettingRow::drawLine(QPainter& painter, const QRect& area, const QFont& font, const QColor& colour,
                         const QString& text) const {
    painter.setPen(colour);
    painter.setFont(font);
    QRect used;
    painter.drawText(area, Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, text, &used);
    return used.height();
}

NumberRow::NumberRow(InputSettings& inputSettings, KX::KXInputSetting which)
    : SettingRow(SettingText::name(which)), settings(inputSettings), setting(which) {
    minus = addButton(-1);
    controls().addItem(valueRoom = new QSpacerItem(0, 0));
    plus = addButton(1);
    NumberRow::setChosen(false);
    arrangeValue();
    showValue();
    connect(&settings, &InputSettings::changed, this, &NumberRow::showValue);
    connect(&settings, &InputSettings::refused, this, [this](KX::KXInputSetting refused, int value, int status) {
        if (refused == setting)
            showRefusal(SettingText::refusal(setting, value, status, settings));
    });
}

void NumberRow::changeEvent(QEvent* event) {
    SettingRow::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        arrangeValue();
}

void NumberRow::arrangeValue() {
    valueRoom->changeSize(Sizes::of(*this).scaled(valueWidth), 0);
    controls().invalidate();
}

void NumberRow::showValue() {
    showInfo(SettingText::range(setting, settings));
    showDefault(settings.isDefault(setting)
                    ? QString()
                    : QStringLiteral("default ") + SettingText::value(setting, settings.defaultValue(setting)));
}

ScreenButton* NumberRow::addButton(int direction) {
    auto* button = new ScreenButton(QString());
    button->setSymbol(true);
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
    const Sizes sizes = Sizes::of(*this);
    const QString text = SettingText::value(setting, settings.value(setting));
    const int left = minus->geometry().right() + 1;
    const QRect room(left, 0, plus->x() - left, height());
    painter.setPen(Theme::text());
    painter.setFont(Theme::fittedFont(text, room.width() - 6, sizes.value(), sizes.text()));
    painter.drawText(room, Qt::AlignCenter, text);
}

SwitchRow::SwitchRow(InputSettings& inputSettings, KX::KXInputSetting which)
    : SettingRow(SettingText::name(which)), settings(inputSettings), setting(which), button(new SwitchButton) {
    controls().addWidget(button);
    showValue();
    connect(button, &QAbstractButton::pressed, this, &SettingRow::touched);
    connect(button, &QAbstractButton::clicked, this, &SwitchRow::activate);
    connect(&settings, &InputSettings::changed, this, &SwitchRow::showValue);
}

void SwitchRow::showValue() {
    button->setChecked(settings.value(setting) != 0);
    showInfo(SettingText::range(setting, settings));
    showDefault(settings.isDefault(setting) ? QString() : SettingText::range(setting, settings));
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
