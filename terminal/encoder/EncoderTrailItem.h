#pragma once

#include <qwt_plot_item.h>

#include <QPointF>

#include <vector>

namespace Terminal {

/// The present point of the encoder on its speed table, and the points before it, which fade with age.
class EncoderTrailItem : public QwtPlotItem {
public:
    EncoderTrailItem();

    /// \p trail starts with the oldest point and ends with the present one.
    void setPoints(std::vector<QPointF> trail);
    const std::vector<QPointF>& points() const;

    void draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
              const QRectF& canvas) const override;

private:
    std::vector<QPointF> trailPoints;
};

} // namespace Terminal
