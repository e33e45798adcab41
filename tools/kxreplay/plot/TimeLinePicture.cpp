#include "tools/kxreplay/plot/TimeLinePicture.h"

#include "tools/kxreplay/plot/Marks.h"
#include "tools/kxreplay/plot/Theme.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Replay {

namespace {

using KX::KXGesture;

constexpr double timeLineWidth = 960;
constexpr double margin = 16;
constexpr double labelsWidth = 150;
constexpr double plotLeft = margin + labelsWidth;
constexpr double plotRight = timeLineWidth - margin - 24; // room for half of the last mark's text
constexpr double headHeight = 64;
constexpr double laneHeight = 52;
constexpr double encoderHeight = 110;
constexpr double axisHeight = 44;
constexpr double barHeight = 9;
constexpr double closestMarks = 3; // pixels

double topOfLane(std::size_t index) {
    return headHeight + laneHeight * static_cast<double>(index);
}

void drawLabel(QPainter& painter, const std::string& text, double middle) {
    const QFontMetricsF metrics(painter.font());
    painter.setPen(Theme::text);
    painter.drawText(QPointF(margin + 8, middle + metrics.ascent() / 2 - 1),
                     metrics.elidedText(QString::fromStdString(text), Qt::ElideRight, labelsWidth - 16));
}

QFont smallFont(const QPainter& painter) {
    QFont font = painter.font();
    font.setPixelSize(12);
    return font;
}

void drawCentered(QPainter& painter, const QString& text, double center, double baseline) {
    const double half = QFontMetricsF(painter.font()).horizontalAdvance(text) / 2;
    painter.drawText(QPointF(center - half, baseline), text);
}

QString msText(std::int64_t ms) {
    return QString::number(ms) + " ms";
}

} // namespace

TimeLinePicture::TimeLinePicture(const TimeLine& timeLine, std::string pictureTitle, unsigned int tick)
    : line(timeLine), title(std::move(pictureTitle)), firstTick(tick),
      axis(line.firstShownMs(), line.lastShownMs(), plotLeft, plotRight) {}

QSize TimeLinePicture::size() const {
    return {static_cast<int>(timeLineWidth), static_cast<int>(bottom() + axisHeight)};
}

double TimeLinePicture::lanesBottom() const {
    return topOfLane(line.getLanes().size());
}

double TimeLinePicture::bottom() const {
    const double withEncoder = lanesBottom() + (line.getMoves().empty() ? 0 : encoderHeight);
    return std::max(withEncoder, headHeight + laneHeight);
}

void TimeLinePicture::paint(QPainter& painter) const {
    paintHead(painter);
    for (std::size_t index = 0; index < line.getLanes().size(); index += 2)
        painter.fillRect(QRectF(margin, topOfLane(index), timeLineWidth - 2 * margin, laneHeight),
                         Theme::laneGround);
    paintAxis(painter);
    for (std::size_t index = 0; index < line.getLanes().size(); ++index)
        paintLane(painter, line.getLanes()[index], topOfLane(index));
    if (!line.getMoves().empty())
        paintEncoder(painter, lanesBottom());
    if (line.getLanes().empty() && line.getMoves().empty()) {
        painter.setPen(Theme::quietText);
        painter.drawText(QPointF(plotLeft + 12, headHeight + laneHeight / 2), "no gesture in this time");
    }
}

void TimeLinePicture::paintHead(QPainter& painter) const {
    QFont bold = painter.font();
    bold.setBold(true);
    painter.save();
    painter.setFont(bold);
    painter.setPen(Theme::text);
    const QFontMetricsF metrics(bold);
    painter.drawText(QPointF(margin, 24), metrics.elidedText(QString::fromStdString(title), Qt::ElideMiddle, 560));
    painter.restore();
    painter.save();
    painter.setPen(Theme::quietText);
    painter.setFont(smallFont(painter));
    const QString note = "0 s is tick " + QString::number(firstTick) +
                         (line.isComplete() ? "" : "; too much for one picture, the rest is left out");
    painter.drawText(QRectF(timeLineWidth - margin - 400, 8, 400, 22), Qt::AlignRight | Qt::AlignVCenter, note);
    painter.restore();
    Marks::drawLegend(painter, QPointF(margin + Marks::radius * 2, 46), !line.getMoves().empty());
}

