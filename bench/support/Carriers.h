#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>
#include <deque>
#include <type_traits>

/// Contenders that carry events as well as actions: a payload that is built from what the callers have, an item. Those
/// that call back know the sink, which is of the thread that takes.
namespace Bench {

/// A limit: two copies, and a lock for each operation.
template<class Payload>
struct LockedDeque {
    using Item = Payload;

    void post(const Item& item) {
        const boost::unique_lock<boost::mutex> lock(mutex);
        waiting.push_back(item);
    }

    template<class Sink>
    bool take(Sink& sink) {
        boost::unique_lock<boost::mutex> lock(mutex);
        if (waiting.empty())
            return false;
        const Payload oldest(waiting.front());
        waiting.pop_front();
        lock.unlock();
        sink.take(oldest);
        return true;
    }

    boost::mutex mutex;
    std::deque<Payload> waiting; // guarded by mutex
};

/// As Asio's documents advise where one thread runs the context: with the hint 1, and a work guard, so that the context
/// does not stop when it runs out of handlers. Taking runs all that waits.
template<class Payload, class Sink, class From = const Payload>
struct AsioPost {
    using Item = From;

    void post(From& item) {
        if constexpr (std::is_empty_v<Sink>)
            boost::asio::post(context, [payload = Payload(item)] { Sink().take(payload); });
        else
            boost::asio::post(
                context, [this, payload = Payload(item)] { sink->take(payload); });
    }

    bool take(Sink& itsSink) {
        sink = &itsSink;
        return context.poll() != 0;
    }

    boost::asio::io_context context{1};
    Sink* sink = nullptr;
    const boost::asio::executor_work_guard<boost::asio::io_context::executor_type> guard{context.get_executor()};
};

/// Qt's queue of the thread that an object lives in. Taking delivers all that waits.
template<class Payload, class Sink, class From = const Payload>
struct QtPostEvent : QObject {
    using Item = From;

    void post(From& item) { QCoreApplication::postEvent(this, new PayloadEvent(item)); }

    bool take(Sink& itsSink) {
        sink = &itsSink;
        hasTaken = false;
        QCoreApplication::sendPostedEvents();
        return hasTaken;
    }

    void customEvent(QEvent* event) override { receive(static_cast<PayloadEvent*>(event)->payload); }

    void receive(const Payload& payload) {
        hasTaken = true;
        sink->take(payload);
    }

    struct PayloadEvent : QEvent {
        explicit PayloadEvent(From& item) : QEvent(QEvent::User), payload(item) {}

        const Payload payload;
    };

    Sink* sink = nullptr;
    bool hasTaken = false;
};

/// The same by a queued call.
template<class Payload, class Sink, class From = const Payload>
struct QtInvokeMethod : QtPostEvent<Payload, Sink, From> {
    void post(From& item) {
        QMetaObject::invokeMethod(
            this, [this, payload = Payload(item)] { this->receive(payload); }, Qt::QueuedConnection);
    }
};

} // namespace Bench
