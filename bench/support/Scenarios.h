#pragma once

#include "bench/support/Heap.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <deque>
#include <thread>
#include <vector>

/// What is done with every contender that carries something. A contender has
///
///   post(item)         any number of threads, unless it says something else
///   bool take(sink)    gives the oldest item to sink.take(payload), or all that wait; false when nothing waits
///
/// and the work that it is given has postTo(contender), isComplete(), isRight() and count.
namespace Bench {

/// Whether all was taken once and in order; ends the measurement otherwise.
template<class Work>
bool check(benchmark::State& state, const Work& work) {
    if (!work.isRight())
        state.SkipWithError("something came twice, out of order or not at all");
    else if (!work.isComplete())
        state.SkipWithError("something posted is not there");
    return work.isRight() && work.isComplete();
}

/// Everything is posted, then everything is taken.
template<class Contender, class Work, class Sink>
void measure(benchmark::State& state, Work& work, Sink& sink) {
    Contender contender;
    for (auto _ : state) {
        work.postTo(contender);
        while (contender.take(sink) && !work.isComplete()) {
        }
        if (!check(state, work))
            return;
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(work.count));
}

/// Each part of the work is posted by a thread; this one calls \p meanwhile again and again until all is posted.
template<class Contender, class Work, class Meanwhile>
void postFromThreads(Contender& contender, std::deque<Work>& works, Meanwhile meanwhile) {
    std::atomic<std::size_t> posting{works.size()};
    std::vector<std::thread> threads;
    for (Work& work : works) {
        threads.emplace_back([&contender, &posting, &work] {
            work.postTo(contender);
            --posting;
        });
    }
    while (posting > 0)
        meanwhile();
    for (std::thread& thread : threads)
        thread.join();
}

/// Each part of the work is posted by a thread, while another thread takes. Nobody sleeps: the queue is measured, not
/// how a thread is woken.
template<class Contender, class Work, class Sink>
void measureThreads(benchmark::State& state, std::deque<Work>& works, Sink& sink) {
    Contender contender;
    for (auto _ : state) {
        postFromThreads(contender, works, [&] {
            if (!contender.take(sink))
                std::this_thread::yield();
        });
        while (contender.take(sink)) {
        }
        for (const Work& work : works)
            if (!check(state, work))
                return;
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(works.size() * works.front().count));
}

/// Counts the bytes that a contender holds for each item when all of the work is posted, itself included.
template<class Contender, class Work>
void countMemory(benchmark::State& state, std::deque<Work>& works) {
    runOnFreshHeap([&](std::size_t before) {
        Contender contender;
        if (works.size() == 1)
            works.front().postTo(contender);
        else
            postFromThreads(
                contender, works, [] { std::this_thread::yield(); });
        const auto bytes = static_cast<double>(getHeapBytes() - before);
        state.counters["memory"] = bytes / static_cast<double>(works.size() * works.front().count);
    });
}

} // namespace Bench
