#pragma once

#include "events/KXEvent.h"
#include "platform/KXExport.h"

#include <QMetaType>
#include <QObject>

#include <cstddef>
#include <memory>

namespace KX {

/// Takes the classified events of the input event manager in Qt's main loop and hands them on as a signal.
///
///     KX::KXEventNotifier notifier;
///     QObject::connect(&notifier, &KX::KXEventNotifier::eventOccurred, &page, &Page::takeInput);
///
/// It waits on the read end point of the manager's queue, so an idle application costs nothing. Make it after the
/// manager and use it on the main loop's thread, where it also emits.
///
/// It belongs to the queue that the manager has at that moment. Once the manager is deleted or deinitialised it emits
/// nothing more, even if the queue of a later manager gets the same descriptor. An application that makes its manager
/// anew deletes the notifier, then the manager, makes the manager, and then a new notifier, which it connects again:
///
///     notifier.reset();
///     KX::KXInputEventManager::deleteInstance();
///     KX::KXInputEventManager::createInstance();
///     notifier = std::make_unique<KX::KXEventNotifier>();
///
/// Only a slot of \ref eventOccurred may delete the manager before the notifier. Elsewhere Qt would warn about a
/// descriptor that is closed.
///
/// On the simulated platform end points cannot wake Qt. Tests call \ref takeWaitingEvents.
class KX_TOOLKIT_API KXEventNotifier : public QObject {
    Q_OBJECT

public:
    /// So many events at most are handed on before other parts of the main loop get their turn.
    static constexpr std::size_t mostAtOnce = 1000;

    /// \throws std::runtime_error  there is no manager, or its queue is not open: a main loop cannot wait on it
    explicit KXEventNotifier(QObject* parent = nullptr);

    ~KXEventNotifier() override;

    /// Emits the events that wait now, however many. For the time after the main loop has ended. Does nothing while
    /// \ref eventOccurred is being emitted.
    void takeWaitingEvents();

Q_SIGNALS:
    /// One event; each is emitted once, oldest first.
    ///
    /// A slot may do anything: delete this object or the manager, post events, run an event loop. As no event
    /// overtakes another, an event loop in a slot gets none of this notifier. A dialog that is operated by events
    /// while QDialog::exec runs makes a notifier of its own, which takes them until it is deleted.
    void eventOccurred(const KX::KXInputEvent& event);

private:
    struct State;

    KX_LOCAL void takeUpTo(std::size_t most);

    const std::unique_ptr<State> state;
};

} // namespace KX

Q_DECLARE_METATYPE(KX::KXInputEvent)
