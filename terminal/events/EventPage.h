#pragma once

#include "events/KXEvent.h"

#include <QWidget>

namespace Terminal {

class EventListView;
class EventModel;
class ScreenButton;

/// The list of events, with buttons to scroll it, because the scroll bar is too narrow for a finger.
class EventPage : public QWidget {
    Q_OBJECT

public:
    explicit EventPage(EventModel& model, QWidget* parent = nullptr);

    /// Handles the operator's input. Call it only while the page is shown.
    void takeInput(const KX::KXInputEvent& event);

    EventListView& list() const;
    ScreenButton& newestButton() const;
    ScreenButton& newerButton() const;
    ScreenButton& olderButton() const;

private:
    void showNewest();
    void scrollByPages(int pages);

    EventListView* events;
    ScreenButton* newest;
    ScreenButton* newer;
    ScreenButton* older;
};

} // namespace Terminal
