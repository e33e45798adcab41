#include "terminal/encoder/EncoderView.h"

#include "terminal/encoder/EncoderTrailItem.h"
#include "terminal/window/PlotLook.h"
#include "terminal/window/Theme.h"

#include <QHBoxLayout>
#include <QLocale>
#include <QPainter>

#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_engine.h>
#include <qwt_symbol.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace Terminal {

namespace {

constexpr int headingHeight = 22;
constexpr int numbersWidth = 164;
constexpr int smallestNumber = 12;
constexpr double shortestStep = 1; // a logarithmic axis has no 0
constexpr double smallestIncrement = 1;
constexpr int thousandths = 1000;
constexpr double valueTicks = 5;
constexpr double historyTickMs = 2000;

std::vector<KX::KXEncoderDynamicPair> defaultTable() {
    std::vector<KX::KXEncoderDynamicPair> table;
    for (std::size_t row = 0; row < std::size(KX::DEFAULT_TIME_GAPS); ++row)
        table.push_back({static_cast<unsigned int>(KX::DEFAULT_TIME_GAPS[row]),
                         static_cast<unsigned int>(KX::DEFAULT_INCREMENTS[row])});
    return table;
}

// Writes 1234567 as "1.23 M", so that the axis keeps its width.
class ShortNumbers : public QwtScaleDraw {
public:
    ShortNumbers() {
        enableComponent(Backbone, false);
        enableComponent(Ticks, false);
        setMinimumExtent(46);
        setSpacing(5);
    }

    QwtText label(double number) const override {
        const double size = std::abs(number);
        if (size >= 1e6)
            return QStringLiteral("%1 M").arg(number / 1e6, 0, 'g', 4);
        if (size >= 1e4)
            return QStringLiteral("%1 k").arg(number / 1e3, 0, 'g', 4);
        return QString::number(number, 'g', 6);
    }
};

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

// Groups thousands with thin spaces.
QString grouped(qint64 number) {
    QLocale locale(QLocale::English);
    locale.setNumberOptions(QLocale::DefaultNumberOptions); // the system's locale may not group
    return locale.toString(number)
        .replace(QLatin1Char(','), QChar(0x2009))
        .replace(QLatin1Char('-'), QChar(0x2212));
}

void drawNumber(QPainter& painter, const QRect& area, const QString& label, const QString& number,
                const QColor& colour) {
    int size = std::clamp(area.height() * 45 / 100, 20, 34);
    while (size > smallestNumber && QFontMetrics(Theme::font(size, true)).horizontalAdvance(number) > area.width())
        --size;
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(11, true));
    painter.drawText(area, Qt::AlignLeft | Qt::AlignTop, label);
    painter.setPen(colour);
    painter.setFont(Theme::font(size, true));
    painter.drawText(area.adjusted(0, 14, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, number);
}

} // namespace

EncoderView::EncoderView(QWidget* parent) : QWidget(parent), pace([this] { refresh(); }) {
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, headingHeight + 6, 12 + numbersWidth, 4);
    row->setSpacing(14);
    makeCurvePlot();
    makeValuePlot();
    row->addWidget(curvePlot, 6);
    row->addWidget(valuePlot, 5);
    setSpeedTable(defaultTable(), thousandths);
}

void EncoderView::makeCurvePlot() {
    curvePlot = new QwtPlot;
    PlotLook::dress(*curvePlot);
    PlotLook::addGrid(*curvePlot, true, true);
    curvePlot->setAxisScaleEngine(QwtPlot::xBottom, new QwtLogScaleEngine);
    curvePlot->setAxisScaleEngine(QwtPlot::yLeft, new QwtLogScaleEngine);
    curvePlot->setAxisScaleDraw(QwtPlot::yLeft, new ShortNumbers);
    curve = new QwtPlotCurve;
    const QColor colour = Theme::encoder();
    QColor below = colour;
    below.setAlpha(45);
    curve->setPen(colour, 2.5);
    curve->setBrush(below);
    curve->setBaseline(smallestIncrement);
    curve->setRenderHint(QwtPlotItem::RenderAntialiased);
    curve->attach(curvePlot);
    trailItem = new EncoderTrailItem;
    trailItem->attach(curvePlot);
}

