#pragma once

#include "events/KXSomeEvent.h"
#include "platform/KXExport.h"

namespace KX {

/// Hands events from producers to a consumer, first in, first out.
///
/// Any number of threads may post; whether several may take is told by each implementation. No operation waits
/// for an event. Events still queued when the queue is destroyed are dropped.
class KX_EVENTS_API KXEventQueue {
public:
    enum eventQueueType : int {
        EVENT_QUEUE_AS_PIPE = 0,  ///< \ref KXEventQueueAsPipe: a main loop can wait on it
        EVENT_QUEUE_AS_QUEUE = 1, ///< \ref KXEventQueueAsQueue: cheaper, without limit, nothing to wait on
    };

    /// Makes a queue of the type asked for, an \ref eventQueueType.
    /// \return owned by the caller, who deletes it when no thread uses it any more; null for an unknown type
    static KXEventQueue* create(int type);

    /// Sets a hook that every post calls once, on the posting thread, after the event is in the queue (or, in a
    /// pipe, could not be written) and no lock of the queue is held. Null switches it off.
    ///
    /// The hook of the input event manager's queue runs with the manager's mutex held. It must not hand input in
    /// (inputEventOccurred, toolkitEventOccurred), because the thread may wait for itself for ever. It may use the queue.
    ///
    /// Not locked: to be set before events are posted.
    void setAfterPostFunction(void (*function)());

    virtual ~KXEventQueue();

    /// Appends a copy of \p event, which stays the caller's, then calls the hook. Any thread.
    ///
    /// Every post is traced in the debug section "kx_event_queue" at level 4.
    /// \throws std::bad_cast  the event claims a class that it is not; nothing is queued, the hook does not run
    virtual void postEvent(KXEvent& event) = 0;

    /// Takes the oldest event out. Never waits for one: from an empty queue comes a default holder
    /// (\c eventClass 7, \c eventType 0), so ask \ref isEmpty first.
    virtual KXSomeEvent getNextEvent() = 0;

    /// Number of events that wait, as of some moment during the call. Takes no lock.
    virtual unsigned int getSize() = 0;

    /// Whether none waits, as of some moment during the call. Takes no lock.
    virtual bool isEmpty() = 0;

    /// Key of the debug section "kx_event_queue" of all queues, obtained when the library is loaded.
    static const unsigned int eventQueueDebugKey;

protected:
    KXEventQueue();
    KXEventQueue(const KXEventQueue&) = delete;
    KXEventQueue& operator=(const KXEventQueue&) = delete;

    /// Tells the debug service of a post; every post begins with it.
    KX_LOCAL static void tracePost(const KXEvent& event);

    /// Every post ends with it.
    void callAfterPostFunction() const {
        if (afterPostFunction)
            afterPostFunction();
    }

private:
    void (*afterPostFunction)() = nullptr;
};

} // namespace KX
