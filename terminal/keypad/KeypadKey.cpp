#include "terminal/keypad/KeypadKey.h"

#include "terminal/window/Theme.h"

#include <QPainter>

namespace Terminal {

KeypadKey::KeypadKey(int keyNumber, const QString& label, QWidget* parent)
    : QAbstractButton(parent), number(keyNumber) {
    setText(label);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

QSize KeypadKey::sizeHint() const {
    return {62, 58};
}

QSize KeypadKey::minimumSizeHint() const {
    return {56, 50};
}

void KeypadKey::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient face(0, 0, 0, height());
    face.setColorAt(0, isDown() ? Theme::accent().darker(220) : Theme::panel().lighter(190));
    face.setColorAt(1, isDown() ? Theme::accent().darker(160) : Theme::panel().lighter(130));
    painter.setPen(QPen(isDown() ? Theme::accent() : Theme::outline(), 2));
    painter.setBrush(face);
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 10, 10);

    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(10, true));
    painter.drawText(rect().adjusted(8, 5, -8, -5), Qt::AlignTop | Qt::AlignLeft, QString::number(number));
    painter.setPen(Theme::text());
    painter.setFont(Theme::font(text().size() > 5 ? 12 : 14, true));
    painter.drawText(rect().adjusted(2, 8, -2, 0), Qt::AlignCenter, text());
}

} // namespace Terminal
