#pragma once

#include "bench/support/BarePipe.h"
#include "bench/support/Carriers.h"
#include "events/KXEventQueueAsPipe.h"

#include <QEventLoop>

#include <boost/asio/steady_timer.hpp>
#include <boost/noncopyable.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <semaphore.h>
#include <sys/epoll.h>
#include <uv.h>

namespace Bench {

/// What has arrived in the thread that waits, seen by the thread that posts. Each sleeps while the other works, so on
/// one core neither takes the processor from the other.
struct Arrivals : boost::noncopyable {
    using Clock = std::chrono::steady_clock;

    /// The number that ends the waiting.
    static constexpr std::uint32_t lastNumber = UINT32_MAX;

    Arrivals() { sem_init(&taken, 0, 0); }
    ~Arrivals() { sem_destroy(&taken); }

    /// The waiting thread says that it waits from now on.
    /// \param stop  ends its loop
    void getReady(std::function<void()> stop) {
        end = std::move(stop);
        sem_post(&taken);
    }

    /// The waiting thread notes that it has taken an event or a record.
    template<class Payload>
    void take(const Payload& payload) {
        takenAt = Clock::now();
        if (payload.eventData[0] == lastNumber) {
            end();
            return;
        }
        order.take(payload);
        sem_post(&taken);
    }

    /// The posting thread sleeps until the other one is ready or has taken an event.
    void wait() {
        while (sem_wait(&taken) != 0) {
            // EINTR: somebody's signal, a debugger's for instance
        }
    }

    // Written by the waiting thread before it wakes the posting one, which reads them after that.
    Clock::time_point takenAt;
    OrderCheck order;

    std::function<void()> end; // the waiting thread's alone
    sem_t taken;
};

/// Ways to hand an event to a thread that sleeps. Each has
///
///   void post(number)      posts an event of this number, or a record; on the posting thread
///   void run(arrivals)     sleeps and takes events, as the documents have a main loop do it, until the arrivals end;
///                          on the waiting thread, which is one of Qt's for all alike

/// Posts to a queue as its callers do.
template<class Queue>
void postTo(Queue& queue, std::uint32_t number) {
    auto item = makeItem<typename Queue::Item>();
    item.eventData[0] = number;
    queue.post(item);
}

struct OwnPipe : KX::KXEventQueueAsPipe {
    using Item = KX::KXInputEvent;

    void post(Item& event) { postEvent(event); }

    void take(Arrivals& arrivals) { arrivals.take(getNextEvent()); }
};

/// A pipe and nothing around it. Asked before it is read, it makes the same calls as the library.
template<bool isAskedFirst>
struct PlainPipe : BarePipe {
    void take(Arrivals& arrivals) const {
        Record record;
        if ((isAskedFirst && !isReadable()) || !read(record))
            std::abort();
        arrivals.take(record);
    }
};

/// Sleeps in epoll, or in poll.
template<class Pipe, bool isPoll = false>
struct PipeWaiter : boost::noncopyable {
    PipeWaiter() {
        epoll_event readable{};
        readable.events = EPOLLIN;
        if (epoll_ctl(set, EPOLL_CTL_ADD, pipe.getReadEndPointID(), &readable) != 0)
            std::abort();
    }
    ~PipeWaiter() { close(set); }

    void post(std::uint32_t number) { postTo(pipe, number); }

    void run(Arrivals& arrivals) {
        bool goesOn = true;
        arrivals.getReady([&] { goesOn = false; });
        while (goesOn) {
            sleep();
            pipe.take(arrivals);
        }
    }

    void sleep() const {
        pollfd query = {pipe.getReadEndPointID(), POLLIN, 0};
        epoll_event event{};
        while ((isPoll ? poll(&query, 1, -1) : epoll_wait(set, &event, 1, -1)) != 1) {
            // EINTR: somebody's signal, a debugger's for instance
        }
    }

    Pipe pipe;
    const int set = epoll_create1(EPOLL_CLOEXEC);
};

struct ConditionWaiter {
    void post(std::uint32_t number) {
        auto event = makeItem<KX::KXInputEvent>();
        event.eventData[0] = number;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            events.emplace_back(event);
        }
        isFilled.notify_one();
    }

    void run(Arrivals& arrivals) {
        bool goesOn = true;
        arrivals.getReady([&] { goesOn = false; });
        while (goesOn)
            arrivals.take(take());
    }

    KX::KXSomeEvent take() {
        std::unique_lock<std::mutex> lock(mutex);
        isFilled.wait(lock, [this] { return !events.empty(); });
        KX::KXSomeEvent event = events.front();
        events.pop_front();
        return event;
    }

    std::mutex mutex;
    std::condition_variable isFilled;
    std::deque<KX::KXSomeEvent> events; // guarded by mutex
};

struct AsioWaiter : AsioPost<KX::KXSomeEvent, Arrivals, KX::KXInputEvent> {
    void post(std::uint32_t number) { postTo<AsioPost>(*this, number); }

    void run(Arrivals& arrivals) {
        sink = &arrivals;
        // A main loop waits for more than posts, so it sleeps in epoll. With posts alone it would sleep on a condition
        // variable.
        boost::asio::steady_timer something(context, std::chrono::hours(1));
        something.async_wait([](const boost::system::error_code&) {});
        arrivals.getReady([this] { context.stop(); });
        context.run();
    }
};

/// One wake-up may stand for several sends, so the events wait in a queue.
struct UVWaiter : boost::noncopyable {
    UVWaiter() {
        uv_loop_init(&loop);
        uv_async_init(&loop, &wakeUp, [](uv_async_t* handle) {
            auto& waiter = *static_cast<UVWaiter*>(handle->data);
            while (waiter.queue.take(*waiter.arrivals)) {
            }
        });
        wakeUp.data = this;
    }
    ~UVWaiter() { uv_loop_close(&loop); }

    void post(std::uint32_t number) {
        postTo(queue, number);
        uv_async_send(&wakeUp);
    }

    void run(Arrivals& newArrivals) {
        arrivals = &newArrivals;
        arrivals->getReady([this] { uv_close(reinterpret_cast<uv_handle_t*>(&wakeUp), nullptr); });
        uv_run(&loop, UV_RUN_DEFAULT);
    }

    uv_loop_t loop{};
    uv_async_t wakeUp{};
    LockedDeque<KX::KXSomeEvent> queue;
    Arrivals* arrivals = nullptr; // the waiting thread's alone
};

/// \tparam Queue  one of Qt's, which lives in the waiting thread
template<class Queue>
struct QtWaiter {
    void post(std::uint32_t number) { postTo(*queue, number); }

    void run(Arrivals& arrivals) {
        Queue itself;
        QEventLoop loop;
        itself.sink = &arrivals;
        queue = &itself;
        arrivals.getReady([&loop] { loop.quit(); });
        loop.exec();
    }

    Queue* queue = nullptr; // set before the posting thread is told that this one is ready
};

} // namespace Bench
