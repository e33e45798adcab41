// wakeup_bench: from the post on one thread to the take on another one that sleeps, as percentiles.

#include "bench/support/Measurement.h"
#include "bench/wakeup/Waiters.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <sched.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace Bench {
namespace {

constexpr int postsInARun = 2000;
constexpr std::uint32_t warmUpPosts = 100;

/// The cores that this process may use, in their order.
std::vector<int> getCores() {
    cpu_set_t allowed;
    sched_getaffinity(0, sizeof allowed, &allowed);
    std::vector<int> cores;
    for (int core = 0; core < CPU_SETSIZE; ++core)
        if (CPU_ISSET(core, &allowed))
            cores.push_back(core);
    return cores;
}

/// Binds the calling thread to a core.
void pin(int core) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(core, &one);
    sched_setaffinity(0, sizeof one, &one);
}

/// Ends the program when a contender takes far too long: when an event is lost, both threads sleep for ever.
void watch() {
    std::signal(SIGALRM, [](int) {
        constexpr char message[] = "wakeup_bench: what was posted did not all arrive within a minute\n";
        static_cast<void>(!write(STDERR_FILENO, message, sizeof message - 1));
        _exit(1);
    });
    alarm(60);
}

/// Waits for long enough that the other thread falls asleep again, then posts.
/// \return when
template<class Contender>
Arrivals::Clock::time_point restAndPost(Contender& waiter, std::uint32_t number) {
    std::this_thread::sleep_for(std::chrono::microseconds(50));
    const auto now = Arrivals::Clock::now();
    waiter.post(number);
    return now;
}

template<class Contender>
double postOne(Contender& waiter, Arrivals& arrivals, std::uint32_t number) {
    const auto postedAt = restAndPost(waiter, number);
    arrivals.wait();
    return std::chrono::duration<double>(arrivals.takenAt - postedAt).count();
}

/// A percentile is the smallest value that at least this share of all do not exceed. No mean: one late wake-up would
/// outweigh a thousand others.
void report(benchmark::State& state, std::vector<double>& seconds) {
    if (seconds.empty())
        return;
    std::sort(seconds.begin(), seconds.end());
    for (const auto& [name, share] : {std::pair("p50", 0.50), std::pair("p99", 0.99)}) {
        const double rank = std::ceil(share * static_cast<double>(seconds.size()));
        state.counters[name] = 1e9 * seconds[static_cast<std::size_t>(rank) - 1];
    }
}

template<class Contender>
void measure(benchmark::State& state, bool isWithGLib, int postingCore, int waitingCore) {
    watch();
    pin(postingCore);
    Contender waiter;
    Arrivals arrivals;
    std::vector<double> seconds;
    const auto thread = startQtThread(isWithGLib, [&] {
        pin(waitingCore);
        waiter.run(arrivals);
    });
    arrivals.wait();
    checkLoop(state, *thread, isWithGLib);
    std::uint32_t number = 0;
    while (number < warmUpPosts)
        postOne(waiter, arrivals, number++);
    for (auto _ : state) {
        seconds.push_back(postOne(waiter, arrivals, number++));
        state.SetIterationTime(seconds.back());
    }
    restAndPost(waiter, Arrivals::lastNumber);
    thread->wait();
    alarm(0);
    report(state, seconds);
    if (!arrivals.order.isRight)
        state.SkipWithError("something came twice, out of order or not at all");
}

template<class Contender>
void addContender(const std::string& name, Group group) {
    const std::vector<int> cores = getCores();
    const auto addScenario = [&](const char* scenario, int posting, int waiting) {
        const auto run = [=](benchmark::State& state) {
            measure<Contender>(state, group != Group::QtWithoutGLib, posting, waiting);
        };
        add({scenario, name, group, run, 0, Time::SetByHand, postsInARun});
    };
    addScenario("wake-up, one core", cores[0], cores[0]);
    if (cores.size() > 1)
        addScenario("wake-up, two cores", cores[0], cores[1]);
}

} // namespace

void addAll() {
    addContender<PipeWaiter<OwnPipe>>("KXAPI", Group::Ours);
    addContender<PipeWaiter<OwnPipe, true>>("KXAPI, poll", Group::Ours);
    addContender<PipeWaiter<PlainPipe<false>>>("bare pipe", Group::Limit);
    addContender<PipeWaiter<PlainPipe<true>>>("bare pipe, asked first", Group::Limit);
    addContender<PipeWaiter<PlainPipe<false>, true>>("bare pipe, poll", Group::Limit);
    addContender<ConditionWaiter>("condition variable", Group::Peer);
    addContender<AsioWaiter>("Asio post", Group::Peer);
    addContender<UVWaiter>("libuv uv_async", Group::Peer);
    using Holder = KX::KXSomeEvent;
    using Event = KX::KXInputEvent;
    addForEachLoop("Qt postEvent", addContender<QtWaiter<QtPostEvent<Holder, Arrivals, Event>>>);
    addForEachLoop("Qt invokeMethod", addContender<QtWaiter<QtInvokeMethod<Holder, Arrivals, Event>>>);
}

} // namespace Bench
