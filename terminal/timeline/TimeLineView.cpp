#include "terminal/timeline/TimeLineView.h"

#include "events/KXEventType.h"
#include "platform/KXTick.h"
#include "terminal/events/EventText.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/PlotLook.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/look/Theme.h"
#include "terminal/timeline/KeyLanes.h"
#include "terminal/timeline/SpanPainter.h"
#include "terminal/timeline/TimeLineControls.h"
#include "terminal/timeline/TimeLineLegend.h"
#include "toolkit/KXToolkitLayer.h"

#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <qwt_plot.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_widget.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace Terminal {

using Time = KeyTimeLine::Time;

namespace {

constexpr Time zoomLevels[] = {500,   1000,   2000,   5000,   10000,   20000,  30000,
                               60000, 120000, 300000, 600000, 1800000, 3600000};
constexpr int levelCount = static_cast<int>(std::size(zoomLevels));
constexpr int firstLevel = 3;
constexpr int rowHeightMost = 56; // these lengths are scaled
constexpr int labelDistance = 90;
constexpr int namesMargin = 8;
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

TimeLineView::TimeLineView(QWidget* parent) : QWidget(parent), pace([this] { refresh(); }), zoomLevel(firstLevel) {
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    KX::KXToolkitLayer::leavePressesTo(*this); // looking at the past must not add events
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 6, 8, 3);
    column->setSpacing(3);
    column->addWidget(buttons = new TimeLineControls);
    makePlot();
    column->addWidget(plot, 1);
    explanation = new TimeLineLegend(this);
    explanation->hide();
    connectControls();
    setLocked(true);
    arrange();
}

void TimeLineView::connectControls() {
    connect(buttons, &TimeLineControls::legendToggled, explanation, &QWidget::setVisible);
    connect(buttons, &TimeLineControls::lockToggled, this, &TimeLineView::setLocked);
    connect(buttons, &TimeLineControls::otherLanesWanted, this, &TimeLineView::showOtherLanes);
    connect(buttons, &TimeLineControls::zoomedOut, this, &TimeLineView::zoomOut);
    connect(buttons, &TimeLineControls::zoomedIn, this, &TimeLineView::zoomIn);
    connect(buttons, &TimeLineControls::scrolledBack, this, &TimeLineView::scrollBack);
    connect(buttons, &TimeLineControls::scrolledForward, this, &TimeLineView::scrollForward);
    connect(buttons, &TimeLineControls::liveWanted, this, &TimeLineView::follow);
}

void TimeLineView::makePlot() {
    plot = new QwtPlot;
    PlotLook::dress(*plot);
    PlotLook::addGrid(*plot, true, false);
    plot->setAxisScaleDraw(QwtPlot::xBottom, PlotLook::makeSecondsScale([this] { return wordForZero(); }));
    plot->setAxisScaleDraw(QwtPlot::yLeft, names = new LaneNamesScale);
    lanes = new KeyLanesItem(line);
    lanes->attach(plot); // the plot owns it now
    plot->canvas()->installEventFilter(this);
}

QSize TimeLineView::sizeHint() const {
    return {600, 200};
}

void TimeLineView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        arrange();
}

void TimeLineView::arrange() {
    const Sizes sizes = Sizes::of(*this);
    PlotLook::setTextSize(*plot, sizes.text());
    names->setMinimumExtent(
        QFontMetrics(Theme::font(sizes.text())).horizontalAdvance(QStringLiteral("Right button")) +
        sizes.scaled(namesMargin));
    lanes->setSizes(sizes);
    namedHeight = -1;
    placeLegend();
    refresh();
}

void TimeLineView::placeLegend() {
    explanation->resize(explanation->sizeHint());
    explanation->move(timeArea().topLeft() + QPoint(4, 4));
    explanation->raise();
}

void TimeLineView::showRecording() {
    showsRecording = true;
    setLocked(false);
}

void TimeLineView::setLocked(bool lock) {
    locked = lock;
    buttons->showLocked(locked);
}

bool TimeLineView::isLocked() const {
    return locked;
}

void TimeLineView::takeInput(const KX::KXInputEvent& event) {
    if (KeyCodes::isPress(event) && event.osKeyCode == Qt::Key_L)
        setLocked(!locked);
    else if (KeyCodes::isPress(event) && event.osKeyCode == Qt::Key_Question)
        buttons->legendButton().toggle();
    else if (!locked)
        moveByKey(event);
}

