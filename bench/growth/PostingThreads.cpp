// Several threads that post, and one that takes meanwhile. The items are the same in number however many threads
// share in posting them.

#include "bench/actions/Waiting.h"
#include "bench/growth/ActionContenders.h"
#include "bench/growth/Growth.h"
#include "bench/support/Numbered.h"
#include "events/KXEventQueue.h"

#include <benchmark/benchmark.h>
#include <boost/thread/locks.hpp>
#include <boost/thread/mutex.hpp>

#include <array>
#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Bench {
namespace {

constexpr int mostThreads = 4;

/// Each thread numbers its own: the upper bits tell whose it is.
constexpr unsigned int threadShift = 24;

std::uint32_t makeNumber(std::size_t thread, std::uint32_t number) {
    return static_cast<std::uint32_t>(thread) << threadShift | number;
}

/// A queue of the library by its interface.
template<KX::KXEventQueue::eventQueueType type>
class Queue {
public:
    void post(std::uint32_t number) {
        KX::KXInputEvent event = makeEvent(number);
        queue->postEvent(event);
    }

    bool take(std::uint32_t& number) {
        if (queue->isEmpty()) {
            return false;
        }
        number = getNumber(queue->getNextEvent());
        return true;
    }

private:
    const std::unique_ptr<KX::KXEventQueue> queue{KX::KXEventQueue::create(type)};
};

class Deque {
public:
    void post(std::uint32_t number) {
        KX::KXInputEvent event = makeEvent(number);
        const KX::KXSomeEvent holder(event);
        const boost::unique_lock<boost::mutex> lock(mutex);
        holders.push_back(holder);
    }

    bool take(std::uint32_t& number) {
        boost::unique_lock<boost::mutex> lock(mutex);
        if (holders.empty()) {
            return false;
        }
        const KX::KXSomeEvent holder(holders.front());
        holders.pop_front();
        lock.unlock();
        number = getNumber(holder);
        return true;
    }

private:
    boost::mutex mutex;
    std::deque<KX::KXSomeEvent> holders; // guarded by mutex
};

/// Threads that do the same, each with its number, for as long as this lives.
class Threads {
public:
    template<class Work>
    Threads(std::size_t number, Work work) : working(number) {
        for (std::size_t i = 0; i < number; ++i) {
            threads.emplace_back([this, work, i] {
                work(i);
                --working;
            });
        }
    }
    ~Threads() {
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;

    bool areWorking() const {
        return working > 0;
    }

private:
    std::atomic<std::size_t> working;
    std::vector<std::thread> threads;
};

using Orders = std::array<OrderCheck, mostThreads>;

template<class Contender>
void takeAll(Contender& contender, Orders& orders) {
    std::uint32_t number = 0;
    while (contender.take(number)) {
        orders[number >> threadShift].take(number & ((1U << threadShift) - 1));
    }
}

void report(benchmark::State& state, const Orders& orders, std::uint32_t share) {
    for (int thread = 0; thread < state.range(0); ++thread) {
        const OrderCheck& order = orders[static_cast<std::size_t>(thread)];
        if (order.getWrongNumbers() != 0 || order.getNext() != share) {
            state.SkipWithError("something came twice, out of order or not at all");
        }
    }
}

template<class Contender>
void postingThreads(benchmark::State& state, std::uint32_t events) {
    const auto threads = static_cast<std::size_t>(state.range(0));
    const auto share = static_cast<std::uint32_t>(events / threads);
    Contender contender;
    const auto post = [&contender, share](std::size_t thread) {
        for (std::uint32_t i = 0; i < share; ++i) {
            contender.post(makeNumber(thread, i));
        }
    };
    for (auto _ : state) {
        Orders orders;
        {
            const Threads posting(threads, post);
            while (posting.areWorking()) {
                takeAll(contender, orders);
                std::this_thread::yield();
            }
        }
        takeAll(contender, orders);
        report(state, orders, share);
    }
    state.SetItemsProcessed(state.iterations() * share * state.range(0));
}

template<class Contender>
void actionsOfThreads(benchmark::State& state) {
    const auto threads = static_cast<std::size_t>(state.range(0));
    const std::size_t share = 24000 / threads;
    Contender contender;
    std::deque<Waiting> work;
    for (std::size_t i = 0; i < threads; ++i) {
        work.emplace_back(share);
    }
    const auto post = [&](std::size_t thread) { work[thread].postTo(contender); };
    for (auto _ : state) {
        {
            const Threads posting(threads, post);
            while (posting.areWorking()) {
                contender.runAll();
                std::this_thread::yield();
            }
        }
        contender.runAll();
        for (const Waiting& part : work) {
            if (!part.isRightAndComplete()) {
                state.SkipWithError("an action ran out of order, twice or not at all");
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(share * threads));
}

template<class Run>
void add(const std::string& name, Run run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->DenseRange(1, mostThreads)->UseRealTime();
}

template<class Contender>
void addEvents(const std::string& name, std::uint32_t events) {
    add(name, [events](benchmark::State& state) { postingThreads<Contender>(state, events); });
}

} // namespace

void addPostingThreads() {
    using KX::KXEventQueue;
    addEvents<Queue<KXEventQueue::EVENT_QUEUE_AS_QUEUE>>("growth, threads posting/KXAPI", 24000);
    addEvents<Deque>("growth, threads posting/mutex and deque", 24000);
    // No more than a pipe has room for: the threads that post do not wait for the one that takes.
    addEvents<Queue<KXEventQueue::EVENT_QUEUE_AS_PIPE>>("growth, threads posting into a pipe/KXAPI", 6000);
    add("growth, threads posting actions/KXAPI", actionsOfThreads<ActionQueue<false>>);
    add("growth, threads posting actions/mutex and deque", actionsOfThreads<ActionDeque>);
}

} // namespace Bench
