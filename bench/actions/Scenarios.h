#pragma once

#include "Chain.h"
#include "Waiting.h"
#include "bench/support/QtThread.h"

#include <benchmark/benchmark.h>
#include <string>

/// What every contender is put to. A contender posts items and runs them, those that run meanwhile post included:
///     explicit Contender(bool isChain);
///     void post(const Item& item);
///     void runAll();
namespace Bench {

template<class Contender, class Work, class Begin>
void measure(benchmark::State& state, Contender& contender, Work& work, Begin begin) {
    bool isRight = true;
    for (auto _ : state) {
        begin();
        contender.runAll();
        isRight = isRight && work.isRightAndComplete();
    }
    if (!isRight)
        state.SkipWithError("an action ran out of order, twice or not at all");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Many are posted, then all are run.
template<class Contender>
void measureWaiting(benchmark::State& state) {
    Contender contender(false);
    Waiting work(static_cast<std::size_t>(state.range(0)));
    measure(state, contender, work, [&] { work.postTo(contender); });
}

/// Each posts the next while it runs.
template<class Contender>
void measureChain(benchmark::State& state) {
    Contender contender(true);
    Chain<Contender> work(contender, static_cast<std::size_t>(state.range(0)));
    measure(state, contender, work, [&] { work.begin(); });
}

template<class Contender, class Place = Here>
bool addContender(const std::string& name, Place place = Place()) {
    benchmark::RegisterBenchmark(("actions waiting/" + name).c_str(), place(measureWaiting<Contender>))
        ->Arg(1)
        ->Arg(1000)
        ->Arg(100000);
    benchmark::RegisterBenchmark(("chain of actions/" + name).c_str(), place(measureChain<Contender>))
        ->Arg(10)
        ->Arg(1000)
        ->Arg(100000);
    return true;
}

} // namespace Bench
