#pragma once

#include "terminal/EventPump.h"

#include <QWidget>

class ActionPanel;
class EventListView;
class EventModel;
class KeypadPanel;
class OperatorScreen;
class QGridLayout;
class QLabel;
class ScreenButton;
class SoftKeyBar;

/// The window of the terminal. It shows what \p model holds and knows nothing of where events come from.
///
/// Where there is room it shows everything at once. On a small screen the list of events, the keypad and the
/// actions are pages, which are turned by the buttons at the top or the keys F10 to F12.
class MainWindow : public QWidget {
    Q_OBJECT

public:
    enum Page { EventsPage, KeypadPage, ActionsPage, PageCount };

    explicit MainWindow(EventModel& model);

    /// Where the middle of a soft key is, in this window; \p number counts from 0.
    QPoint softKeyPosition(int number) const;

    /// Where the middle of something in this window is, in this window.
    QPoint positionOf(const QWidget& widget) const;

    KeypadPanel& keypad() const;
    ActionPanel& actions() const;
    SoftKeyBar& softKeyBar() const;

    /// Shows a page, if the window has pages now; else it will be shown when it becomes that small.
    void showPage(Page page);
    bool hasPages() const;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* makeHeader();
    void arrange();
    void showEvents(const ClassifiedEvents& events);

    EventModel& model;
    QLabel* eventCount = nullptr;
    QLabel* title = nullptr;
    ScreenButton* pageButtons[PageCount] = {};
    OperatorScreen* screen = nullptr;
    SoftKeyBar* softKeys = nullptr;
    QGridLayout* pages = nullptr;
    EventListView* list = nullptr;
    KeypadPanel* keypadPanel = nullptr;
    ActionPanel* actionPanel = nullptr;
    Page shownPage = EventsPage;
};
