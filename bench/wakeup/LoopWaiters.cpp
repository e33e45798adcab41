// Event loops that are libraries of their own.

#include "bench/wakeup/Waiter.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <deque>
#include <mutex>
#include <uv.h>

namespace {

class AsioWaiter : public Waiter {
public:
    void post(std::uint32_t number) override {
        KX::KXInputEvent event = Bench::makeEvent(number);
        boost::asio::post(context, [this, holder = KX::KXSomeEvent(event)] { take(holder); });
    }

    void run(Arrivals& newArrivals) override {
        arrivals = &newArrivals;
        // A main loop waits for more than posts, so it sleeps in epoll; with posts alone it would sleep on a
        // condition variable.
        boost::asio::steady_timer something(context, std::chrono::hours(1));
        something.async_wait([](const boost::system::error_code&) {});
        arrivals->getReady();
        context.run();
    }

private:
    void take(const KX::KXSomeEvent& event) {
        if (!arrivals->take(Bench::getNumber(event)))
            context.stop();
    }

    boost::asio::io_context context{1};
    Arrivals* arrivals = nullptr; // the waiting thread's alone
};

/// One wake-up may stand for several sends, so the events themselves wait in a queue.
class UVWaiter : public Waiter {
public:
    UVWaiter() {
        uv_loop_init(&loop);
        uv_async_init(&loop, &wakeUp, [](uv_async_t* handle) { static_cast<UVWaiter*>(handle->data)->takeAll(); });
        wakeUp.data = this;
    }
    ~UVWaiter() override {
        uv_loop_close(&loop);
    }
    UVWaiter(const UVWaiter&) = delete;
    UVWaiter& operator=(const UVWaiter&) = delete;

    void post(std::uint32_t number) override {
        KX::KXInputEvent event = Bench::makeEvent(number);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            events.emplace_back(event);
        }
        uv_async_send(&wakeUp);
    }

    void run(Arrivals& newArrivals) override {
        arrivals = &newArrivals;
        arrivals->getReady();
        uv_run(&loop, UV_RUN_DEFAULT);
    }

private:
    void takeAll() {
        std::deque<KX::KXSomeEvent> taken;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            taken.swap(events);
        }
        for (const KX::KXSomeEvent& event : taken)
            if (!arrivals->take(Bench::getNumber(event)))
                uv_close(reinterpret_cast<uv_handle_t*>(&wakeUp), nullptr);
    }

    uv_loop_t loop{};
    uv_async_t wakeUp{};
    std::mutex mutex;
    std::deque<KX::KXSomeEvent> events; // guarded by mutex
    Arrivals* arrivals = nullptr;       // the waiting thread's alone
};

} // namespace

std::vector<Contender> getLoopContenders() {
    return {{"Asio post", [] { return std::make_unique<AsioWaiter>(); }},
            {"libuv uv_async", [] { return std::make_unique<UVWaiter>(); }}};
}
