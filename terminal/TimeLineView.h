#pragma once

#include "terminal/EventPump.h"
#include "terminal/KeyTimeLine.h"
#include "terminal/LaneChoice.h"
#include "terminal/RefreshPace.h"

#include <QWidget>

#include <cstddef>
#include <optional>

class QwtPlot;

namespace Terminal {

class KeyLanesItem;
class LaneNamesScale;
class ScreenButton;

/// The time line of keys and mouse buttons: a lane for each, the newest time at the right.
///
/// It follows the newest event until somebody scrolls back, by the buttons, a finger on the picture or the
/// functions here, which are for function keys. While it follows, time is counted back from now; scrolled back
/// it stands still, whatever comes in. Nothing is repainted but for new events and while a key is down.
class TimeLineView : public QWidget {
    Q_OBJECT

public:
    explicit TimeLineView(QWidget* parent = nullptr);

    /// Takes over \p events, oldest first.
    void append(const ClassifiedEvents& events);

    /// How near to each other two presses must be for a double press; drawn with the presses that follow.
    void setDoublePressWindow(unsigned int ms);

    void zoomIn();
    void zoomOut();
    void scrollBack();
    void scrollForward();

    /// Where there is no room for all lanes: shows others.
    void showOtherLanes();

    /// Back to the newest time and the lanes used last.
    void follow();

    bool isFollowing() const;

    /// How much time is shown, in ms.
    KeyTimeLine::Time visibleMs() const;

    /// The time at the right border.
    KeyTimeLine::Time rightmostTime() const;

    const KeyTimeLine& timeLine() const;

    /// Names of the lanes shown, the uppermost first.
    QStringList laneNames() const;

    /// "+3 lanes" and an arrow when there are more lanes than are shown; else empty.
    QString otherLanesText() const;

    /// How many spans and moves the last painting drew.
    int drawnCount() const;

    /// A repaint is due, because something moves.
    bool isTicking() const;

    /// Where time is drawn, in this widget.
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
    int namedHeight = -1;                           ///< of the plot for which the rows were named
    std::optional<KeyTimeLine::Time> heldRightmost; ///< unless it follows
    KeyTimeLine::Time heldReference = 0;
    std::optional<Drag> drag;
    unsigned int tickOfNewest = 0; ///< this machine's, when the newest event came
    int zoomLevel;
};

} // namespace Terminal
