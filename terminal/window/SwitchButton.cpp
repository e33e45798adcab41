#include "terminal/window/SwitchButton.h"

#include "terminal/window/Theme.h"

#include <QPainter>

namespace Terminal {

namespace {

constexpr int trackHeight = 32;
constexpr int knobMargin = 4;

} // namespace

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
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(12));
    painter.drawText(rect(), Qt::AlignHCenter | Qt::AlignBottom, text());
}

} // namespace Terminal
