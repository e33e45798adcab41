#pragma once

#include "events/KXSomeEvent.h"
#include "platform/KXExport.h"

namespace KX {

/// A queue of events, first in, first out.
///
/// Any number of threads may post; each implementation says whether several may take. With one thread that takes, no
/// operation waits for an event. The destructor drops events that are still queued.
class KX_EVENTS_API KXEventQueue {
public:
    /// The kinds of queue that \ref create makes.
    enum eventQueueType : int {
        EVENT_QUEUE_AS_PIPE = 0,  ///< a KXEventQueueAsPipe: a main loop can wait on it
        EVENT_QUEUE_AS_QUEUE = 1, ///< a KXEventQueueAsQueue: cheaper, without limit, nothing to wait on
    };

    /// Makes a queue of \p type, an \ref eventQueueType.
    /// \return owned by the caller, who deletes it when no thread uses it any more; null for an unknown type
    /// \throws std::bad_alloc
    /// \throws boost::thread_resource_error  the system has no mutex or condition variable left
    static KXEventQueue* create(int type);

    /// Sets a hook that every post calls last, on the posting thread, without a lock of the queue; null: none. A
    /// post calls it even if the pipe could not take the event. Not locked: set it before events are posted.
    ///
    /// For classified events the hook of the input event manager's queue runs with the manager's mutex held. It may
    /// use the queue. It must not call inputEventOccurred or toolkitEventOccurred: the thread may deadlock. If it
    /// throws, the exception leaves \ref postEvent, and the event is queued all the same.
    void setAfterPostFunction(void (*function)());

    virtual ~KXEventQueue();

    /// Appends a copy of \p event, then calls the hook. Any thread. The debug section "kx_event_queue" traces
    /// every post at level 4.
    /// \throws std::bad_cast  the event claims a class that it is not; nothing is queued, the hook does not run
    virtual void postEvent(KXEvent& event) = 0;

    /// Takes the oldest event out. Does not wait for one: an empty queue gives a default holder (\c eventClass 7,
    /// \c eventType 0), so ask \ref isEmpty first.
    virtual KXSomeEvent getNextEvent() = 0;

    /// Number of queued events at some moment during the call. Takes no lock.
    virtual unsigned int getSize() = 0;

    /// Whether no event was queued at some moment during the call. Takes no lock.
    virtual bool isEmpty() = 0;

    /// Key of the debug section "kx_event_queue" of all queues; set when the library is loaded.
    static const unsigned int eventQueueDebugKey;

protected:
    KXEventQueue();
    KXEventQueue(const KXEventQueue&) = delete;
    KXEventQueue& operator=(const KXEventQueue&) = delete;

    /// Every implementation calls it first.
    KX_LOCAL static void tracePost(const KXEvent& event);

    /// Every implementation calls it last.
    void callAfterPostFunction() const {
        if (afterPostFunction)
            afterPostFunction();
    }

private:
    void (*afterPostFunction)() = nullptr;
};

} // namespace KX