void TimeLinePicture::paintAxis(QPainter& painter) const {
    painter.save();
    painter.setFont(smallFont(painter));
    for (const std::int64_t ms : axis.marks()) {
        const double x = axis.pixelOf(ms);
        painter.setPen(QPen(Theme::grid, 1));
        painter.drawLine(QPointF(x, headHeight), QPointF(x, bottom() + 4));
        painter.setPen(Theme::quietText);
        drawCentered(painter, QString::fromStdString(axis.nameOf(ms)), x, bottom() + 20);
    }
    painter.setPen(QPen(Theme::quietText, 1));
    painter.drawLine(QPointF(plotLeft, bottom()), QPointF(plotRight, bottom()));
    painter.restore();
}

void TimeLinePicture::paintLane(QPainter& painter, const TimeLine::Lane& lane, double top) const {
    const double middle = top + 25;
    drawLabel(painter, lane.name, middle);
    for (const TimeLine::Span& span : lane.spans)
        paintSpan(painter, span, middle);
    paintGaps(painter, lane, middle);
    paintMarks(painter, lane, middle);
}

void TimeLinePicture::paintSpan(QPainter& painter, const TimeLine::Span& span, double middle) const {
    const auto inPlot = [this](std::int64_t ms) { return std::clamp(axis.pixelOf(ms), plotLeft, plotRight); };
    const double begin = inPlot(span.fromMs);
    const double end = std::max(inPlot(span.toMs.value_or(line.lastShownMs())), begin + 1);
    const double longBegin = span.longFromMs ? inPlot(*span.longFromMs) : end;
    const double barTop = middle - barHeight / 2;
    painter.fillRect(QRectF(begin, barTop, longBegin - begin, barHeight), Theme::held);
    if (longBegin < end)
        painter.fillRect(QRectF(longBegin, barTop, end - longBegin, barHeight), Theme::heldLong);
    if (!span.toMs)
        return;
    painter.save();
    painter.setFont(smallFont(painter));
    const QString text = "held " + msText(*span.toMs - span.fromMs);
    const bool hasRoom = QFontMetricsF(painter.font()).horizontalAdvance(text) + 2 < end - begin;
    painter.setPen(Theme::text);
    if (hasRoom && span.fromMs >= line.firstShownMs() && *span.toMs <= line.lastShownMs())
        drawCentered(painter, text, (begin + end) / 2, middle + 20);
    painter.restore();
}

// From press to press, since that decides on a double press.
void TimeLinePicture::paintGaps(QPainter& painter, const TimeLine::Lane& lane, double middle) const {
    constexpr std::int64_t longestMs = 2000; // a longer gap is no attempt of a double press
    painter.save();
    painter.setFont(smallFont(painter));
    const double y = middle - 14;
    for (std::size_t index = 1; index < lane.spans.size(); ++index) {
        const std::int64_t first = lane.spans[index - 1].fromMs;
        const std::int64_t second = lane.spans[index].fromMs;
        const double begin = axis.pixelOf(first);
        const double end = axis.pixelOf(second);
        const QString text = msText(second - first);
        const double textWidth = QFontMetricsF(painter.font()).horizontalAdvance(text);
        if (second - first > longestMs || begin < plotLeft || textWidth + 16 > end - begin)
            continue;
        const double center = (begin + end) / 2;
        painter.setPen(QPen(Theme::quietText, 1));
        for (const double x : {begin, end})
            painter.drawLine(QPointF(x, y - 5), QPointF(x, y + 5));
        painter.drawLine(QPointF(begin, y), QPointF(center - textWidth / 2 - 3, y));
        painter.drawLine(QPointF(center + textWidth / 2 + 3, y), QPointF(end, y));
        painter.setPen(Theme::text);
        drawCentered(painter, text, center, y + 4);
    }
    painter.restore();
}

