#include "terminal/encoder/EncoderTrailItem.h"

#include "terminal/window/PlotLook.h"
#include "terminal/window/Theme.h"

#include <QPainter>

#include <qwt_scale_map.h>

#include <utility>

namespace Terminal {

namespace {

// A speed table falls from the upper left, so the upper right is free.
QRectF aboveCurve(const QRectF& canvas) {
    return {canvas.center().x(), canvas.top(), canvas.width() / 2, canvas.height() / 2};
}

} // namespace

EncoderTrailItem::EncoderTrailItem() {
    setRenderHint(QwtPlotItem::RenderAntialiased);
    setZ(30); // before the curve
}

void EncoderTrailItem::setPoints(std::vector<QPointF> trail) {
    trailPoints = std::move(trail);
}

const std::vector<QPointF>& EncoderTrailItem::points() const {
    return trailPoints;
}

void EncoderTrailItem::draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                            const QRectF& canvas) const {
    if (trailPoints.empty())
        return PlotLook::drawHint(*painter, aboveCurve(canvas), QStringLiteral("Not turned yet"));
    const auto place = [&](const QPointF& point) { return QwtScaleMap::transform(xMap, yMap, point); };
    QColor colour = Theme::accent();
    for (std::size_t number = 1; number < trailPoints.size(); ++number) {
        colour.setAlphaF(0.7 * static_cast<double>(number) / static_cast<double>(trailPoints.size()));
        painter->setPen(QPen(colour, 1.5));
        painter->drawLine(place(trailPoints[number - 1]), place(trailPoints[number]));
        painter->setPen(Qt::NoPen);
        painter->setBrush(colour);
        painter->drawEllipse(place(trailPoints[number - 1]), 4, 4);
    }
    const QPointF present = place(trailPoints.back());
    colour.setAlphaF(0.55);
    painter->setPen(QPen(colour, 1, Qt::DashLine));
    painter->drawLine(present, QPointF(present.x(), canvas.bottom()));
    painter->drawLine(present, QPointF(canvas.left(), present.y()));
    painter->setPen(QPen(Theme::screen(), 2));
    painter->setBrush(Theme::accent());
    painter->drawEllipse(present, 8, 8);
}

} // namespace Terminal
