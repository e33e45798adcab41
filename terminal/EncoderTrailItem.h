#pragma once

#include <qwt_plot_item.h>

#include <QPointF>

#include <vector>

namespace Terminal {

/// Where the encoder is on its speed table, and where it was just before: points that fade with their age.
class EncoderTrailItem : public QwtPlotItem {
public:
    EncoderTrailItem();

    /// \p trail, oldest first; the last one is where the encoder is now.
    void setPoints(std::vector<QPointF> trail);
    const std::vector<QPointF>& points() const;

    void draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
              const QRectF& canvas) const override;

private:
    std::vector<QPointF> trailPoints;
};

} // namespace Terminal
