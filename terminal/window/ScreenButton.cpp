#include "terminal/window/ScreenButton.h"

#include "terminal/window/Theme.h"

#include <QPainter>

#include <algorithm>

namespace Terminal {

namespace {

constexpr int inset = 11;
constexpr int narrowInset = 6;
constexpr int gap = 10;
constexpr int keySize = 12;

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
        return {std::max(std::max(textWidth, keyWidth) + 2 * narrowInset, touchSize), touchSize};
    const int both = keyWidth == 0 ? textWidth : textWidth + gap + keyWidth;
    return {std::max(both + 2 * inset, touchSize), touchSize};
}

void ScreenButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool lit = isDown() || isChecked();
    painter.setPen(QPen(lit ? Theme::accent() : Theme::outline(), 2));
    painter.setBrush(isDown() ? Theme::accent().darker(220) : Theme::panel().lighter(isChecked() ? 160 : 130));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 7, 7);

    const QFont textFont = Theme::font(textSize, true);
    const QFont keyFont = Theme::font(keySize);
    QRect textArea = rect().adjusted(inset, 0, -inset, 0);
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
    painter.drawText(textArea, Qt::AlignVCenter | (alone || keyBelow ? Qt::AlignHCenter : Qt::AlignLeft), words());
    painter.setPen(Theme::quietText());
    painter.setFont(keyFont);
    painter.drawText(keyArea, Qt::AlignVCenter | (keyBelow ? Qt::AlignHCenter : Qt::AlignRight), keyName());
}

} // namespace Terminal