void EncoderView::makeValuePlot() {
    valuePlot = new QwtPlot;
    PlotLook::dress(*valuePlot);
    PlotLook::addGrid(*valuePlot, true, true);
    valuePlot->setAxisScaleDraw(QwtPlot::xBottom, PlotLook::makeSecondsScale());
    valuePlot->setAxisScaleDraw(QwtPlot::yLeft, new ShortNumbers);
    values = new QwtPlotCurve;
    values->setPen(Theme::accent(), 2);
    values->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, Theme::accent(), Qt::NoPen, QSize(5, 5)));
    values->setRenderHint(QwtPlotItem::RenderAntialiased);
    values->attach(valuePlot);
}

QSize EncoderView::sizeHint() const {
    return {780, 240};
}

void EncoderView::setSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& table, int factor) {
    speedTable = table;
    userFactor = factor;
    encoderTrace.setSpeedTable(table);
    setCurveScales();
    const std::vector<QPointF> corners = curveCorners();
    curve->setSamples(QVector<QPointF>(corners.begin(), corners.end()));
    refresh();
}

void EncoderView::setStepTimeSource(std::function<int()> read) {
    readStepTime = std::move(read);
}

std::vector<QPointF> EncoderView::curveCorners() const {
    std::vector<QPointF> corners;
    double from = shortestStep;
    for (const KX::KXEncoderDynamicPair& row : speedTable) {
        const double increment = std::max(smallestIncrement, double(row.increment) * userFactor / thousandths);
        const double to = std::max(shortestStep, double(row.timeGap));
        corners.emplace_back(from, increment);
        corners.emplace_back(to, increment);
        from = to;
    }
    const double slow = std::max(smallestIncrement, double(userFactor) / thousandths);
    corners.emplace_back(from, slow);
    corners.emplace_back(std::max<double>(2 * from, encoderTrace.longestStepTimeMs()), slow);
    return corners;
}

// The values of the table label the axes.
void EncoderView::setCurveScales() {
    const std::vector<QPointF> corners = curveCorners();
    const double slowest = corners.back().x();
    double largest = 10;
    std::vector<double> increments = {smallestIncrement};
    std::vector<double> times;
    for (const QPointF& corner : corners) {
        largest = std::max(largest, corner.y());
        increments.push_back(corner.y());
        times.push_back(corner.x());
    }
    largest *= 2;
    const double smallest = smallestIncrement * 0.8;
    curvePlot->setAxisScaleDiv(
        QwtPlot::xBottom,
        PlotLook::ticksAt(shortestStep, slowest, readableTicks(times, shortestStep, slowest, 14)));
    curvePlot->setAxisScaleDiv(
        QwtPlot::yLeft, PlotLook::ticksAt(smallest, largest, readableTicks(increments, smallest, largest, 9)));
    curve->setBaseline(smallest);
}

void EncoderView::append(const ClassifiedEvents& events) {
    const auto isMove = [](const KX::KXInputEvent& event) { return event.eventType == KX::ENCODER_MOVE_EVENT; };
    const auto last = std::find_if(events.rbegin(), events.rend(), isMove);
    for (const KX::KXInputEvent& event : events) {
        if (!isMove(event))
            continue;
        const bool isRead = readStepTime && &event == &*last;
        encoderTrace.add(event, isRead ? readStepTime() : encoderTrace.expectedStepTimeMs(event));
    }
    if (last != events.rend())
        scheduleRefresh();
}

void EncoderView::showMove(const KX::KXInputEvent& move, int stepTimeMs) {
    encoderTrace.add(move, stepTimeMs);
    scheduleRefresh();
}

void EncoderView::scheduleRefresh() {
    if (isVisible())
        pace.request();
}

