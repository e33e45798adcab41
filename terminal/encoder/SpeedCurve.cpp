#include "terminal/encoder/SpeedCurve.h"

#include "terminal/look/PlotLook.h"
#include "terminal/look/Theme.h"

#include <QPainter>

#include <qwt_plot_curve.h>
#include <qwt_plot_item.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_map.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Terminal {

namespace {

constexpr double shortestStep = 1; // a logarithmic axis has no 0
constexpr double smallestIncrement = 1;
constexpr int timeLabelWidth = 34; // these lengths are scaled
constexpr int incrementLabelHeight = 26;

std::vector<QPointF> cornersOf(const std::vector<KX::KXEncoderDynamicPair>& table, int userFactor,
                               int longestStepTimeMs) {
    std::vector<QPointF> corners;
    double from = shortestStep;
    for (const KX::KXEncoderDynamicPair& row : table) {
        const double increment =
            std::max(smallestIncrement, double(row.increment) * userFactor / SpeedCurve::neutralUserFactor);
        const double to = std::max(shortestStep, double(row.timeGap));
        corners.emplace_back(from, increment);
        corners.emplace_back(to, increment);
        from = to;
    }
    const double slow = std::max(smallestIncrement, double(userFactor) / SpeedCurve::neutralUserFactor);
    corners.emplace_back(from, slow);
    corners.emplace_back(std::max<double>(2 * from, longestStepTimeMs), slow);
    return corners;
}

// Drops values that are too near to each other to be labelled on a logarithmic axis.
std::vector<double> readableTicks(std::vector<double> all, double first, double last, double mostLabels) {
    std::sort(all.begin(), all.end());
    const double nearest = std::pow(last / first, 1 / mostLabels);
    std::vector<double> ticks;
    for (const double value : all)
        if (ticks.empty() || value >= ticks.back() * nearest)
            ticks.push_back(value);
    return ticks;
}

// A speed table falls from the upper left, so the upper right is free.
QRectF aboveCurve(const QRectF& canvas) {
    return {canvas.center().x(), canvas.top(), canvas.width() / 2, canvas.height() / 2};
}

} // namespace

class SpeedCurve::Trail : public QwtPlotItem {
public:
    Trail() {
        setRenderHint(QwtPlotItem::RenderAntialiased);
        setZ(30); // before the curve
    }

    void draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
              const QRectF& canvas) const override {
        if (points.empty()) {
            painter->setFont(hintFont);
            return PlotLook::drawHint(*painter, aboveCurve(canvas), QStringLiteral("Not turned yet"));
        }
        std::vector<QPointF> places;
        for (const QPointF& point : points)
            places.push_back(QwtScaleMap::transform(xMap, yMap, point));
        drawPast(*painter, places);
        drawPresent(*painter, places.back(), canvas);
    }

    std::vector<QPointF> points;
    QFont hintFont;

private:
    static void drawPast(QPainter& painter, const std::vector<QPointF>& places) {
        QColor colour = Theme::accent();
        for (std::size_t number = 1; number < places.size(); ++number) {
            colour.setAlphaF(0.7 * static_cast<double>(number) / static_cast<double>(places.size()));
            painter.setPen(QPen(colour, 1.5));
            painter.drawLine(places[number - 1], places[number]);
            painter.setPen(Qt::NoPen);
            painter.setBrush(colour);
            painter.drawEllipse(places[number - 1], 4, 4);
        }
    }

    static void drawPresent(QPainter& painter, const QPointF& present, const QRectF& canvas) {
        QColor colour = Theme::accent();
        colour.setAlphaF(0.55);
        painter.setPen(QPen(colour, 1, Qt::DashLine));
        painter.drawLine(present, QPointF(present.x(), canvas.bottom()));
        painter.drawLine(present, QPointF(canvas.left(), present.y()));
        painter.setPen(QPen(Theme::screen(), 2));
        painter.setBrush(Theme::accent());
        painter.drawEllipse(present, 8, 8);
    }
};

SpeedCurve::SpeedCurve() : sizesNow(Sizes::unitOfDesign), curve(new QwtPlotCurve), trailItem(new Trail) {
    PlotLook::dress(*this);
    PlotLook::addGrid(*this, true, true);
    setAxisScaleEngine(xBottom, new QwtLogScaleEngine);
    setAxisScaleEngine(yLeft, new QwtLogScaleEngine);
    setAxisScaleDraw(yLeft, PlotLook::makeNumbersScale());
    const QColor colour = Theme::encoder();
    QColor below = colour;
    below.setAlpha(45);
    curve->setPen(colour, 2.5);
    curve->setBrush(below);
    curve->setRenderHint(QwtPlotItem::RenderAntialiased);
    curve->attach(this); // the plot owns it now
    trailItem->attach(this);
}

void SpeedCurve::setSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& table, int userFactor,
                               int longestStepTimeMs) {
    cornerPoints = cornersOf(table, userFactor, longestStepTimeMs);
    setScales();
    curve->setSamples(QVector<QPointF>(cornerPoints.begin(), cornerPoints.end()));
}

void SpeedCurve::setSizes(const Sizes& sizes) {
    sizesNow = sizes;
    trailItem->hintFont = Theme::font(sizes.text());
    PlotLook::setTextSize(*this, sizes.text());
    if (!cornerPoints.empty())
        setScales();
}

// The values of the table label the axes.
void SpeedCurve::setScales() {
    const double slowest = cornerPoints.back().x();
    double largest = 10;
    std::vector<double> increments = {smallestIncrement};
    std::vector<double> times;
    for (const QPointF& corner : cornerPoints) {
        largest = std::max(largest, corner.y());
        increments.push_back(corner.y());
        times.push_back(corner.x());
    }
    largest *= 2;
    const double smallest = smallestIncrement * 0.8;
    const double mostTimes = std::max(2, width() / sizesNow.scaled(timeLabelWidth));
    const double mostIncrements = std::max(2, height() / sizesNow.scaled(incrementLabelHeight));
    setAxisScaleDiv(
        xBottom, PlotLook::ticksAt(shortestStep, slowest, readableTicks(times, shortestStep, slowest, mostTimes)));
    setAxisScaleDiv(
        yLeft, PlotLook::ticksAt(smallest, largest, readableTicks(increments, smallest, largest, mostIncrements)));
    curve->setBaseline(smallest);
}

void SpeedCurve::setSteps(const std::deque<EncoderTrace::Step>& steps) {
    const std::size_t length = std::min<std::size_t>(steps.size(), trailLength);
    trailItem->points.clear();
    for (auto step = steps.end() - static_cast<std::ptrdiff_t>(length); step != steps.end(); ++step)
        trailItem->points.emplace_back(std::max(shortestStep, double(step->stepTimeMs)), step->increment);
}

const std::vector<QPointF>& SpeedCurve::corners() const {
    return cornerPoints;
}

const std::vector<QPointF>& SpeedCurve::trail() const {
    return trailItem->points;
}

} // namespace Terminal
