#include "terminal/timeline/SpanPainter.h"

#include "terminal/look/Theme.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Terminal {

namespace {

using Span = KeyTimeLine::Span;

constexpr qreal bandHeight = 10; // above the bars, for the distances between presses
constexpr qreal barInset = 2;
constexpr qreal barLeastWidth = 2;
constexpr qreal barTallest = 22;
constexpr qreal fadeWidth = 18;
constexpr qreal markDistanceLeast = 9; // nearer marks could not be told apart
constexpr qreal windowLeastWidth = 10;
constexpr qreal gapLeastWidth = 6;
constexpr int labelSize = 10;
constexpr unsigned int windowsToMiss = 3; // a longer gap is no attempt at a double press

QColor colourOfBar(const Span& span) {
    return Theme::colourOf(span.isDoublePress ? KX::KXGesture::DoublePress : KX::KXGesture::Press);
}

// A thin line through this position is sharp.
qreal middleOfPixel(qreal position) {
    return std::floor(position) + 0.5;
}

QString lengthText(KeyTimeLine::Time ms) {
    return ms < 1000 ? QStringLiteral("%1 ms").arg(ms)
                     : QStringLiteral("%1 s").arg(static_cast<double>(ms) / 1000, 0, 'f', 2);
}

// The shortest text comes last.
QStringList gapTexts(const Span& span) {
    const QString ms = QString::number(span.sincePreviousPress);
    const QString plain = ms + QStringLiteral(" ms");
    if (span.sincePreviousPress > span.doublePressWindow)
        return {ms + QStringLiteral(" > %1 ms").arg(span.doublePressWindow), plain};
    if (span.isInterrupted && !span.isDoublePress)
        return {plain + QStringLiteral(", another key between"), plain};
    return {ms + QStringLiteral(" \u2264 %1 ms").arg(span.doublePressWindow), plain};
}

const QFont& labelFont() {
    static const QFont font = Theme::font(labelSize, true);
    return font;
}

qreal widthOf(const QString& text) {
    static const QFontMetricsF metrics(labelFont());
    return metrics.horizontalAdvance(text);
}

} // namespace

SpanPainter::SpanPainter(QPainter& target, const QRectF& row)
    : painter(target), rowArea(row), bars(barArea(row)), bandUsed(row.left()) {}

QRectF SpanPainter::barArea(const QRectF& row) {
    const qreal height = std::min(row.height() - bandHeight - barInset, barTallest);
    return {row.left(), row.bottom() - barInset - height, row.width(), height};
}

void SpanPainter::draw(const Span& span, const Extent& extent, KeyTimeLine::Time lengthMs) {
    if (span.isPressSeen)
        drawWindow(extent);
    drawBar(span, extent);
    drawUnknownEnds(span, extent);
    drawMarks(span, extent);
    drawLength(span, extent, lengthMs);
    if (span.followsPress && span.sincePreviousPress <= windowsToMiss * span.doublePressWindow)
        drawGap(span, extent);
}

// The time in which another press would be a double press: a thin line below the bars.
void SpanPainter::drawWindow(const Extent& extent) {
    const qreal width = extent.doublePressEnd - extent.left;
    if (width >= windowLeastWidth)
        painter.fillRect(QRectF(extent.left, rowArea.bottom() - 2, width, 2),
                         Theme::colourOf(KX::KXGesture::DoublePress).darker(170));
}

void SpanPainter::drawBar(const Span& span, const Extent& extent) {
    QRectF bar = bars;
    bar.setLeft(extent.left);
    bar.setRight(std::max(extent.right, extent.left + barLeastWidth));
    painter.setPen(Qt::NoPen);
    painter.setBrush(colourOfBar(span));
    const qreal corner = bar.width() > 8 ? 3 : 0;
    painter.drawRoundedRect(bar, corner, corner);
    if (!span.isLongPress)
        return;
    bar.setLeft(std::clamp(extent.longPress, bar.left(), bar.right()));
    painter.setBrush(Theme::colourOf(KX::KXGesture::LongPress));
    painter.drawRoundedRect(bar, corner, corner);
}

// A part that was not seen fades out.
void SpanPainter::drawUnknownEnds(const Span& span, const Extent& extent) {
    const auto fade = [this, &span](qreal from, qreal to) {
        QLinearGradient gradient(from, 0, to, 0);
        QColor colour = span.isLongPress ? Theme::colourOf(KX::KXGesture::LongPress) : colourOfBar(span);
        gradient.setColorAt(0, colour);
        colour.setAlpha(0);
        gradient.setColorAt(1, colour);
        painter.fillRect(
            QRectF(QPointF(std::min(from, to), bars.top()), QPointF(std::max(from, to), bars.bottom())), gradient);
    };
    if (!span.isPressSeen)
        fade(extent.left, extent.left - fadeWidth);
    if (span.ending == Span::Ending::Lost)
        fade(extent.right, std::min(extent.right + fadeWidth, extent.next));
    if (span.ending == Span::Ending::Down)
        painter.fillRect(QRectF(extent.right - 1, bars.top() - 3, 2, bars.height() + 6), Theme::text());
}

