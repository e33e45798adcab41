#include "terminal/look/ScreenButton.h"

#include "terminal/look/Theme.h"

#include <QPainter>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int textInset = 11;
constexpr int narrowTextInset = 6;
constexpr int keyGap = 10;
constexpr int keySize = 12;

constexpr int trackHeight = 32;
constexpr int knobMargin = 4;

} // namespace

ScreenButton::ScreenButton(const QString& label, QWidget* parent) : QAbstractButton(parent) {
    setText(label);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ScreenButton::setTextSize(int pixelSize) {
    textSize = pixelSize;
    updateGeometry();
}

void ScreenButton::setKeyBelow(bool below) {
    keyBelow = below;
    updateGeometry();
}

QString ScreenButton::words() const {
    return text().section(QLatin1Char('\t'), 0, 0);
}

QString ScreenButton::keyName() const {
    return text().section(QLatin1Char('\t'), 1);
}

QSize ScreenButton::sizeHint() const {
    const int textWidth = QFontMetrics(Theme::font(textSize, true)).horizontalAdvance(words());
    const int keyWidth = keyName().isEmpty() ? 0 : QFontMetrics(Theme::font(keySize)).horizontalAdvance(keyName());
    if (keyBelow)
        return {std::max(std::max(textWidth, keyWidth) + 2 * narrowTextInset, touchSize), touchSize};
    const int both = keyWidth == 0 ? textWidth : textWidth + keyGap + keyWidth;
    return {std::max(both + 2 * textInset, touchSize), touchSize};
}

void ScreenButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool lit = isDown() || isChecked();
    painter.setPen(QPen(lit ? Theme::accent() : Theme::outline(), 2));
    painter.setBrush(isDown() ? Theme::accent().darker(220) : Theme::panel().lighter(isChecked() ? 160 : 130));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 7, 7);
    paintTexts(painter);
}

void ScreenButton::paintTexts(QPainter& painter) const {
    const QFont textFont = Theme::font(textSize, true);
    const QFont keyFont = Theme::font(keySize);
    QRect textArea = rect().adjusted(textInset, 0, -textInset, 0);
    QRect keyArea = textArea;
    const bool alone = keyName().isEmpty();
    if (keyBelow && !alone) {
        const int textHeight = QFontMetrics(textFont).height();
        const int keyHeight = QFontMetrics(keyFont).height();
        textArea = QRect(0, (height() - textHeight - keyHeight) / 2, width(), textHeight);
        keyArea = QRect(0, textArea.bottom() + 1, width(), keyHeight);
    }
    painter.setPen(Theme::text());
    painter.setFont(textFont);
    const Qt::Alignment ofText = alone || keyBelow ? Qt::AlignHCenter : Qt::AlignLeft;
    painter.drawText(textArea, static_cast<int>(Qt::AlignVCenter | ofText), words());
    painter.setPen(Theme::quietText());
    painter.setFont(keyFont);
    const Qt::Alignment ofKey = keyBelow ? Qt::AlignHCenter : Qt::AlignRight;
    painter.drawText(keyArea, static_cast<int>(Qt::AlignVCenter | ofKey), keyName());
}

SwitchButton::SwitchButton(QWidget* parent) : QAbstractButton(parent) {
    setCheckable(true);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SwitchButton::sizeHint() const {
    return {96, 50};
}

void SwitchButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int top = text().isEmpty() ? (height() - trackHeight) / 2 : 1;
    const QRectF track(1, top, width() - 2, trackHeight);
    const QColor colour =
        isChecked() ? Theme::colourOf(KX::KXGesture::Release) : Theme::colourOf(KX::KXGesture::Escape);
    painter.setPen(QPen(isDown() ? Theme::accent() : Theme::outline(), 2));
    painter.setBrush(colour.darker(isChecked() ? 100 : 160));
    painter.drawRoundedRect(track, trackHeight / 2.0, trackHeight / 2.0);
    paintKnob(painter, track);
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(12));
    painter.drawText(rect(), Qt::AlignHCenter | Qt::AlignBottom, text());
}

// The knob, and beside it the word for its position.
void SwitchButton::paintKnob(QPainter& painter, const QRectF& track) const {
    const double diameter = trackHeight - 2 * knobMargin;
    const double knobLeft = isChecked() ? track.right() - knobMargin - diameter : track.left() + knobMargin;
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::text());
    painter.drawEllipse(QRectF(knobLeft, track.top() + knobMargin, diameter, diameter));

    painter.setPen(Theme::text());
    painter.setFont(Theme::font(14, true));
    const double beside = diameter + knobMargin;
    painter.drawText(isChecked() ? track.adjusted(0, 0, -beside, 0) : track.adjusted(beside, 0, 0, 0),
                     Qt::AlignCenter, isChecked() ? QStringLiteral("ON") : QStringLiteral("OFF"));
}

} // namespace Terminal