// In an hour marks would hide each other: they are smaller, and one of a kind is enough for some pixels. What says most
// about the gesture lies on top.
void TimeLinePicture::paintMarks(QPainter& painter, const TimeLine::Lane& lane, double middle) const {
    constexpr std::size_t manyMarks = 60;
    const double scale = lane.marks.size() > manyMarks ? 0.6 : 1;
    for (const KXGesture gesture :
         {KXGesture::Release, KXGesture::Escape, KXGesture::Press, KXGesture::LongPress, KXGesture::DoublePress}) {
        double lastPixel = 0;
        for (const TimeLine::Mark& mark : lane.marks) {
            const double x = axis.pixelOf(mark.ms);
            if (mark.gesture != gesture || x - lastPixel < closestMarks)
                continue;
            lastPixel = x;
            Marks::draw(painter, QPointF(x, middle), gesture, scale);
        }
    }
}

void TimeLinePicture::paintEncoder(QPainter& painter, double top) const {
    const auto isDown = [](const TimeLine::Move& move) { return move.isDown; };
    const std::vector<TimeLine::Move>& moves = line.getMoves();
    const bool hasDown = std::any_of(moves.begin(), moves.end(), isDown);
    const bool hasUp = !std::all_of(moves.begin(), moves.end(), isDown);
    const double room = encoderHeight / (hasUp && hasDown ? 2 : 1) - 26;
    const double base = !hasDown ? bottom() : top + (hasUp ? encoderHeight / 2 : 4);
    if (hasUp)
        drawLabel(painter, hasDown ? "encoder: up" : "encoder, up", base - room / 2);
    if (hasDown)
        drawLabel(painter, hasUp ? "encoder: down" : "encoder, down", base + room / 2);
    painter.save();
    painter.setFont(smallFont(painter));
    painter.setPen(QPen(Theme::quietText, 1));
    painter.drawLine(QPointF(plotLeft, base), QPointF(plotRight, base));
    const std::vector<Stem> stems = stemsOf(base, room);
    painter.setPen(QPen(Theme::encoder, 3, Qt::SolidLine, Qt::FlatCap));
    for (const Stem& stem : stems)
        painter.drawLine(QPointF(stem.x, base), QPointF(stem.x, stem.end));
    paintValues(painter, stems);
    painter.restore();
}

// Values differ by orders of magnitude.
std::vector<TimeLinePicture::Stem> TimeLinePicture::stemsOf(double base, double room) const {
    constexpr double shortest = 5;
    int greatest = 1;
    for (const TimeLine::Move& move : line.getMoves())
        greatest = std::max(greatest, std::abs(move.value));
    std::vector<Stem> stems;
    for (const TimeLine::Move& move : line.getMoves()) {
        const double share = std::log1p(std::abs(move.value)) / std::log1p(greatest);
        const double length = shortest + share * (room - shortest);
        stems.push_back({axis.pixelOf(move.ms), base + (move.isDown ? length : -length), move.value, move.isDown});
    }
    return stems;
}

// The greatest values first; others get a text where there is room, and no text hides a stem.
void TimeLinePicture::paintValues(QPainter& painter, std::vector<Stem> stems) const {
    constexpr std::size_t mostTexts = 200; // as many as fit, and more
    std::stable_sort(stems.begin(), stems.end(), [](const Stem& one, const Stem& other) {
        return std::abs(one.value) > std::abs(other.value);
    });
    const QFontMetricsF metrics(painter.font());
    painter.setPen(Theme::text);
    std::vector<QRectF> taken;
    for (std::size_t index = 0; index < stems.size() && taken.size() < mostTexts; ++index) {
        const Stem& stem = stems[index];
        const QString text = QString::number(stem.value);
        const double half = metrics.horizontalAdvance(text) / 2;
        const double baseline = stem.isDown ? stem.end + 12 : stem.end - 3;
        const QRectF place(stem.x - half - 2, baseline - 11, 2 * half + 4, 13);
        const bool isOverText = std::any_of(
            taken.begin(), taken.end(), [&place](const QRectF& other) { return other.intersects(place); });
        const bool isOverStem = std::any_of(stems.begin(), stems.begin() + static_cast<std::ptrdiff_t>(index),
                                            [&](const Stem& taller) {
                                                return taller.isDown == stem.isDown && taller.end != stem.end &&
                                                       std::abs(taller.x - stem.x) < half + 3;
                                            });
        if (isOverText || isOverStem)
            continue;
        taken.push_back(place);
        drawCentered(painter, text, stem.x, baseline);
    }
}

} // namespace Replay
