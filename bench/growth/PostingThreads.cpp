// Several threads that post, and one that takes meanwhile. The items are the same in number however many threads
// share in posting them.

#include "bench/actions/Contenders.h"
#include "bench/actions/Waiting.h"
#include "bench/growth/Growth.h"
#include "bench/growth/Heap.h"
#include "bench/queues/Limits.h"
#include "bench/queues/OwnQueues.h"
#include "bench/queues/Scenarios.h"

#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <deque>
#include <string>
#include <thread>
#include <vector>

namespace Bench {
namespace {

constexpr int mostThreads = 4;

/// Checks the order of each thread's own numbers. The upper bits of a number tell whose it is.
class OrderChecks {
public:
    static std::uint32_t makeNumber(std::size_t thread, std::uint32_t number) {
        return static_cast<std::uint32_t>(thread) << threadShift | number;
    }

    void take(std::uint32_t number) {
        orders.at(number >> threadShift).take(number & ((1U << threadShift) - 1));
    }

    /// Ends the benchmark with an error unless each of the threads has posted its share, in order.
    void report(benchmark::State& state, std::size_t threads, std::uint32_t share) const {
        for (std::size_t thread = 0; thread < threads; ++thread)
            if (orders[thread].getWrongNumbers() != 0 || orders[thread].getNext() != share)
                state.SkipWithError("something came twice, out of order or not at all");
    }

private:
    static constexpr unsigned int threadShift = 24;

    std::array<OrderCheck, mostThreads> orders;
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
        for (std::thread& thread : threads)
            thread.join();
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

template<class Contender>
void takeAll(Contender& contender, OrderChecks& orders) {
    while (contender.take(orders)) {
    }
}

/// What a contender takes of the heap when all threads have posted and nothing is taken yet, itself included.
template<class Contender, class Post, class... Arguments>
double measureBytesPerItem(std::size_t threads, std::size_t share, const Post& post, Arguments... arguments) {
    double bytes = 0;
    runOnFreshHeap([&](std::size_t before) {
        Contender contender(arguments...);
        {
            const Threads posting(threads, [&](std::size_t thread) { post(contender, thread); });
        }
        bytes = static_cast<double>(getHeapBytes() - before) / static_cast<double>(share * threads);
    });
    return bytes;
}

template<class Contender>
void postingThreads(benchmark::State& state, std::uint32_t events, bool isInHeap) {
    const auto threads = static_cast<std::size_t>(state.range(0));
    const auto share = static_cast<std::uint32_t>(events / threads);
    Contender contender;
    const auto post = [share](Contender& to, std::size_t thread) {
        auto item = makeItem<typename Contender::Item>();
        for (std::uint32_t i = 0; i < share; ++i) {
            setNumber(item, OrderChecks::makeNumber(thread, i));
            to.post(item);
        }
    };
    for (auto _ : state) {
        OrderChecks orders;
        {
            const Threads posting(threads, [&](std::size_t thread) { post(contender, thread); });
            while (posting.areWorking()) {
                takeAll(contender, orders);
                std::this_thread::yield();
            }
        }
        takeAll(contender, orders);
        orders.report(state, threads, share);
    }
    state.SetItemsProcessed(state.iterations() * share * state.range(0));
    if (isInHeap)
        state.counters["bytes_per_item"] = measureBytesPerItem<Contender>(threads, share, post);
}

template<class Contender>
void actionsOfThreads(benchmark::State& state) {
    const auto threads = static_cast<std::size_t>(state.range(0));
    const std::size_t share = 24000 / threads;
    Contender contender(false);
    std::deque<Waiting> work;
    for (std::size_t i = 0; i < threads; ++i)
        work.emplace_back(share);
    const auto post = [&work](Contender& to, std::size_t thread) { work[thread].postTo(to); };
    for (auto _ : state) {
        {
            const Threads posting(threads, [&](std::size_t thread) { post(contender, thread); });
            while (posting.areWorking()) {
                contender.runAll();
                std::this_thread::yield();
            }
        }
        contender.runAll();
        for (const Waiting& part : work)
            if (!part.isRightAndComplete())
                state.SkipWithError("an action ran out of order, twice or not at all");
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(share * threads));
    state.counters["bytes_per_item"] = measureBytesPerItem<Contender>(threads, share, post, false);
}

template<class Run>
void add(const std::string& name, Run run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->DenseRange(1, mostThreads)->UseRealTime();
}

template<class Contender>
void addEvents(const std::string& name, std::uint32_t events, bool isInHeap = true) {
    add(
        name, [=](benchmark::State& state) { postingThreads<Contender>(state, events, isInHeap); });
}

} // namespace

void addPostingThreads() {
    using KX::KXEventQueue;
    addEvents<OwnQueue<KXEventQueue::EVENT_QUEUE_AS_QUEUE>>("growth, threads posting/KXAPI", 24000);
    addEvents<LockedDeque>("growth, threads posting/mutex and deque", 24000);
    // No more than a pipe has room for: the threads that post do not wait for the one that takes. Its memory is the
    // kernel's.
    addEvents<OwnQueue<KXEventQueue::EVENT_QUEUE_AS_PIPE>>("growth, threads posting into a pipe/KXAPI", 6000,
                                                           false);
    add("growth, threads posting actions/KXAPI", actionsOfThreads<OwnActions>);
    add("growth, threads posting actions/mutex and deque", actionsOfThreads<LockedItems>);
}

} // namespace Bench
