#include "terminal/window/InputOffBanner.h"

#include "terminal/window/Theme.h"

#include <QPainter>

namespace Terminal {

InputOffBanner::InputOffBanner(QWidget* parent) : QAbstractButton(parent) {
    setText(QStringLiteral("INPUT OFF\ttouch here or press F12 to switch it on"));
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void InputOffBanner::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor red = Theme::colourOf(KX::KXGesture::Escape);
    painter.setPen(QPen(isDown() ? Theme::text() : red, 2));
    painter.setBrush(red.darker(isDown() ? 320 : 240));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 8, 8);
    const int middle = height() * 3 / 5;
    painter.setPen(Theme::text());
    painter.setFont(Theme::font(34, true));
    painter.drawText(QRect(0, 6, width(), middle - 6), Qt::AlignCenter, text().section(QLatin1Char('\t'), 0, 0));
    painter.setFont(Theme::font(18));
    painter.drawText(QRect(0, middle - 4, width(), height() - middle), Qt::AlignCenter,
                     text().section(QLatin1Char('\t'), 1));
}

} // namespace Terminal
