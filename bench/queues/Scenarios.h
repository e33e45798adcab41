#pragma once

#include "bench/support/Numbered.h"
#include "bench/support/QtThread.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>
#include <thread>
#include <type_traits>

/// What is done with every queue. A contender has
///
///   using Item                         what its callers have at hand: an event, a holder or a record
///   void post(Item&)                   appends a copy
///   bool take(OrderCheck&)             takes the oldest and hands its number on, or all that wait where it knows no
///                                      less; false when none waited
namespace Bench {

inline void setNumber(KX::KXEvent& event, std::uint32_t number) {
    event.eventData[0] = number;
}

inline void setNumber(Record& record, std::uint32_t number) {
    record.number = number;
}

template<class Item>
Item makeItem() {
    if constexpr (std::is_same_v<Item, Record>) {
        return Record();
    } else {
        KX::KXInputEvent event = makeEvent(0);
        return Item(event);
    }
}

/// Ends a benchmark whose contender gave nothing although something waited.
inline bool fails(benchmark::State& state, bool taken) {
    if (!taken)
        state.SkipWithError("something posted is not there");
    return !taken;
}

template<class Contender>
void oneEvent(benchmark::State& state) {
    Contender contender;
    auto item = makeItem<typename Contender::Item>();
    OrderCheck order;
    std::uint32_t number = 0;
    for (auto _ : state) {
        setNumber(item, number++);
        contender.post(item);
        if (fails(state, contender.take(order)))
            return;
    }
    state.SetItemsProcessed(state.iterations());
    order.report(state);
}

template<class Contender>
void burst(benchmark::State& state) {
    constexpr std::uint32_t size = 1000;
    Contender contender;
    auto item = makeItem<typename Contender::Item>();
    OrderCheck order;
    std::uint32_t number = 0;
    for (auto _ : state) {
        for (std::uint32_t i = 0; i < size; ++i) {
            setNumber(item, number++);
            contender.post(item);
        }
        while (order.getNext() != number)
            if (fails(state, contender.take(order)))
                return;
    }
    state.SetItemsProcessed(state.iterations() * size);
    order.report(state);
}

/// A thread posts while another one takes what there is. Nobody sleeps: it is the queue that is measured, not how a
/// thread is woken.
template<class Contender>
void twoThreads(benchmark::State& state) {
    constexpr std::uint32_t size = 20000;
    Contender contender;
    OrderCheck order;
    std::uint32_t number = 0;
    for (auto _ : state) {
        std::atomic<bool> allPosted{false};
        std::thread producer([&contender, &allPosted, number] {
            auto item = makeItem<typename Contender::Item>();
            for (std::uint32_t i = 0; i < size; ++i) {
                setNumber(item, number + i);
                contender.post(item);
            }
            allPosted = true;
        });
        number += size;
        while (order.getNext() != number) {
            const bool nothingMoreComes = allPosted;
            if (!contender.take(order)) {
                if (nothingMoreComes) {
                    state.SkipWithError("something posted is not there");
                    break;
                }
                std::this_thread::yield();
            }
        }
        producer.join();
    }
    state.SetItemsProcessed(state.iterations() * size);
    order.report(state);
}

template<class Contender, class Place = Here>
void addSingleThreaded(const std::string& name, Place place = Place()) {
    benchmark::RegisterBenchmark(("in-process, one event/" + name).c_str(), place(oneEvent<Contender>));
    benchmark::RegisterBenchmark(("in-process, 1000 events/" + name).c_str(), place(burst<Contender>));
}

template<class Contender, class Place = Here>
void addInProcess(const std::string& name, Place place = Place()) {
    addSingleThreaded<Contender>(name, place);
    benchmark::RegisterBenchmark(("in-process, two threads/" + name).c_str(), place(twoThreads<Contender>))
        ->UseRealTime();
}

} // namespace Bench
