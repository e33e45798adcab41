// Events that wait: all are posted, then all are taken.

#include "bench/growth/Growth.h"
#include "bench/growth/Heap.h"
#include "bench/queues/Limits.h"
#include "bench/queues/OwnQueues.h"
#include "bench/queues/QtQueues.h"
#include "bench/queues/Scenarios.h"

namespace Bench {
namespace {

using KX::KXEventQueue;

template<class Contender>
void postMany(Contender& contender, std::uint32_t first, std::uint32_t events) {
    auto item = makeItem<typename Contender::Item>();
    for (std::uint32_t i = 0; i < events; ++i) {
        setNumber(item, first + i);
        contender.post(item);
    }
}

/// What a queue takes of the heap while the events wait, itself included.
template<class Contender>
double measureBytesPerEvent(std::uint32_t events) {
    double bytes = 0;
    runOnFreshHeap([&](std::size_t before) {
        Contender contender;
        postMany(contender, 0, events);
        bytes = static_cast<double>(getHeapBytes() - before) / events;
    });
    return bytes;
}

template<class Contender>
void waitingEvents(benchmark::State& state) {
    const auto events = static_cast<std::uint32_t>(state.range(0));
    Contender contender;
    OrderCheck order;
    std::uint32_t posted = 0;
    for (auto _ : state) {
        postMany(contender, posted, events);
        posted += events;
        while (order.getNext() != posted)
            if (fails(state, contender.take(order)))
                return;
    }
    order.report(state);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template<class Contender>
void waitingEventsAndMemory(benchmark::State& state) {
    waitingEvents<Contender>(state);
    state.counters["bytes_per_item"] = measureBytesPerEvent<Contender>(static_cast<std::uint32_t>(state.range(0)));
}

template<class Contender, class Place = Here>
void add(const char* contender, Place place = Place()) {
    const std::string name = std::string("growth, events waiting/") + contender;
    auto* const benchmark = benchmark::RegisterBenchmark(name.c_str(), place(waitingEventsAndMemory<Contender>));
    for (const int events : {1, 10, 1000, 100000, 1000000})
        benchmark->Arg(events);
}

/// A pipe's memory is the kernel's, and it has room for some 7,000 records.
template<class Contender>
void addPipe(const char* contender) {
    const std::string name = std::string("growth, events waiting in a pipe/") + contender;
    auto* const benchmark = benchmark::RegisterBenchmark(name.c_str(), waitingEvents<Contender>);
    for (const int events : {1, 10, 100, 1000, 7000})
        benchmark->Arg(events);
}

} // namespace

void addWaitingEvents() {
    add<OwnQueue<KXEventQueue::EVENT_QUEUE_AS_QUEUE>>("KXAPI");
    add<LockedDeque>("mutex and deque");
    add<QtPostEvent>("Qt postEvent", OnQtThread(QtLoop::GLib));
    add<QtPostEvent>("Qt postEvent, no GLib", OnQtThread(QtLoop::Own));
    addPipe<OwnQueue<KXEventQueue::EVENT_QUEUE_AS_PIPE>>("KXAPI");
}

} // namespace Bench
