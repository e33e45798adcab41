#pragma once

#include <QTableView>

namespace Terminal {

class EventModel;

/// The classified events as a list.
///
/// At its top it follows the newest; scrolled down, it keeps its place while events arrive above. It takes no
/// keys and no wheel: those are the operator's input. It is scrolled by its bar.
class EventListView : public QTableView {
    Q_OBJECT

public:
    explicit EventListView(EventModel& model, QWidget* parent = nullptr);

private:
    void arrangeColumns();
    void keepPlace(const QModelIndex& parent, int first, int last);
};

} // namespace Terminal
