#pragma once

#include "events/KXEvent.h"

#include <QObject>
#include <QSocketNotifier>

#include <vector>

namespace KX {
class KXInputEventManager;
}

namespace Terminal {

using ClassifiedEvents = std::vector<KX::KXInputEvent>;

/// The part of the main loop that waits for classified events and takes them.
///
/// It waits on the read end point of the manager's queue, so an idle terminal costs nothing, and hands on all
/// events that wait as one batch, oldest first.
class EventPump : public QObject {
    Q_OBJECT

public:
    /// \p manager must outlive the pump.
    /// \throws std::runtime_error  the manager's queue is nothing that a main loop can wait on
    explicit EventPump(KX::KXInputEventManager& manager);

    /// Takes what waits now, for when the main loop does not run any more.
    void takeWaitingEvents();

signals:
    /// At least one event.
    void eventsTaken(const ClassifiedEvents& events);

private:
    KX::KXInputEventManager& manager;
    QSocketNotifier readable;
};

} // namespace Terminal
