#pragma once

#include "terminal/EventPump.h"
#include "terminal/Page.h"

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

/// The window of the terminal. It shows what \p model holds and knows nothing of where events come from.
///
/// On a small screen the keypad and the actions are pages like the views; where there is room they are always
/// shown. Pages are turned by buttons or by the keys F10 and F11; F12 goes to the settings and back.
class MainWindow : public QWidget {
    Q_OBJECT

public:
    /// \p model and \p settings must outlive the window.
    MainWindow(EventModel& model, InputSettings& settings);

    /// Where the middle of a soft key is, in this window; \p number counts from 0.
    QPoint softKeyPosition(int number) const;

    /// Where the middle of something in this window is, in this window.
    QPoint positionOf(const QWidget& widget) const;

    KeypadPanel& keypad() const;
    ActionPanel& actions() const;
    SoftKeyBar& softKeyBar() const;
    EncoderView& encoder() const;
    PageArea& pages() const;
    InputOffBanner& inputOffBanner() const;

    /// Shows a page; in a large window there is no need to for the keypad and the actions.
    void showPage(Page page);

    /// Whether the window is that small that everything is a page.
    bool hasPages() const;

    /// From now on the events are those of a recording, which change nothing in the window: who looks at them turns the
    /// pages, see \ref takeReport.
    void beginReplay(const QString& name);

    /// How far the replay has come, 0 to 100.
    void showReplayProgress(int percent);

    /// Takes a report of the toolkit layer, as it was before the library got it: while input is off no classified
    /// event tells of the key that switches it on again, and in a replay none tells of any key.
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
    QString replayName; // null: the operator's input is live
    int replayPercent = 0;
};

} // namespace Terminal
