#include "terminal/timeline/SpanPainter.h"

#include "terminal/look/GestureMark.h"
#include "terminal/look/Theme.h"

#include <QLinearGradient>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Terminal {

namespace {

using Span = KeyTimeLine::Span;

constexpr int bandDesign = 15; // these lengths are scaled
constexpr int barDesign = 19;
constexpr int tallestBarDesign = 26;
constexpr int markDesign = 13;
constexpr qreal barInset = 2;
constexpr qreal barLeastWidth = 2;
constexpr qreal fadeWidth = 18;
constexpr qreal markOverlap = 4; // two marks may share their edges
constexpr qreal windowLeastWidth = 10;
constexpr qreal gapLeastWidth = 6;
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

} // namespace

SpanLook::SpanLook(const Sizes& sizes)
    : font(Theme::font(sizes.text(), true)), metrics(font), bandHeight(sizes.scaled(bandDesign)),
      tallestBar(sizes.scaled(tallestBarDesign)), markSize(sizes.scaled(markDesign)) {}

SpanPainter::SpanPainter(QPainter& target, const QRectF& row, const SpanLook& spanLook)
    : painter(target), look(spanLook), rowArea(row), bars(barArea(row, spanLook)), bandUsed(row.left()) {}

QRectF SpanPainter::barArea(const QRectF& row, const SpanLook& look) {
    const qreal height = std::min(row.height() - look.bandHeight - barInset, look.tallestBar);
    return {row.left(), row.bottom() - barInset - height, row.width(), height};
}

int SpanPainter::leastRowHeight(const Sizes& sizes) {
    return sizes.scaled(bandDesign + barDesign) + static_cast<int>(barInset);
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
        painter.fillRect(QRectF(extent.left, rowArea.bottom() - 2, width, 2), Theme::doublePressTime());
}

void SpanPainter::drawBar(const Span& span, const Extent& extent) {
    QRectF bar = bars;
    bar.setLeft(extent.left);
    bar.setRight(std::max(extent.right, extent.left + barLeastWidth));
    drawPart(bar, colourOfBar(span));
    if (!span.isLongPress)
        return;
    bar.setLeft(std::clamp(extent.longPress, bar.left(), bar.right()));
    drawPart(bar, Theme::colourOf(KX::KXGesture::LongPress));
}

