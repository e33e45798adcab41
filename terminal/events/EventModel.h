#pragma once

#include "terminal/look/DisplayPace.h"

#include <QAbstractTableModel>

#include <deque>

namespace Terminal {

/// The classified events, newest first. Every view reads them here.
///
/// It keeps the newest \ref capacity events. As a table it has the columns below. Views that draw something else
/// read the events themselves.
class EventModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { Name, Distance, Key, Value, Count, Time, KeyCode, ToolkitKey, Class, ColumnCount };

    static constexpr int capacity = 10000;

    explicit EventModel(QObject* parent = nullptr);

    /// Appends \p events, oldest first.
    void append(const ClassifiedEvents& events);

    /// Forgets all events, as if none had been appended.
    void clear();

    /// The event of a row; row 0 is the newest.
    const KX::KXInputEvent& eventAt(int row) const;

    /// Events appended since the start, including those that were dropped since.
    quint64 appendedCount() const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

signals:
    /// Emitted after the model has taken the events, oldest first.
    void appended(const ClassifiedEvents& events);

private:
    void dropOldest(int room);
    QString distanceText(int row) const;

    std::deque<KX::KXInputEvent> newestFirst;
    quint64 appendedEvents = 0;
};

} // namespace Terminal
