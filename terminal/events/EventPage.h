#pragma once

#include "events/KXEvent.h"

#include <QTableView>

namespace Terminal {

class EventModel;
class ScreenButton;

/// The classified events as a list. It shows what tells events apart; the rest is shown on demand.
///
/// Scrolled to the top it follows the newest event. Scrolled down it keeps its place while events arrive above.
/// Keys and wheel do not scroll it, because they are the operator's input; its scroll bar does.
class EventListView : public QTableView {
    Q_OBJECT

public:
    explicit EventListView(EventModel& model, QWidget* parent = nullptr);

    /// Sets the smallest text to \p unit pixels; everything else follows.
    void setUnit(int unit);

    /// Shows tick, key code, toolkit key and class instead of distance, key, value and count.
    void showDetails(bool details);
    bool showsDetails() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void fitLines();
    void keepPlace(const QModelIndex& parent, int first, int last);

    bool detailsShown = false;
    int leastLinePitch = 1;
};

/// The list of events, with buttons to scroll it, because the scroll bar is too narrow for a finger.
class EventPage : public QWidget {
    Q_OBJECT

public:
    explicit EventPage(EventModel& model, QWidget* parent = nullptr);

    /// Handles the operator's input. Call it only while the page is shown.
    void takeInput(const KX::KXInputEvent& event);

    EventListView& list() const;
    ScreenButton& detailsButton() const;
    ScreenButton& newestButton() const;
    ScreenButton& newerButton() const;
    ScreenButton& olderButton() const;

protected:
    void changeEvent(QEvent* event) override;

private:
    void showNewest();
    void scrollByPages(int pages);

    EventListView* events;
    ScreenButton* details;
    ScreenButton* newest;
    ScreenButton* newer;
    ScreenButton* older;
};

} // namespace Terminal
