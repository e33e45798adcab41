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
class ScreenButton;

/// The time line of keys and mouse buttons. Each has a lane; the newest time is at the right.
///
/// The view follows the newest event until somebody scrolls back with the buttons, with a finger or through the
/// functions below, which the function keys call. While it follows, time counts back from now. Scrolled back, it
/// stands still. It repaints only for new events and while a key is down.
class TimeLineView : public QWidget {
    Q_OBJECT

public:
    explicit TimeLineView(QWidget* parent = nullptr);

    /// Appends \p events, oldest first.
    void append(const ClassifiedEvents& events);

    /// The limit for a double press. It applies to the presses that follow.
    void setDoublePressWindow(unsigned int ms);

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

    /// "+3 lanes" and an arrow when some lanes are hidden; otherwise empty.
    QString otherLanesText() const;

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

private:
    struct Drag {
        int startX;
        KeyTimeLine::Time startRightmost;
    };

    QRect namesArea() const;
    QWidget* makeHeader();
    ScreenButton* makeButton(const QString& label, void (TimeLineView::*action)());
    void makePlot();
    KeyTimeLine::Time now() const;
    KeyTimeLine::Time referenceTime() const;
    KeyTimeLine::Time marginMs() const;
    double msPerPixel() const;
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
    ScreenButton* nowButton = nullptr;
    RefreshPace pace;
    LaneChoice choice;
    std::size_t lanePage = 0;
    int namedHeight = -1;                           ///< the height of the plot when the rows were named
    std::optional<KeyTimeLine::Time> heldRightmost; ///< empty while the view follows
    KeyTimeLine::Time heldReference = 0;
    std::optional<Drag> drag;
    unsigned int tickOfNewest = 0; ///< of this machine, when the newest event arrived
    int zoomLevel;
};

} // namespace Terminal
