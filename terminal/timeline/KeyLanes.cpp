#include "terminal/timeline/KeyLanes.h"

#include "terminal/look/PlotLook.h"
#include "terminal/look/Theme.h"
#include "terminal/timeline/SpanPainter.h"

#include <QPainter>

#include <qwt_scale_map.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace Terminal {

using Time = KeyTimeLine::Time;

void LaneChoice::choose(const KeyTimeLine& timeLine, const Visible& visible, std::size_t page) {
    collect(timeLine, visible);
    const bool isCrowded = candidates.size() > visible.rows;
    const std::size_t room = std::max<std::size_t>(1, visible.rows - (isCrowded ? 1 : 0));
    pages = std::max<std::size_t>(1, (candidates.size() + room - 1) / room);
    const auto from = candidates.begin() + static_cast<std::ptrdiff_t>(page % pages * room);
    const auto to = from + std::min(static_cast<std::ptrdiff_t>(room), candidates.end() - from);
    std::sort(
        candidates.begin(), candidates.end(),
        [](const Candidate& one, const Candidate& other) {
            if (one.isVisible != other.isVisible)
                return one.isVisible;
            if (one.lastActivity != other.lastActivity)
                return one.lastActivity > other.lastActivity;
            return one.number < other.number;
        });
    std::sort(from, to, [](const Candidate& one, const Candidate& other) { return one.number < other.number; });
    chosen.clear();
    std::transform(from, to, std::back_inserter(chosen), [](const Candidate& lane) { return lane.row; });
}

void LaneChoice::collect(const KeyTimeLine& timeLine, const Visible& visible) {
    candidates.clear();
    for (const auto& [key, lane] : timeLine.lanes()) {
        const auto span = KeyTimeLine::firstSpanEndingAt(lane, visible.first);
        const bool isVisible = span != lane.spans.end() && span->start <= visible.last;
        candidates.push_back({key, isVisible, lane.spans.back().end, lane.number + 1});
    }
    if (timeLine.moves().empty())
        return;
    const auto move = timeLine.firstMoveAt(visible.first);
    const bool isVisible = move != timeLine.moves().end() && move->time <= visible.last;
    candidates.push_back({std::nullopt, isVisible, timeLine.moves().back().time, 0});
}

const std::vector<LaneChoice::Row>& LaneChoice::rows() const {
    return chosen;
}

std::size_t LaneChoice::laneCount() const {
    return candidates.size();
}

std::size_t LaneChoice::pageCount() const {
    return pages;
}

/// What is needed to draw a row.
struct KeyLanesItem::Frame {
    QPainter& painter;
    const QwtScaleMap& xMap;
    QRectF row;
    Time reference;
    Time first; ///< first visible time
    Time last;

    qreal x(Time time) const {
        // Far outside the border the exact position does not matter, but large numbers do not draw well.
        const qreal position = xMap.transform(static_cast<double>(time - reference));
        return std::clamp(position, row.left() - row.width(), row.right() + row.width());
    }

    Time timeAt(qreal position) const {
        return reference + static_cast<Time>(std::floor(xMap.invTransform(position)));
    }
};

namespace {

constexpr int largestIncrement = 4096;

qreal shareOfHeight(int value) {
    const double steps = std::log2(std::max(1, value)) + 1;
    return std::min(1.0, steps / (std::log2(largestIncrement) + 1));
}

} // namespace

KeyLanesItem::KeyLanesItem(const KeyTimeLine& shown) : timeLine(shown), look(Sizes(Sizes::unitOfDesign)) {
    setSizes(Sizes(Sizes::unitOfDesign));
    setRenderHint(QwtPlotItem::RenderAntialiased);
    setZ(20); // before the grid
}

void KeyLanesItem::setSizes(const Sizes& sizes) {
    look = SpanLook(sizes);
    hintFont = Theme::font(sizes.heading(), true);
}

void KeyLanesItem::setRows(const std::vector<Row>& shown) {
    shownRows = shown;
}

const std::vector<KeyLanesItem::Row>& KeyLanesItem::rows() const {
    return shownRows;
}

