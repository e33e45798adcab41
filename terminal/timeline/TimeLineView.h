#pragma once

#include "terminal/look/DisplayPace.h"
#include "terminal/timeline/KeyLanes.h"
#include "terminal/timeline/KeyTimeLine.h"

#include <QWidget>

#include <cstddef>
#include <optional>

class QwtPlot;

namespace Terminal {

class LaneNamesScale;
class TimeLineControls;
class TimeLineLegend;

/// The time line of keys and mouse buttons. Each has a lane; the present time is at the right.
///
/// The view is live until somebody scrolls back with the buttons, with a finger or with the keys. While it is
/// live, time counts back from now. Scrolled back, it stands still. It repaints only for new events and while
/// something moves.
///
/// It is locked at first: the keys that the operator tests do not move it. The key L and a button unlock it.
class TimeLineView : public QWidget {
    Q_OBJECT

public:
    explicit TimeLineView(QWidget* parent = nullptr);

    /// Appends \p events, oldest first.
    void append(const ClassifiedEvents& events);

    /// The limit for a double press. It applies to the presses that follow.
    void setDoublePressWindow(unsigned int ms);

    /// A recording is shown: its time is that of its newest event, and nobody tests keys, so the view is not locked.
    void showRecording();

    /// Handles the operator's input. Call it only while the view is shown.
    void takeInput(const KX::KXInputEvent& event);

    void setLocked(bool locked);
    bool isLocked() const;

    void zoomIn();
    void zoomOut();
    void scrollBack();
    void scrollForward();

    /// Shows other lanes when there is no room for all.
    void showOtherLanes();

    /// Returns to the newest time and the most recently used lanes.
    void follow();

    bool isFollowing() const;

    /// The length of the visible time in ms.
    KeyTimeLine::Time visibleMs() const;

    /// The time at the right border.
    KeyTimeLine::Time rightmostTime() const;

    const KeyTimeLine& timeLine() const;

    /// Names of the visible lanes from top to bottom.
    QStringList laneNames() const;

    /// "+3 lanes" when some lanes are hidden; otherwise empty.
    QString otherLanesText() const;

    /// What the axis calls the time 0: "now" only while it is.
    QString wordForZero() const;

    TimeLineControls& controls() const;
    TimeLineLegend& legend() const;

    /// How many spans and moves the last painting drew.
    int drawnCount() const;

    /// Whether a repaint is due because something moves.
    bool isTicking() const;

    /// The area of the time axis, in this widget.
    QRect timeArea() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct Drag {
        int startX;
        KeyTimeLine::Time startRightmost;
    };

    void connectControls();
    void arrange();
    void placeLegend();
    void moveByKey(const KX::KXInputEvent& event);
    void makePlot();
    KeyTimeLine::Time now() const;
    KeyTimeLine::Time referenceTime() const;
    KeyTimeLine::Time marginMs() const;
    double msPerPixel() const;
    bool isMoving() const;
    void zoomTo(int level);
    void scrollTo(KeyTimeLine::Time rightmost);
    void scheduleRefresh();
    void refresh();
    int refreshIntervalMs() const;
    void chooseRows();
    void nameRows();
    void setTimeScale();

    KeyTimeLine line;
    QwtPlot* plot = nullptr;
    KeyLanesItem* lanes = nullptr;
    LaneNamesScale* names = nullptr;
    TimeLineControls* buttons = nullptr;
    TimeLineLegend* explanation = nullptr;
    RefreshPace pace;
    LaneChoice choice;
    std::size_t lanePage = 0;
    int namedHeight = -1;                           ///< the height of the plot when the rows were named
    std::optional<KeyTimeLine::Time> heldRightmost; ///< empty while the view follows
    KeyTimeLine::Time heldReference = 0;
    std::optional<Drag> drag;
    unsigned int tickOfNewest = 0; ///< of this machine, when the newest event arrived
    bool showsRecording = false;
    bool locked = true;
    int zoomLevel;
};

} // namespace Terminal
