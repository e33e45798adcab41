#include "tools/kxreplay/plot/Marks.h"

#include "tools/kxreplay/plot/Theme.h"

#include <QPainter>
#include <QPolygonF>

#include <array>
#include <utility>

namespace Replay::Marks {

namespace {

using KX::KXGesture;

constexpr std::array<std::pair<KXGesture, const char*>, 4> named = {{{KXGesture::Press, "press"},
                                                                     {KXGesture::DoublePress, "double press"},
                                                                     {KXGesture::LongPress, "long press"},
                                                                     {KXGesture::Release, "release"}}};

QPolygonF diamond(QPointF center) {
    constexpr double reach = radius * 1.3;
    return QPolygonF({center + QPointF(0, -reach), center + QPointF(reach, 0), center + QPointF(0, reach),
                      center + QPointF(-reach, 0)});
}

void drawFilled(QPainter& painter, const QColor& color) {
    painter.setPen(QPen(Qt::white, 1));
    painter.setBrush(color);
}

} // namespace

void draw(QPainter& painter, QPointF place, KXGesture gesture, double scale) {
    const QPointF side(radius * 0.8, 0);
    painter.save();
    painter.translate(place);
    painter.scale(scale, scale);
    const QPointF center;
    switch (gesture) {
    case KXGesture::Press:
        drawFilled(painter, Theme::press);
        painter.drawEllipse(center, radius, radius);
        break;
    case KXGesture::DoublePress:
        drawFilled(painter, Theme::doublePress);
        painter.drawEllipse(center + side, radius, radius);
        painter.drawEllipse(center - side, radius, radius);
        break;
    case KXGesture::LongPress:
        drawFilled(painter, Theme::longPress);
        painter.drawPolygon(diamond(center));
        break;
    case KXGesture::Release:
        painter.setPen(QPen(Theme::release, 2));
        painter.setBrush(Qt::white);
        painter.drawEllipse(center, radius - 1, radius - 1);
        break;
    default:
        painter.setPen(QPen(Theme::release, 2));
        painter.drawLine(center - QPointF(radius, radius) * 0.8, center + QPointF(radius, radius) * 0.8);
        painter.drawLine(center - QPointF(radius, -radius) * 0.8, center + QPointF(radius, -radius) * 0.8);
    }
    painter.restore();
}

void drawLegend(QPainter& painter, QPointF place, bool hasEncoder) {
    constexpr double fromMark = 14;
    constexpr double toNext = 26;
    const QFontMetricsF metrics(painter.font());
    const double baseline = place.y() + metrics.ascent() / 2 - 1;
    painter.setPen(Theme::text);
    for (const auto& [gesture, name] : named) {
        draw(painter, place, gesture);
        painter.drawText(QPointF(place.x() + fromMark, baseline), name);
        place.rx() += fromMark + metrics.horizontalAdvance(name) + toNext;
    }
    if (!hasEncoder)
        return;
    painter.save();
    painter.setPen(QPen(Theme::encoder, 3));
    painter.drawLine(place - QPointF(0, radius), place + QPointF(0, radius));
    painter.restore();
    painter.drawText(QPointF(place.x() + fromMark, baseline), "move of the encoder, with its value");
}

} // namespace Replay::Marks