void TimeLineView::moveByKey(const KX::KXInputEvent& event) {
    if (event.eventType == KX::ENCODER_MOVE_EVENT) {
        // One level per event, however fast the turn: there are few levels.
        event.keyCode == KX::KX_KEY_UP ? zoomIn() : zoomOut();
    } else if (KeyCodes::isPress(event)) {
        // Home does the same as PgUp, because a keypad has only Home and End.
        if (event.keyCode == KX::KX_KEY_HOME || event.osKeyCode == Qt::Key_PageUp)
            scrollBack();
        else if (event.osKeyCode == Qt::Key_PageDown)
            scrollForward();
        else if (event.keyCode == KX::KX_KEY_END)
            follow();
        else if (event.keyCode == KX::KX_KEY_TAB)
            showOtherLanes();
    }
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

// Events of this machine have its ticks. A recording has others, and its time advances only while a key is down.
Time TimeLineView::now() const {
    if (line.isEmpty())
        return line.newest();
    const unsigned int tick = KX::KXTick::getTickCount();
    if (showsRecording)
        return line.newest() + (line.isAnyKeyDown() ? Time(tick - tickOfNewest) : 0);
    return line.newest() + std::max<Time>(0, static_cast<std::int32_t>(tick - line.tickAt(line.newest())));
}

QString TimeLineView::wordForZero() const {
    if (heldRightmost)
        return QStringLiteral("stopped");
    return showsRecording ? QStringLiteral("newest") : QStringLiteral("now");
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

TimeLineControls& TimeLineView::controls() const {
    return *buttons;
}

TimeLineLegend& TimeLineView::legend() const {
    return *explanation;
}

QStringList TimeLineView::laneNames() const {
    return names->names;
}

QString TimeLineView::otherLanesText() const {
    const std::size_t others = choice.laneCount() - choice.rows().size();
    return others == 0 ? QString() : QStringLiteral("+%1 %2").arg(others).arg(others == 1 ? "lane" : "lanes");
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
    buttons->showLive(isFollowing());
    plot->replot();
    if (isVisible() && isMoving())
        pace.requestIn(refreshIntervalMs());
}

// A key that is down grows. While the view is live, everything moves until the last of it has left.
bool TimeLineView::isMoving() const {
    if (line.isAnyKeyDown())
        return now() < rightmostTime();
    return !showsRecording && isFollowing() && !line.isEmpty() && line.newest() >= rightmostTime() - visibleMs();
}

// A shift of less than a pixel is not visible.
int TimeLineView::refreshIntervalMs() const {
    if (now() - line.newest() >= jammedAfterMs)
        return jammedIntervalMs;
    return std::clamp(static_cast<int>(msPerPixel()), RefreshPace::shortestIntervalMs, jammedIntervalMs);
}

void TimeLineView::chooseRows() {
    const Time last = rightmostTime();
    const int room = std::max(1, timeArea().height() / SpanPainter::leastRowHeight(Sizes::of(*this)));
    choice.choose(line, {last - visibleMs(), last, static_cast<std::size_t>(room)}, lanePage);
}

void TimeLineView::nameRows() {
    const int height = timeArea().height();
    buttons->showOtherLanes(otherLanesText());
    if (choice.rows() == lanes->rows() && height == namedHeight)
        return;
    namedHeight = height;
    QStringList shown;
    std::vector<double> middles;
    for (const LaneChoice::Row& row : choice.rows()) {
        middles.push_back(static_cast<double>(middles.size()) + 0.5);
        shown << (row ? EventText::key(line.lanes().at(*row).namesake) : QStringLiteral("Encoder"));
    }
    names->setNames(shown);
    const int rowsLeast = std::max(1, height / Sizes::of(*this).scaled(rowHeightMost));
    const int rowsShown = std::max(rowsLeast, static_cast<int>(middles.size()));
    plot->setAxisScaleDiv(QwtPlot::yLeft, PlotLook::ticksAt(rowsShown, 0, middles));
}

void TimeLineView::setTimeScale() {
    const auto right = static_cast<double>(rightmostTime() - referenceTime());
    const double left = right - static_cast<double>(visibleMs());
    const double step = PlotLook::roundStep(msPerPixel() * Sizes::of(*this).scaled(labelDistance));
    std::vector<double> ticks;
    for (double tick = std::ceil(left / step) * step; tick <= right; tick += step)
        ticks.push_back(tick);
    plot->setAxisScaleDiv(QwtPlot::xBottom, PlotLook::ticksAt(left, right, ticks));
}

void TimeLineView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    PlotLook::drawPanel(painter, rect());
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
    if (watched == plot->canvas() && event->type() == QEvent::Resize) {
        placeLegend();
        refresh();
    }
    return QWidget::eventFilter(watched, event);
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

} // namespace Terminal
