#pragma once

#include "terminal/look/Sizes.h"
#include "terminal/timeline/KeyTimeLine.h"

#include <QFont>
#include <QFontMetricsF>
#include <QLineF>
#include <QRectF>
#include <QStringList>

#include <limits>

class QPainter;

namespace Terminal {

/// Fonts and lengths of the spans, from the size of the window.
struct SpanLook {
    explicit SpanLook(const Sizes& sizes);

    QFont font;
    QFontMetricsF metrics;
    qreal bandHeight; ///< above the bars, for the distances between presses
    qreal tallestBar;
    qreal markSize;
};

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
    SpanPainter(QPainter& target, const QRectF& row, const SpanLook& look);

    void draw(const KeyTimeLine::Span& span, const Extent& extent, KeyTimeLine::Time lengthMs);

    /// The part of a row that bars fill.
    static QRectF barArea(const QRectF& row, const SpanLook& look);

    /// A row must be so high that its texts fit.
    static int leastRowHeight(const Sizes& sizes);

private:
    void drawWindow(const Extent& extent);
    void drawBar(const KeyTimeLine::Span& span, const Extent& extent);
    void drawPart(const QRectF& part, const QColor& colour);
    qreal shortestTextWidth() const;
    void drawUnknownEnds(const KeyTimeLine::Span& span, const Extent& extent);
    void drawMarks(const KeyTimeLine::Span& span, const Extent& extent);
    void drawBeginMark(const KeyTimeLine::Span& span, const Extent& extent);
    void drawEndMark(const KeyTimeLine::Span& span, const Extent& extent);
    void drawMarkOnBar(KX::KXGesture gesture, qreal from, qreal to);
    void drawMark(KX::KXGesture gesture, qreal x, const QColor& colour);
    void drawLength(const KeyTimeLine::Span& span, const Extent& extent, KeyTimeLine::Time lengthMs);
    void drawGap(const KeyTimeLine::Span& span, const Extent& extent);
    bool drawGapText(const QStringList& texts, const QLineF& gap, qreal next);

    QPainter& painter;
    const SpanLook& look;
    const QRectF rowArea;
    const QRectF bars;
    qreal markedUntil = -std::numeric_limits<qreal>::infinity();
    qreal bandUsed; // how far the space above the bars is used
};

} // namespace Terminal
