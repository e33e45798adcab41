#include "terminal/timeline/TimeLineView.h"

#include "platform/KXTick.h"
#include "terminal/events/EventText.h"
#include "terminal/look/PlotLook.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Theme.h"
#include "terminal/timeline/KeyLanes.h"
#include "terminal/timeline/TimeLineMarks.h"
#include "toolkit/KXToolkitLayer.h"

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

namespace Terminal {

using Time = KeyTimeLine::Time;

namespace {

constexpr Time zoomLevels[] = {500,   1000,   2000,   5000,   10000,   20000,  30000,
                               60000, 120000, 300000, 600000, 1800000, 3600000};
constexpr int levelCount = static_cast<int>(std::size(zoomLevels));
constexpr int firstLevel = 3;
constexpr int namesWidth = 104;
constexpr int rowHeightMost = 44;
constexpr int labelDistance = 76;
constexpr int buttonHeight = 44;
constexpr int buttonRepeatMs = 150;
constexpr int dragDistance = 8;       // a finger never rests completely
constexpr Time jammedAfterMs = 60000; // nobody holds a key that long or watches each pixel of it
constexpr int jammedIntervalMs = 1000;

} // namespace

/// The names of the lanes, each beside the centre of its row.
class LaneNamesScale : public QwtScaleDraw {
public:
    LaneNamesScale() {
        enableComponent(Backbone, false);
        enableComponent(Ticks, false);
        setMinimumExtent(namesWidth);
        setSpacing(6);
    }

    QwtText label(double middle) const override {
        const int row = static_cast<int>(middle);
        QwtText text(row < names.size() ? names[row] : others);
        text.setColor(row < names.size() ? Theme::text() : Theme::accent());
        return text;
    }

    /// \p more appears below the names unless it is empty.
    void setNames(const QStringList& shown, const QString& more) {
        names = shown;
        others = more;
        invalidateCache();
    }

