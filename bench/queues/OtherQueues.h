#pragma once

#include "bench/support/Numbered.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/lockfree/queue.hpp>
#include <boost/lockfree/spsc_queue.hpp>
#include <concurrentqueue.h>
#include <glib.h>
#include <memory>
#include <readerwriterqueue.h>
#include <thread>

/// Queues that know nothing of events. Who posts has an event, of whatever class, and who takes wants a holder, as with
/// the library's own: each holder is built from the event as there, by the same constructor.
namespace Bench {

/// Carries pointers; what they point to is on the heap, as its documents have it.
class GLibQueue {
public:
    using Item = KX::KXInputEvent;

    ~GLibQueue() {
        g_async_queue_unref(queue);
    }

    void post(Item& event) {
        g_async_queue_push(queue, new KX::KXSomeEvent(event));
    }

    bool take(OrderCheck& order) {
        const std::unique_ptr<KX::KXSomeEvent> oldest(static_cast<KX::KXSomeEvent*>(g_async_queue_try_pop(queue)));
        if (oldest)
            order.take(getNumber(*oldest));
        return oldest != nullptr;
    }

private:
    GAsyncQueue* const queue =
        g_async_queue_new_full([](gpointer left) { delete static_cast<KX::KXSomeEvent*>(left); });
};

/// Takes nothing that has a destructor, hence the records, which are there without being built.
class LockfreeQueue {
public:
    using Item = Record;

    void post(const Item& record) {
        queue.push(record);
    }

    bool take(OrderCheck& order) {
        Item oldest;
        const bool taken = queue.pop(oldest);
        if (taken)
            order.take(getNumber(oldest));
        return taken;
    }

private:
    boost::lockfree::queue<Item> queue{1024};
};

/// One thread may post, one may take; a full queue makes the one that posts wait.
class LockfreeRing {
public:
    using Item = KX::KXInputEvent;

    void post(Item& event) {
        const KX::KXSomeEvent holder(event);
        while (!queue.push(holder))
            std::this_thread::yield();
    }

    bool take(OrderCheck& order) {
        return queue.consume_one([&order](const KX::KXSomeEvent& front) {
            const KX::KXSomeEvent oldest(front);
            order.take(getNumber(oldest));
        });
    }

private:
    boost::lockfree::spsc_queue<KX::KXSomeEvent, boost::lockfree::capacity<1024>> queue;
};

template<class Queue>
class MoodycamelQueue {
public:
    using Item = KX::KXInputEvent;

    void post(Item& event) {
        queue.enqueue(KX::KXSomeEvent(event));
    }

    bool take(OrderCheck& order) {
        const bool taken = queue.try_dequeue(oldest);
        if (taken)
            order.take(getNumber(oldest));
        return taken;
    }

private:
    Queue queue;
    KX::KXSomeEvent oldest; // kept, since it is assigned to
};

using ConcurrentQueue = MoodycamelQueue<moodycamel::ConcurrentQueue<KX::KXSomeEvent>>;
/// One thread may post, one may take.
using ReaderWriterQueue = MoodycamelQueue<moodycamel::ReaderWriterQueue<KX::KXSomeEvent>>;

/// Runs what is posted; taking runs all that waits.
class AsioPost {
public:
    using Item = KX::KXInputEvent;

    void post(Item& event) {
        boost::asio::post(
            context, [this, holder = KX::KXSomeEvent(event)] { order->take(getNumber(holder)); });
    }

    bool take(OrderCheck& taken) {
        order = &taken;
        return context.poll() != 0;
    }

private:
    boost::asio::io_context context{1}; // one thread runs it
    const boost::asio::executor_work_guard<boost::asio::io_context::executor_type> goesOn{context.get_executor()};
    OrderCheck* order = nullptr; // used by the thread that takes only
};

} // namespace Bench
