#include "terminal/ScreenButton.h"

#include "terminal/Theme.h"

#include <QPainter>

ScreenButton::ScreenButton(const QString& label, QWidget* parent) : QAbstractButton(parent) {
    setText(label);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ScreenButton::sizeHint() const {
    return {146, 44};
}

void ScreenButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool lit = isDown() || isChecked();
    painter.setPen(QPen(lit ? Theme::accent() : Theme::outline(), 2));
    painter.setBrush(isDown() ? Theme::accent().darker(220) : Theme::panel().lighter(isChecked() ? 160 : 130));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 7, 7);
    const QStringList words = text().split(QLatin1Char('\t'));
    const QRect inside = rect().adjusted(10, 0, -10, 0);
    painter.setPen(Theme::text());
    painter.setFont(Theme::font(14, true));
    painter.drawText(inside, Qt::AlignVCenter | (words.size() > 1 ? Qt::AlignLeft : Qt::AlignHCenter), words[0]);
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(11));
    if (words.size() > 1)
        painter.drawText(inside, Qt::AlignVCenter | Qt::AlignRight, words[1]);
}