void EncoderView::refresh() {
    pace.noteRefresh();
    showTrail();
    showValues();
    curvePlot->replot();
    valuePlot->replot();
    update();
}

void EncoderView::showTrail() {
    const auto& steps = encoderTrace.steps();
    const std::size_t length = std::min<std::size_t>(steps.size(), trailLength);
    std::vector<QPointF> points;
    for (auto step = steps.end() - static_cast<std::ptrdiff_t>(length); step != steps.end(); ++step)
        points.emplace_back(std::max(shortestStep, double(step->stepTimeMs)), step->increment);
    trailItem->setPoints(std::move(points));
}

// A value holds until the next step, so the curve has corners.
void EncoderView::showValues() {
    QVector<QPointF> samples;
    const auto& steps = encoderTrace.steps();
    double least = 0;
    double largest = 10;
    for (const EncoderTrace::Step& step : steps) {
        const auto x = static_cast<double>(step.time - steps.back().time);
        const auto value = static_cast<double>(step.value);
        if (x < -historyMs)
            continue;
        if (step.beginsTurn && !samples.isEmpty())
            samples.append(QPointF(x, samples.back().y())); // the previous turn's value held until now
        if (step.beginsTurn)
            samples.append(QPointF(x, 0));
        samples.append(QPointF(x, value));
        least = std::min(least, value);
        largest = std::max(largest, value);
    }
    values->setSamples(samples);
    const double room = (largest - least) / 12;
    valuePlot->setAxisScale(QwtPlot::yLeft, least < 0 ? least - room : 0, largest + room,
                            PlotLook::roundStep((largest - least + room) / valueTicks));
    valuePlot->setAxisScale(QwtPlot::xBottom, -historyMs, historyMs / 25.0, historyTickMs);
}

const EncoderTrace& EncoderView::trace() const {
    return encoderTrace;
}

const std::vector<QPointF>& EncoderView::trail() const {
    return trailItem->points();
}

QString EncoderView::stepTimeText() const {
    const auto& steps = encoderTrace.steps();
    return steps.empty() ? QStringLiteral("\u2013") : QStringLiteral("%1 ms").arg(steps.back().stepTimeMs);
}

QString EncoderView::incrementText() const {
    const auto& steps = encoderTrace.steps();
    return steps.empty() ? QStringLiteral("\u2013") : grouped(steps.back().increment);
}

QString EncoderView::valueText() const {
    const auto& steps = encoderTrace.steps();
    return steps.empty() ? QStringLiteral("\u2013") : grouped(steps.back().value);
}

QRect EncoderView::numbersArea() const {
    return {width() - numbersWidth, 10, numbersWidth - 10, height() - 18};
}

void EncoderView::drawHeading(QPainter& painter, const QwtPlot& below, const QString& text) const {
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(12));
    const QRect place(below.x() + 6, 6, below.width() - 6, headingHeight);
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter, text);
}

void EncoderView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    PlotLook::drawPanel(painter, rect());
    drawHeading(painter, *curvePlot, QStringLiteral("Increment by the time of a step [ms]"));
    drawHeading(painter, *valuePlot, QStringLiteral("Value of this turn"));
    const QRect numbers = numbersArea();
    const QSize tile(numbers.width(), numbers.height() / 3);
    const QPoint down(0, tile.height());
    drawNumber(painter, QRect(numbers.topLeft(), tile), QStringLiteral("STEP TIME"), stepTimeText(),
               Theme::text());
    drawNumber(painter, QRect(numbers.topLeft() + down, tile), QStringLiteral("INCREMENT PER STEP"),
               incrementText(), Theme::encoder());
    drawNumber(painter, QRect(numbers.topLeft() + 2 * down, tile), QStringLiteral("VALUE OF THIS TURN"),
               valueText(), Theme::accent());
}

void EncoderView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refresh();
}

void EncoderView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    pace.stop();
}

} // namespace Terminal
