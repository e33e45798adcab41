#pragma once

#include "bench/support/Payload.h"
#include "events/KXEventQueue.h"

#include <array>
#include <boost/lockfree/queue.hpp>
#include <boost/lockfree/spsc_queue.hpp>
#include <concurrentqueue.h>
#include <glib.h>
#include <memory>
#include <readerwriterqueue.h>
#include <thread>

/// Queues of events. The limits' callers have a holder at hand, so nothing is converted. The library and the peers
/// build a holder from the event.
namespace Bench {

/// The library's queues, by their interface, as an application uses them.
template<KX::KXEventQueue::eventQueueType type>
struct OwnQueue {
    using Item = KX::KXInputEvent;

    void post(Item& event) { queue->postEvent(event); }

    template<class Sink>
    bool take(Sink& sink) {
        const KX::KXSomeEvent holder = queue->getNextEvent();
        // An empty queue gives a holder without a type, as others give a null pointer.
        const bool taken = holder.eventType != 0;
        if (taken)
            sink.take(holder);
        return taken;
    }

    const std::unique_ptr<KX::KXEventQueue> queue{KX::KXEventQueue::create(type)};
};

using InProcessQueue = OwnQueue<KX::KXEventQueue::EVENT_QUEUE_AS_QUEUE>;
using PipeQueue = OwnQueue<KX::KXEventQueue::EVENT_QUEUE_AS_PIPE>;

/// A limit: two copies. For one thread only; no more than the capacity may wait.
struct UnlockedRing {
    using Item = KX::KXSomeEvent;

    void post(const Item& holder) { slots[end++ % capacity] = holder; }

    bool take(OrderCheck& order) {
        if (begin == end)
            return false;
        const KX::KXSomeEvent oldest(slots[begin++ % capacity]);
        order.take(oldest);
        return true;
    }

    static constexpr std::size_t capacity = 1024;
    std::array<KX::KXSomeEvent, capacity> slots;
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// Carries pointers to what is on the heap, as its documents have it.
struct GLibQueue {
    using Item = KX::KXInputEvent;

    void post(Item& event) { g_async_queue_push(queue.get(), new KX::KXSomeEvent(event)); }

    bool take(OrderCheck& order) {
        const std::unique_ptr<KX::KXSomeEvent> oldest(
            static_cast<KX::KXSomeEvent*>(g_async_queue_try_pop(queue.get())));
        if (oldest)
            order.take(*oldest);
        return oldest != nullptr;
    }

    const std::unique_ptr<GAsyncQueue, decltype(&g_async_queue_unref)> queue{
        g_async_queue_new_full([](gpointer left) { delete static_cast<KX::KXSomeEvent*>(left); }),
        g_async_queue_unref};
};

/// Takes nothing that has a destructor, hence the records, which need not be built from an event.
struct LockfreeQueue {
    using Item = Record;

    void post(const Item& record) { queue.push(record); }

    bool take(OrderCheck& order) {
        return queue.consume_one([&order](const Item& oldest) { order.take(oldest); });
    }

    boost::lockfree::queue<Item> queue{1024};
};

/// One thread may post, one may take. A post waits while the queue is full.
struct LockfreeRing {
    using Item = KX::KXInputEvent;

    void post(Item& event) {
        const KX::KXSomeEvent holder(event);
        while (!queue.push(holder))
            std::this_thread::yield();
    }

    bool take(OrderCheck& order) {
        return queue.consume_one([&order](const KX::KXSomeEvent& front) {
            const KX::KXSomeEvent oldest(front);
            order.take(oldest);
        });
    }

    boost::lockfree::spsc_queue<KX::KXSomeEvent, boost::lockfree::capacity<1024>> queue;
};

template<class Queue>
struct MoodycamelQueue {
    using Item = KX::KXInputEvent;

    void post(Item& event) { queue.enqueue(KX::KXSomeEvent(event)); }

    bool take(OrderCheck& order) {
        const bool taken = queue.try_dequeue(oldest);
        if (taken)
            order.take(oldest);
        return taken;
    }

    Queue queue;
    KX::KXSomeEvent oldest; // kept, since it is assigned to
};

using ConcurrentQueue = MoodycamelQueue<moodycamel::ConcurrentQueue<KX::KXSomeEvent>>;
using ReaderWriterQueue = MoodycamelQueue<moodycamel::ReaderWriterQueue<KX::KXSomeEvent>>; // one posts, one takes

} // namespace Bench
