#include "terminal/events/EventListView.h"

#include "terminal/events/EventModel.h"
#include "terminal/window/Theme.h"

#include <QHeaderView>
#include <QScrollBar>

namespace Terminal {

namespace {

constexpr int linePitch = 26;

// As wide as the widest text that is likely in the column, so that the columns do not move while events arrive.
const char* widestText(int column) {
    switch (column) {
    case EventModel::Time: return "4294967295";
    case EventModel::Class: return "3 input";
    case EventModel::Key: return "Right button";
    case EventModel::ToolkitKey: return "0x1000000";
    case EventModel::Value: return "123456";
    default: return "Count";
    }
}

} // namespace

EventListView::EventListView(EventModel& events, QWidget* parent) : QTableView(parent) {
    setModel(&events);
    setFont(Theme::tableFont());
    setFocusPolicy(Qt::NoFocus);
    setSelectionMode(QAbstractItemView::NoSelection);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setIconSize(QSize(6, 14));
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(linePitch);
    arrangeColumns();
    connect(&events, &QAbstractItemModel::rowsInserted, this, &EventListView::keepPlace);
}

void EventListView::arrangeColumns() {
    constexpr int padding = 16;
    QHeaderView* header = horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsClickable(false);
    header->setSectionResizeMode(QHeaderView::Fixed);
    header->setSectionResizeMode(EventModel::Name, QHeaderView::Stretch);
    for (int column = 0; column < EventModel::ColumnCount; ++column) {
        if (column != EventModel::Name)
            setColumnWidth(column,
                           fontMetrics().horizontalAdvance(QString::fromLatin1(widestText(column))) + padding);
    }
}

void EventListView::keepPlace(const QModelIndex& /*parent*/, int first, int last) {
    QScrollBar* bar = verticalScrollBar();
    if (bar->value() == 0)
        return;
    const int inserted = last - first + 1;
    // The view extends its scroll bar only with the next painting.
    bar->setMaximum(bar->maximum() + inserted);
    bar->setValue(bar->value() + inserted);
}

} // namespace Terminal