// There may be hundreds of narrow bars, and round corners cost more than all the rest.
void SpanPainter::drawPart(const QRectF& part, const QColor& colour) {
    if (part.width() <= 8) {
        painter.fillRect(part, colour);
        return;
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(part, 3, 3);
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
    drawBeginMark(span, extent);
    if (span.isLongPress)
        drawMarkOnBar(KX::KXGesture::LongPress, extent.longPress, extent.right);
    drawEndMark(span, extent);
}

// In the bar, so that the bar shows the exact time.
void SpanPainter::drawBeginMark(const Span& span, const Extent& extent) {
    const KX::KXGesture gesture = span.isDoublePress ? KX::KXGesture::DoublePress : KX::KXGesture::Press;
    const qreal width = GestureMark::widthOf(gesture, look.markSize);
    const bool fits = extent.right - extent.left >= width;
    if (span.isPressSeen && (span.isDoublePress || fits))
        drawMarkOnBar(gesture, extent.left, extent.right);
}

// Its own colour is that of the bar, so a mark on it is dark, or light where the bar is too narrow for it.
void SpanPainter::drawMarkOnBar(KX::KXGesture gesture, qreal from, qreal to) {
    const qreal width = GestureMark::widthOf(gesture, look.markSize);
    drawMark(gesture, from + width / 2, to - from >= width ? Theme::screen() : Theme::text());
}

// Behind the bar, if the next one leaves room.
void SpanPainter::drawEndMark(const Span& span, const Extent& extent) {
    KX::KXGesture gesture = span.isLongRelease ? KX::KXGesture::LongRelease : KX::KXGesture::Release;
    if (span.ending == Span::Ending::Escaped)
        gesture = KX::KXGesture::Escape;
    else if (span.ending != Span::Ending::Released)
        return;
    if (extent.next - extent.right >= look.markSize)
        drawMark(gesture, extent.right + look.markSize / 2, Theme::colourOf(gesture));
}

void SpanPainter::drawMark(KX::KXGesture gesture, qreal x, const QColor& colour) {
    const qreal reach = GestureMark::widthOf(gesture, look.markSize) / 2;
    if (x - reach < markedUntil)
        return;
    markedUntil = x + reach - markOverlap;
    GestureMark::stamp(painter, gesture, QPointF(x, bars.center().y()), look.markSize, colour);
}

// To lay out a text takes longer than to draw a bar.
qreal SpanPainter::shortestTextWidth() const {
    constexpr int shortestLength = 4; // "9 ms"
    return shortestLength * look.markSize * 0.5;
}

void SpanPainter::drawLength(const Span& span, const Extent& extent, KeyTimeLine::Time lengthMs) {
    if (!span.isPressSeen || span.ending == Span::Ending::Lost)
        return;
    const KX::KXGesture begin = span.isDoublePress ? KX::KXGesture::DoublePress : KX::KXGesture::Press;
    const qreal start = std::max(extent.left + GestureMark::widthOf(begin, look.markSize), rowArea.left());
    const qreal stop = std::min(extent.right, rowArea.right());
    QRectF room = bars;
    room.setLeft(start);
    room.setRight(stop);
    if (span.isLongPress && extent.longPress > start && extent.longPress < stop) {
        const bool isBeforeWider = extent.longPress - start > stop - extent.longPress;
        if (isBeforeWider)
            room.setRight(extent.longPress);
        else
            room.setLeft(extent.longPress + look.markSize);
    }
    if (room.width() < shortestTextWidth())
        return;
    const QString text = lengthText(lengthMs);
    if (room.width() < look.metrics.horizontalAdvance(text) + 12)
        return;
    painter.setFont(look.font);
    painter.setPen(Theme::screen());
    painter.drawText(room, Qt::AlignCenter | Qt::TextDontClip, text);
}

// A dimension line from press to press. Its text stands on the line, after it if the line is too short, or before
// it.
void SpanPainter::drawGap(const Span& span, const Extent& extent) {
    const qreal from = middleOfPixel(extent.previousPress);
    const qreal to = middleOfPixel(extent.left);
    if (to - from < gapLeastWidth)
        return;
    const qreal y = middleOfPixel(rowArea.top() + look.bandHeight / 2);
    painter.setPen(QPen(span.isDoublePress ? Theme::colourOf(KX::KXGesture::DoublePress) : Theme::quietText(), 1));
    painter.setFont(look.font);
    painter.drawLine(QPointF(from, y - 4), QPointF(from, y + 4));
    painter.drawLine(QPointF(to, y - 4), QPointF(to, y + 4));
    const QLineF gap(from, y, to, y);
    const qreal roomMost = std::max({to - from, extent.next - to, from - bandUsed});
    if (roomMost < shortestTextWidth()) {
        bandUsed = to;
        painter.drawLine(gap);
    } else if (!drawGapText(gapTexts(span), gap, extent.next))
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
        const qreal width = look.metrics.horizontalAdvance(text);
        const bool fitsOn = to - from >= width + 14;
        const bool fitsBehind = next - to >= width + 10;
        if (!fitsOn && !fitsBehind && from - bandUsedBefore < width + 10)
            continue;
        const qreal beside = fitsBehind ? to + 5 : from - 5 - width;
        const qreal textX = fitsOn ? (from + to - width) / 2 : beside;
        painter.drawText(QRectF(textX, y - look.bandHeight / 2, width + 2, look.bandHeight),
                         Qt::AlignLeft | Qt::AlignVCenter | Qt::TextDontClip, text);
        painter.drawLine(QPointF(from, y), QPointF(fitsOn ? textX - 3 : to, y));
        if (fitsOn)
            painter.drawLine(QPointF(textX + width + 3, y), QPointF(to, y));
        bandUsed = std::max(to, textX + width);
        return true;
    }
    return false;
}

} // namespace Terminal
