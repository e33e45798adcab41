#include "terminal/encoder/EncoderView.h"

#include "terminal/look/PlotLook.h"
#include "terminal/look/Theme.h"
#include "terminal/settings/InputSettings.h"

#include <QHBoxLayout>
#include <QLocale>
#include <QPainter>

#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_symbol.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Terminal {

namespace {

constexpr int headingHeight = 22;
constexpr int numbersWidth = 164;
constexpr int smallestNumber = 12;
constexpr double valueTicks = 5;
constexpr double historyTickMs = 2000;

std::vector<KX::KXEncoderDynamicPair> defaultTable() {
    std::vector<KX::KXEncoderDynamicPair> table;
    for (std::size_t row = 0; row < std::size(KX::DEFAULT_TIME_GAPS); ++row)
        table.push_back({static_cast<unsigned int>(KX::DEFAULT_TIME_GAPS[row]),
                         static_cast<unsigned int>(KX::DEFAULT_INCREMENTS[row])});
    return table;
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
    curvePlot = new SpeedCurve;
    makeValuePlot();
    row->addWidget(curvePlot, 6);
    row->addWidget(valuePlot, 5);
    setSpeedTable(defaultTable(), SpeedCurve::neutralUserFactor);
}

void EncoderView::makeValuePlot() {
    valuePlot = new QwtPlot;
    PlotLook::dress(*valuePlot);
    PlotLook::addGrid(*valuePlot, true, true);
    valuePlot->setAxisScaleDraw(QwtPlot::xBottom, PlotLook::makeSecondsScale());
    valuePlot->setAxisScaleDraw(QwtPlot::yLeft, PlotLook::makeNumbersScale());
    values = new QwtPlotCurve;
    values->setPen(Theme::accent(), 2);
    values->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, Theme::accent(), Qt::NoPen, QSize(5, 5)));
    values->setRenderHint(QwtPlotItem::RenderAntialiased);
    values->attach(valuePlot);
}

QSize EncoderView::sizeHint() const {
    return {780, 240};
}

void EncoderView::setSpeedTable(const std::vector<KX::KXEncoderDynamicPair>& table, int userFactor) {
    encoderTrace.setSpeedTable(table);
    curvePlot->setSpeedTable(table, userFactor, encoderTrace.longestStepTimeMs());
    refresh();
}

void EncoderView::setStepTimeSource(std::function<int()> read) {
    readStepTime = std::move(read);
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
    curvePlot->setSteps(encoderTrace.steps());
    showValues();
    curvePlot->replot();
    valuePlot->replot();
    update();
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

const std::vector<QPointF>& EncoderView::curveCorners() const {
    return curvePlot->corners();
}

const std::vector<QPointF>& EncoderView::trail() const {
    return curvePlot->trail();
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

void watchEncoder(EncoderView& view, InputSettings& settings) {
    QObject::connect(&settings, &InputSettings::changed, &view, [&view] { showSpeedTable(view); });
    showSpeedTable(view);
    view.setStepTimeSource([] { return KX::KXEncoderDynamic::instance()->getTimeGap(); });
}

void showSpeedTable(EncoderView& view) {
    const KX::KXEncoderDynamic& encoder = *KX::KXEncoderDynamic::instance();
    view.setSpeedTable(encoder.getDynamicParameters(), encoder.getUserFactor());
}

} // namespace Terminal
