#pragma once

#include "terminal/look/DisplayPace.h"

#include <QWidget>

class QHBoxLayout;
class QLabel;
class QVBoxLayout;

namespace Terminal {

class ActionPanel;
class EncoderView;
class EventModel;
class InputOffBanner;
class InputSettings;
class KeypadPanel;
class OperatorScreen;
class PageArea;
class SoftKeyBar;
enum class Page;

/// The window of the terminal. It shows what \p model holds and does not know where events come from.
///
/// On a small screen the keypad and the actions are pages like the views, and the soft keys leave their room to
/// the pages that need it. On a larger one all of them are always visible.
///
/// Buttons and the keys F10 and F11 turn the pages. F12 goes to the settings and back.
class MainWindow : public QWidget {
    Q_OBJECT

public:
    /// \p model and \p settings must outlive the window.
    MainWindow(EventModel& model, InputSettings& settings);

    /// Covers the whole screen, also where no window manager does it. A small screen has no room for a frame, which is
    /// left out there. Call it before the window is shown.
    void coverScreen();

    /// The centre of a soft key, in window coordinates. \p number counts from 0.
    QPoint softKeyPosition(int number) const;

    /// The centre of a widget in this window, in window coordinates.
    QPoint positionOf(const QWidget& widget) const;

    KeypadPanel& keypad() const;
    ActionPanel& actions() const;
    OperatorScreen& operatorScreen() const;
    SoftKeyBar& softKeyBar() const;
    EncoderView& encoder() const;
    PageArea& pages() const;
    InputOffBanner& inputOffBanner() const;

    /// Shows a page. Has no effect for the keypad and the actions in a large window, where both are always
    /// visible.
    void showPage(Page page);

    /// Whether the window is so small that everything is a page.
    bool hasPages() const;

    /// From now on the events come from a recording and change nothing in the window. Whoever watches can still
    /// turn the pages, see \ref takeReport.
    void beginReplay(const QString& recording);

    /// Makes all views anew, without what they have shown. The page stays. Whoever has connected to the views connects
    /// again.
    void renewViews();

    /// Places a row below the header, or a line of status below everything.
    void addBelowHeader(QWidget* row);
    void addStatus(QWidget* line);

    /// Progress of the replay in percent.
    void showReplayProgress(int percent);

    /// Takes every report of the toolkit layer, because classified events do not tell of all keys: none tells of the
    /// key that switches input on again, and in a replay none tells of any key of the viewer.
    void takeReport(const KX::KXToolkitEvent& event);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* makeHeader();
    void makeViews();
    void makeBanner();
    void arrange();
    void setUnit(int unit);
    void showEvents(const ClassifiedEvents& events);
    void takeInput(const KX::KXInputEvent& event);
    void showCount();

    EventModel& model;
    InputSettings& settings;
    QVBoxLayout* column = nullptr;
    QHBoxLayout* headerRow = nullptr;
    QLabel* name = nullptr;
    QLabel* eventCount = nullptr;
    QLabel* title = nullptr;
    OperatorScreen* screen = nullptr;
    InputOffBanner* banner = nullptr;
    SoftKeyBar* softKeys = nullptr;
    PageArea* area = nullptr;
    QString replayName; // null: live input
    int replayPercent = 0;
    int shownUnit = 0;
};

} // namespace Terminal
