#pragma once

#include "bench/support/Heap.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <boost/noncopyable.hpp>
#include <deque>
#include <thread>
#include <vector>

/// What is done with every contender that carries something. A contender has
///
///   post(item)         any number of threads, unless it says something else
///   bool take(sink)    gives the oldest item to sink.take(payload), or all that wait; false when nothing waits any more
///
/// and the work that it is given has postTo(contender), isComplete(), isRight() and getCount().
namespace Bench {

/// Threads that post, each with its number, for as long as this lives.
class PostingThreads : private boost::noncopyable {
public:
    template<class Post>
    PostingThreads(std::size_t number, Post post) : posting(number) {
        for (std::size_t i = 0; i < number; ++i) {
            threads.emplace_back([this, post, i] {
                post(i);
                --posting;
            });
        }
    }
    ~PostingThreads() {
        for (std::thread& thread : threads)
            thread.join();
    }

    bool arePosting() const {
        return posting > 0;
    }

private:
    std::atomic<std::size_t> posting;
    std::vector<std::thread> threads;
};

/// Whether all was taken once and in order; ends the measurement otherwise.
template<class Work>
bool check(benchmark::State& state, const Work& work) {
    if (!work.isComplete())
        state.SkipWithError("something posted is not there");
    else if (!work.isRight())
        state.SkipWithError("something came twice, out of order or not at all");
    return work.isComplete() && work.isRight();
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
    state.SetItemsProcessed(state.iterations() * work.getCount());
}

/// Each part of the work is posted by a thread, while another thread takes. Nobody sleeps: the queue is measured, not
/// how a thread is woken.
template<class Contender, class Work, class Sink>
void measureThreads(benchmark::State& state, std::deque<Work>& works, Sink& sink) {
    Contender contender;
    for (auto _ : state) {
        {
            const PostingThreads threads(works.size(), [&](std::size_t i) { works[i].postTo(contender); });
            while (threads.arePosting())
                if (!contender.take(sink))
                    std::this_thread::yield();
        }
        while (contender.take(sink)) {
        }
        for (const Work& work : works)
            if (!check(state, work))
                return;
    }
    const std::size_t count = works.size() * works.front().getCount();
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

/// Counts the bytes that a contender holds for each item when all of the work is posted, itself included.
template<class Contender, class Work>
void countMemory(benchmark::State& state, std::deque<Work>& works) {
    runOnFreshHeap([&](std::size_t before) {
        Contender contender;
        if (works.size() == 1)
            works.front().postTo(contender);
        else
            PostingThreads(
                works.size(), [&](std::size_t i) { works[i].postTo(contender); });
        const auto bytes = static_cast<double>(getHeapBytes() - before);
        state.counters["memory"] = bytes / static_cast<double>(works.size() * works.front().getCount());
    });
}

} // namespace Bench
