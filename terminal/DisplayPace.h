#pragma once

#include "terminal/EventPump.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace Terminal {

/// Stands between the source of events and the views: drawing costs more than anything else the terminal does,
/// and nobody reads faster than \ref shortestIntervalMs.
///
/// The first event after a pause goes on at once; those that follow sooner are handed on together.
class DisplayPace : public QObject {
    Q_OBJECT

public:
    static constexpr int shortestIntervalMs = 40;

    explicit DisplayPace(QObject* parent = nullptr);

    void take(const ClassifiedEvents& events);

    /// Hands on what is held back.
    void flush();

signals:
    /// At least one event, oldest first.
    void due(const ClassifiedEvents& events);

private:
    ClassifiedEvents waiting;
    QElapsedTimer sinceLast;
    QTimer timer;
};

} // namespace Terminal
