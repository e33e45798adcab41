#include "terminal/TimeLineView.h"

#include "platform/KXTick.h"
#include "terminal/DisplayPace.h"
#include "terminal/EventText.h"
#include "terminal/PlotLook.h"
#include "terminal/ScreenButton.h"
#include "terminal/SeparateDevice.h"
#include "terminal/Theme.h"
#include "terminal/TimeLineLegend.h"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <qwt_plot.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_widget.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>

using Time = KeyTimeLine::Time;

namespace {

constexpr Time zoomLevels[] = {500,   1000,   2000,   5000,   10000,   20000,  30000,
                               60000, 120000, 300000, 600000, 1800000, 3600000};
constexpr int levelCount = static_cast<int>(std::size(zoomLevels));
constexpr int firstLevel = 3;
constexpr int namesWidth = 104;
constexpr int rowHeightMost = 44;
constexpr int labelDistance = 76;
constexpr int buttonHeight = 42;
constexpr int dragDistance = 8;       // a finger is never quite still
constexpr Time jammedAfterMs = 60000; // nobody holds a key that long, and nobody watches each pixel of it
constexpr int jammedIntervalMs = 1000;

} // namespace

/// The names of the lanes, each beside the middle of its row.
class LaneNamesScale : public QwtScaleDraw {
public:
    LaneNamesScale() {
        enableComponent(Backbone, false);
        enableComponent(Ticks, false);
        setMinimumExtent(namesWidth);
        setSpacing(6);
    }

    QwtText label(double middle) const override {
        QwtText text(names.value(static_cast<int>(middle)));
        text.setColor(Theme::text());
        return text;
    }

    void setNames(const QStringList& shown) {
        names = shown;
        invalidateCache();
    }

    QStringList names;
};

TimeLineView::TimeLineView(QWidget* parent) : QWidget(parent), zoomLevel(firstLevel) {
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    SeparateDevice::takesPresses(*this); // looking at what happened must not add to it
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(10, 6, 10, 4);
    column->setSpacing(4);
    column->addWidget(makeHeader());
    makePlot();
    column->addWidget(plot, 1);
    pace.setSingleShot(true);
    connect(&pace, &QTimer::timeout, this, &TimeLineView::refresh);
    refresh();
}

QWidget* TimeLineView::makeHeader() {
    auto* header = new QWidget;
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(new TimeLineLegend);
    row->addStretch(1);
    row->addWidget(makeButton(QStringLiteral("\u2212"), &TimeLineView::zoomOut));
    row->addWidget(makeButton(QStringLiteral("+"), &TimeLineView::zoomIn));
    row->addSpacing(8);
    row->addWidget(makeButton(QStringLiteral("\u25c0"), &TimeLineView::scrollBack));
    row->addWidget(makeButton(QStringLiteral("\u25b6"), &TimeLineView::scrollForward));
    row->addWidget(nowButton = makeButton(QStringLiteral("Now"), &TimeLineView::follow));
    nowButton->setCheckable(true);
    return header;
}

ScreenButton* TimeLineView::makeButton(const QString& label, void (TimeLineView::*action)()) {
    auto* button = new ScreenButton(label);
    button->setFixedSize(label.size() > 1 ? 64 : 52, buttonHeight);
    connect(button, &QAbstractButton::clicked, this, action);
    return button;
}

void TimeLineView::makePlot() {
    plot = new QwtPlot;
    PlotLook::dress(*plot);
    PlotLook::addGrid(*plot, true, false);
    plot->setAxisScaleDraw(QwtPlot::xBottom, PlotLook::makeSecondsScale());
    plot->setAxisScaleDraw(QwtPlot::yLeft, names = new LaneNamesScale);
    plot->setAxisFont(QwtPlot::yLeft, Theme::font(12));
    lanes = new KeyLanesItem(line);
    lanes->attach(plot); // which owns it now
}

QSize TimeLineView::sizeHint() const {
    return {780, 240};
}

