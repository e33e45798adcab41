#pragma once

#include "terminal/timeline/KeyTimeLine.h"
#include "terminal/timeline/TimeLineMarks.h"

#include <QLineF>
#include <QRectF>
#include <QStringList>

#include <limits>

class QPainter;

namespace Terminal {

/// Draws the spans of one lane from left to right: bars and marks. Where there is room, it writes how long they
/// lasted and how far apart quick presses were.
class SpanPainter {
public:
    /// The position of a span in the picture, in pixels.
    struct Extent {
        qreal left;
        qreal right;
        qreal longPress;      ///< where the long press was recognised
        qreal previousPress;  ///< where the previous press was
        qreal doublePressEnd; ///< a later press is no double press
        qreal next;           ///< where the next span begins, or the end of the picture
    };

    /// The lane draws within \p row.
    SpanPainter(QPainter& target, const QRectF& row);

    void draw(const KeyTimeLine::Span& span, const Extent& extent, KeyTimeLine::Time lengthMs);

    /// The part of a row that bars fill.
    static QRectF barArea(const QRectF& row);

private:
    void drawWindow(const Extent& extent);
    void drawBar(const KeyTimeLine::Span& span, const Extent& extent);
    void drawUnknownEnds(const KeyTimeLine::Span& span, const Extent& extent);
    void drawMarks(const KeyTimeLine::Span& span, const Extent& extent);
    void drawMark(TimeLineMark mark, qreal x);
    void drawLength(const KeyTimeLine::Span& span, const Extent& extent, KeyTimeLine::Time lengthMs);
    void drawGap(const KeyTimeLine::Span& span, const Extent& extent);
    bool drawGapText(const QStringList& texts, const QLineF& gap, qreal next);

    QPainter& painter;
    const QRectF rowArea;
    const QRectF bars;
    qreal lastMark = -std::numeric_limits<qreal>::infinity();
    qreal bandUsed; // how far the space above the bars is used
};

} // namespace Terminal