void KeyLanesItem::setTime(Time reference, Time now) {
    referenceTime = reference;
    nowTime = now;
}

int KeyLanesItem::drawnCount() const {
    return drawn;
}

void KeyLanesItem::draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                        const QRectF& canvas) const {
    drawn = 0;
    if (timeLine.isEmpty()) {
        painter->setFont(hintFont);
        PlotLook::drawHint(*painter, canvas,
                           QStringLiteral("No key pressed yet.\nPress keys: each gets a lane of its own."));
    }
    for (std::size_t number = 0; number < shownRows.size(); ++number) {
        const auto top = static_cast<double>(number);
        const QRectF row(QPointF(canvas.left(), yMap.transform(top)),
                         QPointF(canvas.right(), yMap.transform(top + 1)));
        Frame frame{*painter, xMap, row, referenceTime, 0, 0};
        frame.first = frame.timeAt(canvas.left());
        frame.last = frame.timeAt(canvas.right()) + 1;
        drawRow(frame, shownRows[number]);
    }
}

void KeyLanesItem::drawRow(const Frame& frame, const Row& row) const {
    frame.painter.fillRect(QRectF(frame.row.left(), frame.row.bottom() - 1, frame.row.width(), 1),
                           Theme::outline());
    if (!row)
        return drawMoves(frame);
    const auto lane = timeLine.lanes().find(*row);
    if (lane != timeLine.lanes().end()) // it may have been dropped since the rows were chosen
        drawLane(frame, lane->second);
}

void KeyLanesItem::drawLane(const Frame& frame, const KeyTimeLine::Lane& lane) const {
    SpanPainter painter(frame.painter, frame.row.adjusted(0, 0, 0, -1), look);
    auto span = KeyTimeLine::firstSpanEndingAt(lane, frame.first);
    if (span != lane.spans.begin())
        --span; // its marks may reach into the picture
    while (span != lane.spans.end() && span->start <= frame.last) {
        const bool isDown = span->ending == KeyTimeLine::Span::Ending::Down;
        const Time end = isDown ? std::max(nowTime, span->end) : span->end;
        const auto next = std::next(span);
        SpanPainter::Extent extent{};
        extent.left = frame.x(span->start);
        extent.right = frame.x(end);
        extent.longPress = frame.x(span->longPressAt);
        extent.previousPress = frame.x(span->start - static_cast<Time>(span->sincePreviousPress));
        extent.doublePressEnd = frame.x(span->start + static_cast<Time>(span->doublePressWindow));
        extent.next = next == lane.spans.end() ? frame.row.right() : frame.x(next->start);
        painter.draw(*span, extent, end - span->start);
        ++drawn;
        const Time nextPixel = frame.timeAt(extent.right + 1);
        const bool hidesNext = next != lane.spans.end() && next->end < nextPixel;
        span = hidesNext ? std::max(next, KeyTimeLine::firstSpanEndingAt(lane, nextPixel)) : next;
    }
}

void KeyLanesItem::drawMoves(const Frame& frame) const {
    const QRectF bars = SpanPainter::barArea(frame.row, look).adjusted(0, -8, 0, 0);
    const qreal middle = std::round(bars.center().y());
    const QColor colour = Theme::encoder();
    frame.painter.fillRect(QRectF(bars.left(), middle, bars.width(), 1), Theme::outline());
    auto move = timeLine.firstMoveAt(frame.first);
    while (move != timeLine.moves().end() && move->time <= frame.last) {
        const qreal x = frame.x(move->time);
        const qreal height = shareOfHeight(move->value) * bars.height() / 2;
        frame.painter.fillRect(QRectF(std::round(x) - 1, move->isDownwards ? middle : middle - height, 2, height),
                               colour);
        ++drawn;
        const auto next = std::next(move);
        const Time nextPixel = frame.timeAt(x + 1);
        const bool hidesNext = next != timeLine.moves().end() && next->time < nextPixel;
        move = hidesNext ? timeLine.firstMoveAt(nextPixel) : next;
    }
}

} // namespace Terminal
