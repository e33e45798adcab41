#include "terminal/look/ScreenButton.h"

#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"

#include <QPainter>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int textInset = 8;
constexpr int narrowTextInset = 5;
constexpr int keyGap = 8;

constexpr int trackHeight = 34;
constexpr int switchWidth = 96;
constexpr int knobMargin = 4;

} // namespace

void paintFace(QPainter& painter, const QAbstractButton& button, double corner) {
    painter.setRenderHint(QPainter::Antialiasing);
    const bool lit = button.isDown() || button.isChecked();
    painter.setPen(QPen(lit ? Theme::accent() : Theme::edge(), lit ? 2.5 : 1.5));
    if (button.isDown())
        painter.setBrush(Theme::pressedFace());
    else
        painter.setBrush(button.isChecked() ? Theme::litFace() : Theme::face());
    painter.drawRoundedRect(QRectF(button.rect()).adjusted(1.5, 1.5, -1.5, -1.5), corner, corner);
}

QColor labelColour(const QAbstractButton& button) {
    return button.isDown() ? Theme::text() : Theme::quietText();
}

ScreenButton::ScreenButton(const QString& label, QWidget* parent) : QAbstractButton(parent) {
    setText(label);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ScreenButton::setSymbol(bool symbol) {
    isSymbol = symbol;
    updateGeometry();
}

void ScreenButton::setKeyBelow(bool below) {
    keyBelow = below;
    updateGeometry();
}

void ScreenButton::setKeyWorks(bool works) {
    keyWorks = works;
    update();
}

QString ScreenButton::words() const {
    return text().section(QLatin1Char('\t'), 0, 0);
}

QString ScreenButton::keyName() const {
    return text().section(QLatin1Char('\t'), 1);
}

QFont ScreenButton::wordsFont() const {
    const Sizes sizes = Sizes::of(*this);
    return Theme::font(isSymbol ? sizes.value() : sizes.text(), true);
}

QFont ScreenButton::keyFont() const {
    return Theme::font(Sizes::of(*this).text());
}

QSize ScreenButton::sizeHint() const {
    const Sizes sizes = Sizes::of(*this);
    const QFontMetrics ofWords(wordsFont());
    const QFontMetrics ofKey(keyFont());
    const int textWidth = ofWords.horizontalAdvance(words());
    const int keyWidth = keyName().isEmpty() ? 0 : ofKey.horizontalAdvance(keyName());
    const int least = sizes.touch();
    if (keyBelow)
        return {std::max(std::max(textWidth, keyWidth) + 2 * sizes.scaled(narrowTextInset), least),
                std::max(least, ofWords.height() + (keyWidth > 0 ? ofKey.height() : 0))};
    const int both = keyWidth == 0 ? textWidth : textWidth + sizes.scaled(keyGap) + keyWidth;
    return {std::max(both + 2 * sizes.scaled(textInset), least), least};
}

QSize ScreenButton::minimumSizeHint() const {
    return sizeHint();
}

void ScreenButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    paintFace(painter, *this, Sizes::of(*this).scaled(7));
    paintTexts(painter);
}

void ScreenButton::paintTexts(QPainter& painter) const {
    const int inset = Sizes::of(*this).scaled(textInset);
    QRect textArea = rect().adjusted(inset, 0, -inset, 0);
    QRect keyArea = textArea;
    const bool alone = keyName().isEmpty() || !keyWorks;
    if (keyBelow && !alone) {
        const int textHeight = QFontMetrics(wordsFont()).height();
        const int keyHeight = QFontMetrics(keyFont()).height();
        textArea = QRect(0, (height() - textHeight - keyHeight) / 2, width(), textHeight);
        keyArea = QRect(0, textArea.bottom() + 1, width(), keyHeight);
    } else if (alone) {
        textArea = rect();
    }
    painter.setPen(Theme::text());
    painter.setFont(wordsFont());
    const Qt::Alignment ofText = alone || keyBelow ? Qt::AlignHCenter : Qt::AlignLeft;
    painter.drawText(textArea, static_cast<int>(Qt::AlignVCenter | ofText), words());
    if (alone)
        return;
    painter.setPen(labelColour(*this));
    painter.setFont(keyFont());
    const Qt::Alignment ofKey = keyBelow ? Qt::AlignHCenter : Qt::AlignRight;
    painter.drawText(keyArea, static_cast<int>(Qt::AlignVCenter | ofKey), keyName());
}

SwitchButton::SwitchButton(QWidget* parent) : QAbstractButton(parent) {
    setCheckable(true);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SwitchButton::sizeHint() const {
    const Sizes sizes = Sizes::of(*this);
    const int label = QFontMetrics(Theme::font(sizes.text())).height();
    return {sizes.scaled(switchWidth), std::max(sizes.touch(), sizes.scaled(trackHeight) + label)};
}

void SwitchButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int track = Sizes::of(*this).scaled(trackHeight);
    const int top = text().isEmpty() ? (height() - track) / 2 : 1;
    const QRectF area(1, top, width() - 2, track - 2);
    painter.setPen(QPen(isDown() ? Theme::accent() : Theme::edge(), 2));
    painter.setBrush(isChecked() ? Theme::onFace() : Theme::offFace());
    painter.drawRoundedRect(area, area.height() / 2, area.height() / 2);
    paintKnob(painter, area);
    if (text().isEmpty())
        return;
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(Sizes::of(*this).text()));
    painter.drawText(rect(), Qt::AlignHCenter | Qt::AlignBottom, text());
}

// The knob, and beside it the word for its position.
void SwitchButton::paintKnob(QPainter& painter, const QRectF& track) const {
    const double diameter = track.height() - 2 * knobMargin;
    const double knobLeft = isChecked() ? track.right() - knobMargin - diameter : track.left() + knobMargin;
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::text());
    painter.drawEllipse(QRectF(knobLeft, track.top() + knobMargin, diameter, diameter));

    painter.setPen(Theme::text());
    painter.setFont(Theme::font(Sizes::of(*this).heading(), true));
    const double beside = diameter + knobMargin;
    painter.drawText(isChecked() ? track.adjusted(0, 0, -beside, 0) : track.adjusted(beside, 0, 0, 0),
                     Qt::AlignCenter, isChecked() ? QStringLiteral("ON") : QStringLiteral("OFF"));
}

} // namespace Terminal
