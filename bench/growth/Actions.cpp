// Actions that wait, and chains of actions in which each posts the next.

#include "bench/actions/Contenders.h"
#include "bench/actions/Scenarios.h"
#include "bench/growth/Growth.h"
#include "bench/growth/Heap.h"

#include <benchmark/benchmark.h>
#include <string>

namespace Bench {
namespace {

/// The library's, told not to look for loops in a chain.
class WithoutDetection : public OwnActions {
public:
    explicit WithoutDetection(bool) : OwnActions(false) {}
};

template<class Contender>
double measureBytesPerWaiting(std::size_t items) {
    Waiting work(items);
    double bytes = 0;
    runOnFreshHeap([&](std::size_t before) {
        Contender contender(false);
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
        if (--items == 0)
            atTheEnd = getHeapBytes();
    }

    void runAll() {
        contender.runAll();
    }

    std::size_t getBytesAtTheEnd() const {
        return atTheEnd;
    }

private:
    Contender contender{true};
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

template<class Contender>
void waitingActions(benchmark::State& state) {
    measureWaiting<Contender>(state);
    state.counters["bytes_per_item"] = measureBytesPerWaiting<Contender>(static_cast<std::size_t>(state.range(0)));
}

template<class Contender>
void chain(benchmark::State& state) {
    measureChain<Contender>(state);
    state.counters["bytes_per_item"] = measureBytesPerLink<Contender>(static_cast<std::size_t>(state.range(0)));
}

template<class Contender>
void addWaiting(const char* contender) {
    const std::string name = std::string("growth, actions waiting/") + contender;
    auto* const benchmark = benchmark::RegisterBenchmark(name.c_str(), waitingActions<Contender>);
    for (const int items : {1, 10, 1000, 100000, 1000000})
        benchmark->Arg(items);
}

template<class Contender>
void addChain(const char* contender) {
    const std::string name = std::string("growth, chain of actions/") + contender;
    auto* const benchmark = benchmark::RegisterBenchmark(name.c_str(), chain<Contender>);
    for (const int items : {10, 1000, 100000})
        benchmark->Arg(items);
}

} // namespace

void addWaitingActions() {
    addWaiting<OwnActions>("KXAPI");
    addWaiting<LockedItems>("mutex and deque");
    addWaiting<AsioActions>("Asio");
}

void addChains() {
    addChain<OwnActions>("KXAPI");
    addChain<WithoutDetection>("KXAPI, loop detection off");
    addChain<LockedItems>("mutex and deque");
    addChain<AsioActions>("Asio");
}

} // namespace Bench
