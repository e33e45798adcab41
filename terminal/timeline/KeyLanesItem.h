#pragma once

#include "terminal/timeline/KeyTimeLine.h"
#include "terminal/timeline/LaneChoice.h"

#include <qwt_plot_item.h>

#include <vector>

namespace Terminal {

/// Draws rows of a time line into a plot. x is ms after a reference time, y counts the rows downwards from 0.
///
/// It skips everything outside the visible time, and draws only one of the things that fall on the same pixel. So
/// the width of the plot limits the cost.
class KeyLanesItem : public QwtPlotItem {
public:
    static constexpr int rowHeightLeast = 23;

    using Row = LaneChoice::Row;

    /// \p timeLine must outlive the item.
    explicit KeyLanesItem(const KeyTimeLine& timeLine);

    void setRows(const std::vector<Row>& shown);
    const std::vector<Row>& rows() const;

    /// The spans of keys that are down end at \p now.
    void setTime(KeyTimeLine::Time reference, KeyTimeLine::Time now);

    /// How many spans and moves the last painting drew.
    int drawnCount() const;

    void draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
              const QRectF& canvas) const override;

private:
    struct Frame;

    void drawRow(const Frame& frame, const Row& row) const;
    void drawLane(const Frame& frame, const KeyTimeLine::Lane& lane) const;
    void drawMoves(const Frame& frame) const;

    const KeyTimeLine& timeLine;
    std::vector<Row> shownRows;
    KeyTimeLine::Time referenceTime = 0;
    KeyTimeLine::Time nowTime = 0;
    mutable int drawn = 0; // mutable because drawing is const in Qwt; one thread draws
};

} // namespace Terminal
