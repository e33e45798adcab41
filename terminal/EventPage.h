#pragma once

#include "events/KXEvent.h"

#include <QWidget>

namespace Terminal {

class EventListView;
class EventModel;
class ScreenButton;

/// The list of events, and buttons beside it that scroll it, as its bar is too narrow for a finger.
class EventPage : public QWidget {
    Q_OBJECT

public:
    explicit EventPage(EventModel& model, QWidget* parent = nullptr);

    /// Takes what the operator did; to be called while the page is shown.
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
