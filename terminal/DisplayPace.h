#pragma once

#include "events/KXEvent.h"
#include "terminal/RefreshPace.h"

#include <QObject>

#include <vector>

namespace Terminal {

using ClassifiedEvents = std::vector<KX::KXInputEvent>;

/// Hands events on to the views in batches, because drawing costs more than anything else the terminal does.
///
/// After a pause, the events that the main loop takes in one turn go on when that turn is over. Events that follow
/// sooner go on together.
class DisplayPace : public QObject {
    Q_OBJECT

public:
    explicit DisplayPace(QObject* parent = nullptr);

    void take(const KX::KXInputEvent& event);

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
