#pragma once

#include "terminal/timeline/KeyTimeLine.h"
#include "terminal/timeline/SpanPainter.h"

#include <qwt_plot_item.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace Terminal {

/// Chooses which lanes of a time line to show when there is no room for all.
///
/// Lanes with something in the visible time come first, then the most recently used ones. The chosen lanes are
/// ordered by their first use, below the encoder. So no lane moves as long as there is room for all.
class LaneChoice {
public:
    /// A row without a lane shows the encoder.
    using Row = std::optional<KeyTimeLine::LaneKey>;

    struct Visible {
        KeyTimeLine::Time first;
        KeyTimeLine::Time last;
        std::size_t rows; ///< how many fit; one stays free when there are more lanes
    };

    /// \p page counts from 0, the page with the most interesting lanes. After the last page comes the first.
    void choose(const KeyTimeLine& timeLine, const Visible& visible, std::size_t page);

    const std::vector<Row>& rows() const;
    std::size_t laneCount() const;
    std::size_t pageCount() const;

private:
    struct Candidate {
        Row row;
        bool isVisible;
        KeyTimeLine::Time lastActivity;
        std::uint64_t number;
    };

    void collect(const KeyTimeLine& timeLine, const Visible& visible);

    std::vector<Candidate> candidates;
    std::vector<Row> chosen;
    std::size_t pages = 1;
};

/// Draws rows of a time line into a plot. x is ms after a reference time, y counts the rows downwards from 0.
///
/// It skips everything outside the visible time, and draws only one of the things that fall on the same pixel. So
/// the width of the plot limits the cost.
class KeyLanesItem : public QwtPlotItem {
public:
    using Row = LaneChoice::Row;

    /// \p timeLine must outlive the item.
    explicit KeyLanesItem(const KeyTimeLine& timeLine);

    void setSizes(const Sizes& sizes);

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
    SpanLook look;
    QFont hintFont;
    std::vector<Row> shownRows;
    KeyTimeLine::Time referenceTime = 0;
    KeyTimeLine::Time nowTime = 0;
    mutable int drawn = 0; // mutable because drawing is const in Qwt; one thread draws
};

} // namespace Terminal
