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

/// The part of the main loop that takes classified events.
///
/// It waits on the read end point of the manager's queue, so an idle terminal costs nothing. It hands on all
/// waiting events as one batch, oldest first.
class EventPump : public QObject {
    Q_OBJECT

public:
    /// \p manager must outlive the pump.
    /// \throws std::runtime_error  a main loop cannot wait on the manager's queue
    explicit EventPump(KX::KXInputEventManager& manager);

    /// Takes the waiting events. For the time after the main loop has ended.
    void takeWaitingEvents();

signals:
    /// \p events has at least one event.
    void eventsTaken(const ClassifiedEvents& events);

private:
    KX::KXInputEventManager& manager;
    QSocketNotifier readable;
};

} // namespace Terminal
