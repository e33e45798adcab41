#include "terminal/encoder/EncoderView.h"

#include "terminal/events/EventText.h"
#include "terminal/look/PlotLook.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"
#include "terminal/settings/InputSettings.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>

#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_scale_div.h>
#include <qwt_symbol.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Terminal {

namespace {

constexpr int numbersWidth = 170; // these lengths are scaled
constexpr int timeLabelDistance = 70;
constexpr int valueLabelDistance = 34;
constexpr double shortestTurnMs = 400; // a turn of one step has no length
constexpr double smallestValue = 10;

std::vector<KX::KXEncoderDynamicPair> defaultTable() {
    std::vector<KX::KXEncoderDynamicPair> table;
    for (std::size_t row = 0; row < std::size(KX::DEFAULT_TIME_GAPS); ++row)
        table.push_back({static_cast<unsigned int>(KX::DEFAULT_TIME_GAPS[row]),
                         static_cast<unsigned int>(KX::DEFAULT_INCREMENTS[row])});
    return table;
}

QString dash() {
    return QStringLiteral("\u2013");
}

struct Number {
    QString title;
    QString number;
    QString note;
    QColor colour;
};

void drawNumber(QPainter& painter, const QRect& area, const Sizes& sizes, const Number& number) {
    const QFont small = Theme::font(sizes.text());
    const int line = QFontMetrics(small).height();
    painter.setPen(Theme::quietText());
    painter.setFont(small);
    painter.drawText(area, Qt::AlignLeft | Qt::AlignTop, number.title);
    painter.setPen(number.colour);
    painter.setFont(Theme::fittedFont(number.number, area.width(), sizes.gesture(), sizes.text()));
    const int height = painter.fontMetrics().height();
    painter.drawText(QRect(area.left(), area.top() + line, area.width(), height), Qt::AlignLeft | Qt::AlignVCenter,
                     number.number);
    painter.setPen(Theme::quietText());
    painter.setFont(small);
    painter.drawText(QRect(area.left(), area.top() + line + height, area.width(), line),
                     Qt::AlignLeft | Qt::AlignVCenter, number.note);
}

} // namespace

EncoderView::EncoderView(QWidget* parent) : QWidget(parent), pace([this] { refresh(); }) {
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    auto* row = new QHBoxLayout(this);
    row->setSpacing(14);
    curvePlot = new SpeedCurve;
    makeValuePlot();
    row->addWidget(curvePlot, 6);
    row->addWidget(valuePlot, 5);
    arrange();
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
    return {600, 200};
}

void EncoderView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        arrange();
}

void EncoderView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange();
}

int EncoderView::headingHeight() const {
    return Sizes::of(*this).scaled(28);
}

void EncoderView::arrange() {
    const Sizes sizes = Sizes::of(*this);
    layout()->setContentsMargins(sizes.spacing(), headingHeight(),
                                 sizes.scaled(numbersWidth) + 2 * sizes.spacing(), 4);
    PlotLook::setTextSize(*valuePlot, sizes.text());
    curvePlot->setSizes(sizes);
    refresh();
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
    showTurn();
    curvePlot->replot();
    valuePlot->replot();
    update();
}

// A value holds until the next step, so the curve has corners.
void EncoderView::showTurn() {
    const auto& steps = encoderTrace.steps();
    const auto begin = encoderTrace.turnBegin();
    QVector<QPointF> samples;
    double least = 0;
    double greatest = 0;
    for (auto step = begin; step != steps.end(); ++step) {
        const auto value = static_cast<double>(step->value);
        if (samples.isEmpty() && step->beginsTurn)
            samples.append(QPointF(0, 0));
        samples.append(QPointF(static_cast<double>(step->time - begin->time), value));
        least = std::min(least, value);
        greatest = std::max(greatest, value);
    }
    values->setSamples(samples);
    scaleTurn(samples.isEmpty() ? 0 : samples.back().x(), least, greatest);
}

void EncoderView::scaleTurn(double turnMs, double least, double greatest) {
    const Sizes sizes = Sizes::of(*this);
    const double length = std::max(turnMs, shortestTurnMs);
    const double height = std::max(greatest - least, smallestValue);
    const double room = height / 12;
    const double top = greatest > 0 || least == 0 ? std::max(greatest, least + height) + room : room;
    const double bottom = least < 0 ? std::min(least, greatest - height) - room : -room / 2;
    const double timeLabels = std::max(1, valuePlot->width() / sizes.scaled(timeLabelDistance));
    const double valueLabels = std::max(1, valuePlot->height() / sizes.scaled(valueLabelDistance));
    valuePlot->setAxisScale(QwtPlot::yLeft, bottom, top, PlotLook::roundStep(height / valueLabels));
    valuePlot->setAxisScale(QwtPlot::xBottom, 0, length * 1.05, PlotLook::roundStep(length / timeLabels));
}

QPointF EncoderView::turnAxis() const {
    const QwtScaleDiv& axis = valuePlot->axisScaleDiv(QwtPlot::xBottom);
    return {axis.lowerBound(), axis.upperBound()};
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

QString EncoderView::eventText() const {
    const auto& steps = encoderTrace.steps();
    return steps.empty() ? dash() : EventText::signedNumber(steps.back().added);
}

QString EncoderView::stepText() const {
    const auto& steps = encoderTrace.steps();
    return steps.empty() ? dash() : EventText::grouped(steps.back().increment);
}

QString EncoderView::stepTimeText() const {
    const auto& steps = encoderTrace.steps();
    return steps.empty() ? dash() : QStringLiteral("%1 ms").arg(steps.back().stepTimeMs);
}

QString EncoderView::turnText() const {
    const auto& steps = encoderTrace.steps();
    return steps.empty() ? dash() : EventText::signedNumber(steps.back().value);
}

QRect EncoderView::numbersArea() const {
    const Sizes sizes = Sizes::of(*this);
    const int numbers = sizes.scaled(numbersWidth);
    return {width() - numbers - sizes.spacing(), sizes.scaled(6), numbers, height() - sizes.scaled(8)};
}

void EncoderView::drawHeading(QPainter& painter, const QwtPlot& below, const QString& text) const {
    painter.setPen(Theme::quietText());
    painter.setFont(Theme::font(Sizes::of(*this).text()));
    const QRect place(below.x() + 4, 2, below.width(), headingHeight() - 2);
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter, text);
}

void EncoderView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    PlotLook::drawPanel(painter, rect());
    drawHeading(painter, *curvePlot, QStringLiteral("Increment by step time [ms]"));
    drawHeading(painter, *valuePlot, QStringLiteral("Value of the whole turn"));
    const auto& steps = encoderTrace.steps();
    const int count = steps.empty() ? 0 : steps.back().steps;
    const QString ofSteps = count == 1 ? QStringLiteral("1 step") : QStringLiteral("%1 steps").arg(count);
    const Number numbers[] = {
        {QStringLiteral("This event"), eventText(), steps.empty() ? QString() : ofSteps, Theme::text()},
        {QStringLiteral("This step"), stepText(),
         steps.empty() ? QString() : QStringLiteral("in ") + stepTimeText(), Theme::encoder()},
        {QStringLiteral("Whole turn"), turnText(), QString(), Theme::accent()},
    };
    const QRect area = numbersArea();
    const int rows = static_cast<int>(std::size(numbers));
    for (int row = 0; row < rows; ++row)
        drawNumber(painter,
                   QRect(area.left(), area.top() + row * area.height() / rows, area.width(), area.height() / rows),
                   Sizes::of(*this), numbers[row]);
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
