#pragma once

#include "events/KXEventQueue.h"

#include <atomic>
#include <boost/container/deque.hpp>
#include <boost/container/options.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

namespace KX {

/// Queue of events between the threads of one process.
///
/// Any number of threads may post and take. Each operation locks for itself and none blocks on an empty queue.
/// There is no limit but memory, which is allocated for a block of events at a time.
class KX_EVENTS_API KXEventQueueAsQueue : public KXEventQueue {
public:
    /// \throws boost::thread_resource_error  the system has no mutex or condition variable left
    KXEventQueueAsQueue();
    ~KXEventQueueAsQueue() override;

    /// Appends a copy of \p event and wakes one waiting consumer, then calls the after-post hook.
    ///
    /// The hook runs on the calling thread after the lock is released, so it may use this queue.
    /// \throws std::bad_cast  the event claims a class it is not; the queue is unchanged, the hook does not run
    void postEvent(KXEvent& event) override;

    /// Takes the oldest event out. It waits only when \ref isEmpty has just said that an event is there and
    /// another consumer took it first; that wait is a Boost interruption point.
    /// \throws boost::thread_interrupted  the thread was interrupted while it waited; nothing is taken
    KXSomeEvent getNextEvent() override;

    unsigned int getSize() override;
    bool isEmpty() override;

private:
    inline KX_LOCAL KXSomeEvent takeOldest();
    [[gnu::noinline]] KX_LOCAL void waitForEvent();

    static constexpr unsigned int eventsInABlock = 64;
    using Blocks = boost::container::deque_options<boost::container::block_size<eventsInABlock>>::type;

    boost::container::deque<KXSomeEvent, void, Blocks> eventDeque; // guarded by queueMutex
    boost::mutex queueMutex;
    boost::condition_variable queueCondition; // goes with queueMutex
    std::atomic<unsigned int> eventCount{0};  // size of eventDeque; written under queueMutex, read without
    unsigned int waitingConsumers = 0;        // of queueCondition; guarded by queueMutex
    std::atomic<bool> isQueueTaken{false};    // what a thread sees of queueMutex before it locks
};

} // namespace KX