void SpanPainter::drawMarks(const Span& span, const Extent& extent) {
    if (span.isDoublePress)
        drawMark(TimeLineMark::DoublePress, extent.left);
    if (span.isLongPress)
        drawMark(TimeLineMark::LongPress, extent.longPress);
    if (span.isLongRelease && span.ending != Span::Ending::Down)
        drawMark(TimeLineMark::LongRelease, extent.right);
    if (span.ending == Span::Ending::Escaped)
        drawMark(TimeLineMark::Escape, extent.right);
}

void SpanPainter::drawMark(TimeLineMark mark, qreal x) {
    if (x - lastMark < markDistanceLeast)
        return;
    lastMark = x;
    TimeLineMarks::draw(painter, mark, QPointF(x, bars.center().y()));
}

void SpanPainter::drawLength(const Span& span, const Extent& extent, KeyTimeLine::Time lengthMs) {
    if (!span.isPressSeen || span.ending == Span::Ending::Lost)
        return;
    constexpr qreal reach = TimeLineMarks::size / 2.0;
    const qreal start = std::max(extent.left, rowArea.left()) + (span.isDoublePress ? reach : 0);
    const qreal stop = std::min(extent.right, rowArea.right());
    QRectF room = bars;
    room.setLeft(start);
    room.setRight(stop);
    if (span.isLongPress && extent.longPress > start && extent.longPress < stop) {
        const bool isBeforeWider = extent.longPress - start > stop - extent.longPress;
        if (isBeforeWider)
            room.setRight(extent.longPress - reach);
        else
            room.setLeft(extent.longPress + reach);
    }
    const QString text = lengthText(lengthMs);
    if (room.width() < widthOf(text) + 12)
        return;
    painter.setFont(labelFont());
    painter.setPen(Theme::screen());
    painter.drawText(room, Qt::AlignCenter, text);
}

// A dimension line from press to press. Its text stands on the line, after it if the line is too short, or before
// it.
void SpanPainter::drawGap(const Span& span, const Extent& extent) {
    const qreal from = middleOfPixel(extent.previousPress);
    const qreal to = middleOfPixel(extent.left);
    if (to - from < gapLeastWidth)
        return;
    const qreal y = middleOfPixel(rowArea.top() + bandHeight / 2);
    painter.setPen(QPen(span.isDoublePress ? Theme::colourOf(KX::KXGesture::DoublePress) : Theme::quietText(), 1));
    painter.setFont(labelFont());
    painter.drawLine(QPointF(from, y - 4), QPointF(from, y + 4));
    painter.drawLine(QPointF(to, y - 4), QPointF(to, y + 4));
    const QLineF gap(from, y, to, y);
    if (!drawGapText(gapTexts(span), gap, extent.next))
        painter.drawLine(gap);
}

// Draws the line of the gap with the longest text that fits; the next span begins at next. Draws nothing and
// returns false if no text fits.
bool SpanPainter::drawGapText(const QStringList& texts, const QLineF& gap, qreal next) {
    const qreal from = gap.x1();
    const qreal to = gap.x2();
    const qreal y = gap.y1();
    const qreal bandUsedBefore = std::exchange(bandUsed, to);
    for (const QString& text : texts) {
        const qreal width = widthOf(text);
        const bool fitsOn = to - from >= width + 14;
        const bool fitsBehind = next - to >= width + 10;
        if (!fitsOn && !fitsBehind && from - bandUsedBefore < width + 10)
            continue;
        const qreal beside = fitsBehind ? to + 5 : from - 5 - width;
        const qreal textX = fitsOn ? (from + to - width) / 2 : beside;
        painter.drawText(QRectF(textX, y - bandHeight / 2, width + 2, bandHeight),
                         Qt::AlignLeft | Qt::AlignVCenter, text);
        painter.drawLine(QPointF(from, y), QPointF(fitsOn ? textX - 3 : to, y));
        if (fitsOn)
            painter.drawLine(QPointF(textX + width + 3, y), QPointF(to, y));
        bandUsed = std::max(to, textX + width);
        return true;
    }
    return false;
}

} // namespace Terminal
