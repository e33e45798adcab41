#include "terminal/events/EventModel.h"

#include "terminal/events/EventText.h"

#include <algorithm>
#include <cstddef>

namespace Terminal {

namespace {

QString cellText(const KX::KXInputEvent& event, int column) {
    switch (column) {
    case EventModel::Name: return EventText::name(event);
    case EventModel::Time: return QString::number(event.timeStamp);
    case EventModel::Class: return EventText::eventClass(event);
    case EventModel::Key: return EventText::key(event);
    case EventModel::KeyCode: return EventText::keyCode(event);
    case EventModel::ToolkitKey: return EventText::toolkitKey(event);
    case EventModel::Value: return EventText::value(event);
    default: return EventText::count(event);
    }
}

bool isNumeric(int column) {
    switch (column) {
    case EventModel::Distance:
    case EventModel::Value:
    case EventModel::Count:
    case EventModel::Time:
    case EventModel::KeyCode: return true;
    default: return false;
    }
}

int alignmentOf(int column) {
    return static_cast<int>(Qt::AlignVCenter) |
           static_cast<int>(isNumeric(column) ? Qt::AlignRight : Qt::AlignLeft);
}

} // namespace

EventModel::EventModel(QObject* parent) : QAbstractTableModel(parent) {}

void EventModel::append(const ClassifiedEvents& events) {
    const int added = static_cast<int>(std::min<std::size_t>(events.size(), capacity));
    if (added == 0)
        return;
    dropOldest(added);
    beginInsertRows(QModelIndex(), 0, added - 1);
    for (auto event = events.end() - added; event != events.end(); ++event)
        newestFirst.push_front(*event);
    appendedEvents += events.size();
    endInsertRows();
    emit appended(events);
}

void EventModel::dropOldest(int room) {
    const int rows = rowCount();
    const int kept = capacity - room;
    if (rows <= kept)
        return;
    beginRemoveRows(QModelIndex(), kept, rows - 1);
    newestFirst.erase(newestFirst.begin() + kept, newestFirst.end());
    endRemoveRows();
}

void EventModel::clear() {
    beginResetModel();
    newestFirst.clear();
    appendedEvents = 0;
    endResetModel();
}

const KX::KXInputEvent& EventModel::eventAt(int row) const {
    return newestFirst.at(static_cast<std::size_t>(row));
}

quint64 EventModel::appendedCount() const {
    return appendedEvents;
}

QString EventModel::distanceText(int row) const {
    const bool isOldest = row + 1 == rowCount();
    return isOldest ? QStringLiteral("\u2013") : EventText::distance(eventAt(row), eventAt(row + 1));
}

int EventModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(newestFirst.size());
}

int EventModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant EventModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const KX::KXInputEvent& event = eventAt(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return index.column() == Distance ? distanceText(index.row()) : cellText(event, index.column());
    case Qt::TextAlignmentRole: return alignmentOf(index.column());
    default: return {};
    }
}

QVariant EventModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount)
        return {};
    static const char* const titles[ColumnCount] = {"Event",     "After", "Key",         "Value", "Count",
                                                    "Time [ms]", "Code",  "Toolkit key", "Class"};
    if (role == Qt::DisplayRole)
        return QString::fromLatin1(titles[section]);
    if (role == Qt::TextAlignmentRole)
        return alignmentOf(section);
    return {};
}

} // namespace Terminal