void TimeLineView::append(const ClassifiedEvents& events) {
    for (const KX::KXInputEvent& event : events)
        line.append(event);
    tickOfAppend = KX::KXTick::getTickCount();
    scheduleRefresh();
}

void TimeLineView::setDoublePressWindow(unsigned int ms) {
    line.setDoublePressWindow(ms);
}

// Time goes on only while a key is down. It is counted from the newest event, which need not bear this
// machine's tick when it comes from a recording.
Time TimeLineView::now() const {
    return line.newest() + (line.isAnyKeyDown() ? Time(KX::KXTick::getTickCount() - tickOfAppend) : 0);
}

Time TimeLineView::referenceTime() const {
    return heldRightmost ? heldReference : now();
}

Time TimeLineView::visibleMs() const {
    return zoomLevels[zoomLevel];
}

// Room for what belongs to the newest event.
Time TimeLineView::marginMs() const {
    return visibleMs() / 25;
}

Time TimeLineView::rightmostTime() const {
    return heldRightmost ? *heldRightmost : now() + marginMs();
}

double TimeLineView::msPerPixel() const {
    return static_cast<double>(visibleMs()) / std::max(1, timeArea().width());
}

QRect TimeLineView::timeArea() const {
    const QWidget& canvas = *plot->canvas();
    return {canvas.mapTo(this, QPoint(0, 0)), canvas.size()};
}

void TimeLineView::zoomIn() {
    zoomTo(zoomLevel - 1);
}

void TimeLineView::zoomOut() {
    zoomTo(zoomLevel + 1);
}

// What is in the middle stays there, or the newest time at the right.
void TimeLineView::zoomTo(int level) {
    const Time middle = rightmostTime() - visibleMs() / 2;
    zoomLevel = std::clamp(level, 0, levelCount - 1);
    if (heldRightmost)
        scrollTo(middle + visibleMs() / 2);
    refresh();
}

void TimeLineView::scrollBack() {
    scrollTo(rightmostTime() - visibleMs() / 2);
}

void TimeLineView::scrollForward() {
    scrollTo(rightmostTime() + visibleMs() / 2);
}

void TimeLineView::follow() {
    heldRightmost.reset();
    refresh();
}

bool TimeLineView::isFollowing() const {
    return !heldRightmost;
}

void TimeLineView::scrollTo(Time rightmost) {
    if (rightmost >= now() + marginMs())
        return follow();
    heldReference = referenceTime();
    heldRightmost = std::max(rightmost, line.oldest() + visibleMs() / 10);
    refresh();
}

const KeyTimeLine& TimeLineView::timeLine() const {
    return line;
}

QStringList TimeLineView::laneNames() const {
    return names->names;
}

int TimeLineView::drawnCount() const {
    return lanes->drawnCount();
}

bool TimeLineView::isTicking() const {
    return pace.isActive();
}

void TimeLineView::scheduleRefresh() {
    if (!isVisible() || pace.isActive())
        return;
    const qint64 elapsedMs = sinceRefresh.isValid() ? sinceRefresh.elapsed() : DisplayPace::shortestIntervalMs;
    if (elapsedMs >= DisplayPace::shortestIntervalMs)
        refresh();
    else
        pace.start(DisplayPace::shortestIntervalMs - static_cast<int>(elapsedMs));
}

void TimeLineView::refresh() {
    sinceRefresh.start();
    chooseRows(rowRoom());
    nameRows();
    setTimeScale();
    lanes->setRows(rows);
    lanes->setTime(referenceTime(), now());
    nowButton->setChecked(isFollowing());
    plot->replot();
    update();
    if (isVisible() && line.isAnyKeyDown() && now() < rightmostTime())
        pace.start(refreshIntervalMs());
}

// Faster than a pixel at a time nothing is seen.
int TimeLineView::refreshIntervalMs() const {
    if (now() - line.newest() >= jammedAfterMs)
        return jammedIntervalMs;
    return std::clamp(static_cast<int>(msPerPixel()), DisplayPace::shortestIntervalMs, jammedIntervalMs);
}

int TimeLineView::rowRoom() const {
    return std::max(1, timeArea().height() / KeyLanesItem::rowHeightLeast);
}

