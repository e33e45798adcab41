#pragma once

#include <QWidget>

namespace Terminal {

class ScreenButton;

/// The buttons above the time line.
class TimeLineControls : public QWidget {
    Q_OBJECT

public:
    explicit TimeLineControls(QWidget* parent = nullptr);

    /// While the view is locked, the keys do nothing, so the buttons do not name them.
    void showLocked(bool locked);

    void showLive(bool live);

    /// The button for other lanes, "+3 lanes"; there is none when \p text is empty.
    void showOtherLanes(const QString& text);

    ScreenButton& legendButton() const;
    ScreenButton& lockButton() const;
    ScreenButton& lanesButton() const;
    ScreenButton& liveButton() const;

signals:
    void legendToggled(bool shown);
    void lockToggled(bool locked);
    void otherLanesWanted();
    void zoomedOut();
    void zoomedIn();
    void scrolledBack();
    void scrolledForward();
    void liveWanted();

private:
    ScreenButton* addButton(const QString& label, void (TimeLineControls::*wanted)());
    ScreenButton* addMover(const QString& label, void (TimeLineControls::*wanted)());

    ScreenButton* legend;
    ScreenButton* lock;
    ScreenButton* lanes;
    ScreenButton* live;
};

} // namespace Terminal
