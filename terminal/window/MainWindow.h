#pragma once

#include "terminal/look/DisplayPace.h"

#include <QWidget>

class QHBoxLayout;
class QLabel;

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
/// On a small screen the keypad and the actions are pages like the views; on a larger one they are always visible.
/// Buttons and the keys F10 and F11 turn the pages. F12 goes to the settings and back.
class MainWindow : public QWidget {
    Q_OBJECT

public:
    /// \p model and \p settings must outlive the window.
    MainWindow(EventModel& model, InputSettings& settings);

    /// The centre of a soft key, in window coordinates. \p number counts from 0.
    QPoint softKeyPosition(int number) const;

    /// The centre of a widget in this window, in window coordinates.
    QPoint positionOf(const QWidget& widget) const;

    KeypadPanel& keypad() const;
    ActionPanel& actions() const;
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
    void beginReplay(const QString& name);

    /// Progress of the replay in percent.
    void showReplayProgress(int percent);

    /// Takes every report of the toolkit layer, because classified events do not tell of all keys: none tells of the
    /// key that switches input on again, and in a replay none tells of any key of the viewer.
    void takeReport(const KX::KXToolkitEvent& event);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* makeHeader();
    void makeBanner();
    void arrange();
    void showEvents(const ClassifiedEvents& events);
    void takeInput(const KX::KXInputEvent& event);
    void showCount();

    EventModel& model;
    InputSettings& settings;
    QHBoxLayout* headerRow = nullptr;
    QLabel* eventCount = nullptr;
    QLabel* title = nullptr;
    OperatorScreen* screen = nullptr;
    InputOffBanner* banner = nullptr;
    SoftKeyBar* softKeys = nullptr;
    PageArea* area = nullptr;
    QString replayName; // null: live input
    int replayPercent = 0;
};

} // namespace Terminal
