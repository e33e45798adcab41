#pragma once

#include "terminal/session/EventPump.h"
#include "terminal/window/RefreshPace.h"

#include <QObject>

namespace Terminal {

/// Hands events on to the views in batches, because drawing costs more than anything else the terminal does.
///
/// The first event after a pause goes on at once. Events that follow sooner go on together.
class DisplayPace : public QObject {
    Q_OBJECT

public:
    explicit DisplayPace(QObject* parent = nullptr);

    void take(const ClassifiedEvents& events);

    /// Hands on the events that are held back.
    void flush();

signals:
    /// At least one event, oldest first.
    void due(const ClassifiedEvents& events);

private:
    ClassifiedEvents waiting;
    RefreshPace pace;
};

} // namespace Terminal
