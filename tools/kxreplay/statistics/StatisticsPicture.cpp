#include "tools/kxreplay/statistics/StatisticsPicture.h"

#include "tools/kxreplay/plot/Theme.h"
#include "tools/kxreplay/statistics/Bins.h"
#include "tools/kxreplay/statistics/Grid.h"
#include "tools/kxreplay/statistics/StatisticsText.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace Replay {

namespace {

constexpr double pictureWidth = 960;
constexpr double pictureMargin = 24;
constexpr double pictureHead = 52;
constexpr double chartHeight = 230;
constexpr double titleHeight = 36;
constexpr double namesHeight = 44;

void drawCentered(QPainter& painter, const QString& text, double center, double baseline) {
    const double half = QFontMetricsF(painter.font()).horizontalAdvance(text) / 2;
    painter.drawText(QPointF(center - half, baseline), text);
}

} // namespace

StatisticsPicture::StatisticsPicture(Counts theCounts) : counts(std::move(theCounts)) {
    addHistogram(Counted::Gaps, "From a press to the next press of the same key", "ms, from this on");
    addHistogram(Counted::Holds, "From a press to its release", "ms, from this on");
    addHistogram(Counted::StepTimes, "Speed of the encoder: how many steps", "ms a step, from this on");
    addGrid(Limit::DoublePress);
    addGrid(Limit::LongPress);
}

void StatisticsPicture::addHistogram(Counted kind, const char* title, const char* axis) {
    Chart chart{title, axis, {}};
    for (const int lower : binsOf(kind))
        chart.bars.push_back({QString::number(lower), counts.of(kind, {lower})});
    charts.push_back(chart);
}

void StatisticsPicture::addGrid(Limit limit) {
    const bool isDouble = limit == Limit::DoublePress;
    const QString word = QString::fromStdString(wordOf(limit));
    Chart chart{(isDouble ? "Double presses with another --" : "Long presses with another --") + word, "ms", {}};
    counts.forEach(Counted::GridRecordings, [&](const std::array<int, 4>& numbers, std::uint64_t) {
        if (numbers[0] == static_cast<int>(limit))
            chart.bars.push_back({QString::number(numbers[1]),
                                  counts.of(isDouble ? Counted::GridDoubles : Counted::GridLongs, numbers)});
    });
    if (!chart.bars.empty())
        charts.push_back(chart);
}

QSize StatisticsPicture::size() const {
    return {static_cast<int>(pictureWidth),
            static_cast<int>(pictureHead + chartHeight * static_cast<double>(charts.size()))};
}

void StatisticsPicture::paint(QPainter& painter) const {
    painter.setPen(Theme::text);
    QFont bold = painter.font();
    bold.setBold(true);
    painter.save();
    painter.setFont(bold);
    painter.drawText(QPointF(pictureMargin, 30), QString::fromStdString(nameOfAll(counts)));
    painter.restore();
    double top = pictureHead;
    for (const Chart& chart : charts) {
        paintChart(painter, chart, top);
        top += chartHeight;
    }
}

void StatisticsPicture::paintChart(QPainter& painter, const Chart& chart, double top) const {
    painter.setPen(Theme::text);
    painter.drawText(QPointF(pictureMargin, top + 18), chart.title);
    painter.save();
    QFont font = painter.font();
    font.setPixelSize(12);
    painter.setFont(font);
    const double base = top + chartHeight - namesHeight;
    const double tallest = base - top - titleHeight - 14;
    std::uint64_t greatest = 1;
    for (const Bar& bar : chart.bars)
        greatest = std::max(greatest, bar.count);
    const double step = (pictureWidth - 2 * pictureMargin) / static_cast<double>(chart.bars.size());
    const double barWidth = std::min(step - 4, 60.0);
    double nameEnd = 0;
    double countEnd = 0;
    double center = pictureMargin + step / 2;
    for (const Bar& bar : chart.bars) {
        const double height = tallest * static_cast<double>(bar.count) / static_cast<double>(greatest);
        const double shown = bar.count == 0 ? 0 : std::max(height, 1.5);
        painter.fillRect(QRectF(center - barWidth / 2, base - shown, barWidth, shown), Theme::bar);
        const QFontMetricsF metrics(font);
        const QString number = QString::fromStdString(withCommas(bar.count));
        const double halfCount = metrics.horizontalAdvance(number) / 2;
        painter.setPen(Theme::text);
        if (bar.count != 0 && center - halfCount > countEnd + 3) {
            drawCentered(painter, number, center, base - shown - 4);
            countEnd = center + halfCount;
        }
        const double halfName = metrics.horizontalAdvance(bar.name) / 2;
        painter.setPen(Theme::quietText);
        if (center - halfName > nameEnd + 6) {
            drawCentered(painter, bar.name, center, base + 17);
            nameEnd = center + halfName;
        }
        center += step;
    }
    painter.setPen(QPen(Theme::quietText, 1));
    painter.drawLine(QPointF(pictureMargin, base), QPointF(pictureWidth - pictureMargin, base));
    painter.drawText(QRectF(pictureMargin, base + 20, pictureWidth - 2 * pictureMargin, 18), Qt::AlignRight,
                     chart.axis);
    painter.restore();
}

} // namespace Replay
