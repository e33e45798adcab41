#pragma once

#include <QTableView>

namespace Terminal {

class EventModel;

/// The classified events as a list.
///
/// Scrolled to the top it follows the newest event. Scrolled down it keeps its place while events arrive above.
/// Keys and wheel do not scroll it, because they are the operator's input; its scroll bar does.
class EventListView : public QTableView {
    Q_OBJECT

public:
    explicit EventListView(EventModel& model, QWidget* parent = nullptr);

private:
    void arrangeColumns();
    void keepPlace(const QModelIndex& parent, int first, int last);
};

} // namespace Terminal