    QString others;
    QStringList names;
};

TimeLineView::TimeLineView(QWidget* parent) : QWidget(parent), pace([this] { refresh(); }), zoomLevel(firstLevel) {
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    KX::KXToolkitLayer::leavePressesTo(*this); // looking at the past must not add events
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(10, 6, 10, 3);
    column->setSpacing(3);
    column->addWidget(makeHeader());
    makePlot();
    column->addWidget(plot, 1);
    refresh();
}

QWidget* TimeLineView::makeHeader() {
    auto* header = new QWidget;
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(new TimeLineLegend);
    row->addStretch(1);
    row->addWidget(makeButton(QStringLiteral("\u2212\tDown"), &TimeLineView::zoomOut));
    row->addWidget(makeButton(QStringLiteral("+\tUp"), &TimeLineView::zoomIn));
    row->addSpacing(8);
    row->addWidget(makeButton(QStringLiteral("\u25c0\tPgUp"), &TimeLineView::scrollBack));
    row->addWidget(makeButton(QStringLiteral("\u25b6\tPgDn"), &TimeLineView::scrollForward));
    row->addWidget(nowButton = makeButton(QStringLiteral("Now\tEnd"), &TimeLineView::follow));
    nowButton->setCheckable(true);
    return header;
}

ScreenButton* TimeLineView::makeButton(const QString& label, void (TimeLineView::*action)()) {
    auto* button = new ScreenButton(label);
    button->setFixedSize(60, buttonHeight);
    button->setKeyBelow(true);
    button->setTextSize(16);
    button->setAutoRepeat(true);
    button->setAutoRepeatInterval(buttonRepeatMs);
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
    lanes->attach(plot); // the plot owns it now
    plot->canvas()->installEventFilter(this);
}

QSize TimeLineView::sizeHint() const {
    return {780, 240};
}

void TimeLineView::append(const ClassifiedEvents& events) {
    const bool timeGoesOn = line.isAnyKeyDown();
    const Time newestBefore = line.newest();
    for (const KX::KXInputEvent& event : events)
        line.append(event);
    if (!timeGoesOn || line.newest() != newestBefore)
        tickOfNewest = KX::KXTick::getTickCount();
    scheduleRefresh();
}

void TimeLineView::setDoublePressWindow(unsigned int ms) {
    line.setDoublePressWindow(ms);
}

// Time advances only while a key is down. It counts from the newest event, which may come from a recording and
// then has another tick than this machine.
Time TimeLineView::now() const {
    return line.newest() + (line.isAnyKeyDown() ? Time(KX::KXTick::getTickCount() - tickOfNewest) : 0);
}

Time TimeLineView::referenceTime() const {
    return heldRightmost ? heldReference : now();
}

Time TimeLineView::visibleMs() const {
    return zoomLevels[zoomLevel];
}

// Room for the marks of the newest event.
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

// Keeps the middle in place, or the newest time at the right.
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

void TimeLineView::showOtherLanes() {
    lanePage = (lanePage + 1) % choice.pageCount();
    refresh();
}

void TimeLineView::follow() {
    heldRightmost.reset();
    lanePage = 0;
    refresh();
}

bool TimeLineView::isFollowing() const {
    return !heldRightmost;
}

void TimeLineView::scrollTo(Time rightmost) {
    const Time earliest = line.oldest() + visibleMs() / 10; // there is nothing to see before
    const Time latest = now() + marginMs();
    if (std::max(rightmost, earliest) >= latest) {
        heldRightmost.reset();
    } else {
        heldReference = referenceTime();
        heldRightmost = std::max(rightmost, earliest);
    }
    refresh();
}

const KeyTimeLine& TimeLineView::timeLine() const {
    return line;
}

QStringList TimeLineView::laneNames() const {
    return names->names;
}

QString TimeLineView::otherLanesText() const {
    const std::size_t others = choice.laneCount() - choice.rows().size();
    return others == 0 ? QString()
                       : QStringLiteral("+%1 %2 \u25b8 Tab").arg(others).arg(others == 1 ? "lane" : "lanes");
}

int TimeLineView::drawnCount() const {
    return lanes->drawnCount();
}

bool TimeLineView::isTicking() const {
    return pace.isPending();
}

void TimeLineView::scheduleRefresh() {
    if (isVisible())
        pace.request();
}

void TimeLineView::refresh() {
    pace.noteRefresh();
    chooseRows();
    nameRows();
    setTimeScale();
    lanes->setRows(choice.rows());
    lanes->setTime(referenceTime(), now());
    nowButton->setChecked(isFollowing());
    plot->replot();
    update();
    if (isVisible() && line.isAnyKeyDown() && now() < rightmostTime())
        pace.requestIn(refreshIntervalMs());
}

// A shift of less than a pixel is not visible.
int TimeLineView::refreshIntervalMs() const {
    if (now() - line.newest() >= jammedAfterMs)
        return jammedIntervalMs;
    return std::clamp(static_cast<int>(msPerPixel()), RefreshPace::shortestIntervalMs, jammedIntervalMs);
}

void TimeLineView::chooseRows() {
    const Time last = rightmostTime();
    const int room = std::max(1, timeArea().height() / KeyLanesItem::rowHeightLeast);
    choice.choose(line, {last - visibleMs(), last, static_cast<std::size_t>(room)}, lanePage);
}

void TimeLineView::nameRows() {
    const int height = timeArea().height();
    const QString others = otherLanesText();
    if (choice.rows() == lanes->rows() && height == namedHeight && others == names->others)
        return;
    namedHeight = height;
    QStringList shown;
    std::vector<double> middles;
    for (const LaneChoice::Row& row : choice.rows()) {
        middles.push_back(static_cast<double>(middles.size()) + 0.5);
        shown << (row ? EventText::key(line.lanes().at(*row).namesake) : QStringLiteral("Encoder"));
    }
    if (!others.isEmpty())
        middles.push_back(shown.size() + 0.5);
    names->setNames(shown, others);
    const int rowsLeast = std::max(1, height / rowHeightMost);
    const int rowsShown = std::max(rowsLeast, static_cast<int>(middles.size()));
    plot->setAxisScaleDiv(QwtPlot::yLeft, PlotLook::ticksAt(rowsShown, 0, middles));
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

QRect TimeLineView::namesArea() const {
    const QRect area = timeArea();
    return {0, area.top(), area.left(), height() - area.top()};
}

void TimeLineView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    PlotLook::drawPanel(painter, rect());
    if (line.isEmpty())
        return;
    const QRect area = timeArea();
    const QRect corner(6, area.bottom() + 1, area.left() - 12, height() - area.bottom() - 4);
    painter.setFont(Theme::font(10));
    painter.setPen(Theme::quietText());
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

// The canvas gets its size last, after the axes.
bool TimeLineView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == plot->canvas() && event->type() == QEvent::Resize)
        refresh();
    return QWidget::eventFilter(watched, event);
}

void TimeLineView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && timeArea().contains(event->pos()))
        drag = Drag{event->x(), rightmostTime()};
    else if (event->button() == Qt::LeftButton && namesArea().contains(event->pos()))
        showOtherLanes();
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

} // namespace Terminal
