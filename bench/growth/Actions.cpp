// Actions that wait, and chains of actions in which each posts the next.

#include "bench/actions/Chain.h"
#include "bench/actions/Waiting.h"
#include "bench/growth/ActionContenders.h"
#include "bench/growth/Growth.h"
#include "bench/growth/Heap.h"

#include <benchmark/benchmark.h>
#include <string>

namespace Bench {
namespace {

template<class Contender>
double measureBytesPerWaiting(Waiting& work, std::size_t items) {
    double bytes = 0;
    runOnFreshHeap([&](std::size_t before) {
        Contender contender;
        work.postTo(contender);
        bytes = static_cast<double>(getHeapBytes() - before) / static_cast<double>(items);
    });
    return bytes;
}

/// Looks at the heap when the last item of a chain is posted: all that ran before is known by then.
template<class Contender>
class Watched {
public:
    explicit Watched(std::size_t itemsInAll) : items(itemsInAll) {}

    void post(const Item& item) {
        contender.post(item);
        if (--items == 0) {
            atTheEnd = getHeapBytes();
        }
    }

    void runAll() {
        contender.runAll();
    }

    std::size_t getBytesAtTheEnd() const {
        return atTheEnd;
    }

private:
    Contender contender;
    std::size_t items;
    std::size_t atTheEnd = 0;
};

template<class Contender>
double measureBytesPerLink(std::size_t items) {
    Watched<Contender> watched(items);
    Chain<Watched<Contender>> work(watched, items);
    double bytes = 0;
    runOnFreshHeap([&](std::size_t before) {
        work.begin();
        watched.runAll();
        bytes = static_cast<double>(watched.getBytesAtTheEnd() - before) / static_cast<double>(items);
    });
    return bytes;
}

template<class Contender, class Work, class Begin>
void measure(benchmark::State& state, Contender& contender, Work& work, Begin begin) {
    for (auto _ : state) {
        begin();
        contender.runAll();
        if (!work.isRightAndComplete()) {
            state.SkipWithError("an action ran out of order, twice or not at all");
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template<class Contender>
void waitingActions(benchmark::State& state) {
    const auto items = static_cast<std::size_t>(state.range(0));
    Contender contender;
    Waiting work(items);
    measure(state, contender, work, [&] { work.postTo(contender); });
    state.counters["bytes_per_item"] = measureBytesPerWaiting<Contender>(work, items);
}

template<class Contender>
void chain(benchmark::State& state) {
    const auto items = static_cast<std::size_t>(state.range(0));
    Contender contender;
    Chain<Contender> work(contender, items);
    measure(state, contender, work, [&] { work.begin(); });
    state.counters["bytes_per_item"] = measureBytesPerLink<Contender>(items);
}

template<class Contender>
void addWaiting(const char* contender) {
    const std::string name = std::string("growth, actions waiting/") + contender;
    auto* const benchmark = benchmark::RegisterBenchmark(name.c_str(), waitingActions<Contender>);
    for (const int items : {1, 10, 1000, 100000, 1000000}) {
        benchmark->Arg(items);
    }
}

template<class Contender>
void addChain(const char* contender) {
    const std::string name = std::string("growth, chain of actions/") + contender;
    auto* const benchmark = benchmark::RegisterBenchmark(name.c_str(), chain<Contender>);
    for (const int items : {10, 1000, 100000}) {
        benchmark->Arg(items);
    }
}

} // namespace

void addWaitingActions() {
    addWaiting<ActionQueue<false>>("KXAPI");
    addWaiting<ActionDeque>("mutex and deque");
    addWaiting<AsioActions>("Asio");
}

void addChains() {
    addChain<ActionQueue<true>>("KXAPI");
    addChain<ActionQueue<false>>("KXAPI, loop detection off");
    addChain<ActionDeque>("mutex and deque");
    addChain<AsioActions>("Asio");
}

} // namespace Bench