// The lanes in use: those with something in the picture first, then those used last. They stand in the order in
// which they were first used, so that none moves as long as there is room for all.
void TimeLineView::chooseRows(int room) {
    const Time last = rightmostTime();
    const Time first = last - visibleMs();
    candidates.clear();
    for (const auto& [key, lane] : line.lanes()) {
        const auto span = KeyTimeLine::firstSpanEndingAt(lane, first);
        const bool isVisibleNow = span != lane.spans.end() && span->start <= last;
        candidates.push_back({key, isVisibleNow, lane.spans.back().end, lane.number + 1});
    }
    if (!line.moves().empty())
        candidates.push_back({std::nullopt, true, line.moves().back().time, 0});
    hiddenLanes = std::max(0, static_cast<int>(candidates.size()) - room);
    const auto end = candidates.end() - hiddenLanes;
    std::nth_element(candidates.begin(), end, candidates.end(), [](const Candidate& one, const Candidate& other) {
        if (one.isVisible != other.isVisible)
            return one.isVisible;
        return one.lastActivity > other.lastActivity;
    });
    std::sort(candidates.begin(), end,
              [](const Candidate& one, const Candidate& other) { return one.number < other.number; });
    rows.clear();
    std::transform(candidates.begin(), end, std::back_inserter(rows),
                   [](const Candidate& lane) { return lane.row; });
}

void TimeLineView::nameRows() {
    if (rows == lanes->rows() && names->names.size() == static_cast<int>(rows.size()) &&
        plot->axisScaleDiv(QwtPlot::yLeft).ticks(QwtScaleDiv::MajorTick).size() == names->names.size())
        return;
    QStringList shown;
    std::vector<double> middles;
    for (const KeyLanesItem::Row& row : rows) {
        middles.push_back(static_cast<double>(middles.size()) + 0.5);
        const auto lane = row ? line.lanes().find(*row) : line.lanes().end();
        shown << (row ? EventText::key(lane->second.namesake) : QStringLiteral("Encoder"));
    }
    names->setNames(shown);
    const int rowsShown = std::max(static_cast<int>(rows.size()), timeArea().height() / rowHeightMost);
    plot->setAxisScaleDiv(QwtPlot::yLeft, PlotLook::ticksAt(std::max(1, rowsShown), 0, middles));
}

void TimeLineView::setTimeScale() {
    const auto right = static_cast<double>(rightmostTime() - referenceTime());
    const double left = right - static_cast<double>(visibleMs());
    const double step = PlotLook::roundStep(msPerPixel() * labelDistance);
    std::vector<double> ticks;
    for (double tick = std::ceil(left / step) * step; tick <= right; tick += step)
        ticks.push_back(tick);
    plot->setAxisScaleDiv(QwtPlot::xBottom, PlotLook::ticksAt(left, right, ticks));
}

void TimeLineView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    PlotLook::drawPanel(painter, rect());
    painter.setFont(Theme::font(10));
    painter.setPen(Theme::quietText());
    const QRect area = timeArea();
    const QRect corner(10, area.bottom() + 1, area.left() - 16, height() - area.bottom() - 4);
    if (!line.isEmpty())
        painter.drawText(corner, Qt::AlignRight | Qt::AlignVCenter,
                         QStringLiteral("0 s = %1 ms").arg(line.tickAt(referenceTime())));
}

void TimeLineView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refresh();
}

void TimeLineView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    pace.stop();
}

void TimeLineView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    refresh();
}

void TimeLineView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && timeArea().contains(event->pos()))
        drag = Drag{event->x(), rightmostTime()};
}

void TimeLineView::mouseMoveEvent(QMouseEvent* event) {
    if (!drag)
        return;
    const int distance = event->x() - drag->startX;
    if (isFollowing() && std::abs(distance) < dragDistance)
        return;
    scrollTo(drag->startRightmost - static_cast<Time>(distance * msPerPixel()));
}

void TimeLineView::mouseReleaseEvent(QMouseEvent* /*event*/) {
    drag.reset();
}
