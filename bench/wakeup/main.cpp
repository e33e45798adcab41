// wakeup_bench [OPTIONS OF GOOGLE BENCHMARK]: how long it takes from the post on one thread to the take on another
// one that sleeps. The time of each benchmark is the mean; its counters are the percentiles.

#include "bench/support/QtThread.h"
#include "bench/wakeup/Arrivals.h"
#include "bench/wakeup/Waiter.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <sched.h>
#include <time.h>
#include <unistd.h>

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

/// Binds the calling thread to a core, for as long as this lives.
class Pinned {
public:
    explicit Pinned(int core) {
        sched_getaffinity(0, sizeof before, &before);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(core, &one);
        sched_setaffinity(0, sizeof one, &one);
    }
    ~Pinned() {
        sched_setaffinity(0, sizeof before, &before);
    }
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;

private:
    cpu_set_t before;
};

/// Ends the program when a contender takes far too long. Had it lost something, both threads would sleep for ever.
class Watchdog {
public:
    Watchdog() {
        std::signal(SIGALRM, [](int) {
            constexpr char message[] = "wakeup_bench: what was posted did not all arrive within a minute\n";
            static_cast<void>(!write(STDERR_FILENO, message, sizeof message - 1));
            _exit(1);
        });
        alarm(60);
    }
    ~Watchdog() {
        alarm(0);
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
};

/// The thread in which a contender waits; to be ended by the last number.
class WaitingThread {
public:
    WaitingThread(const Contender& contender, Waiter& waiter, Arrivals& arrivals, int core) {
        Bench::chooseLoop(contender.loop);
        thread.reset(QThread::create([&waiter, &arrivals, core] {
            const Pinned pinned(core);
            waiter.run(arrivals);
        }));
        thread->start();
        arrivals.wait();
    }
    ~WaitingThread() {
        thread->wait();
    }
    WaitingThread(const WaitingThread&) = delete;
    WaitingThread& operator=(const WaitingThread&) = delete;

    bool hasLoop(Bench::QtLoop loop) const {
        return Bench::hasLoop(*thread, loop);
    }

private:
    std::unique_ptr<QThread> thread;
};

/// Long enough for the other thread to fall asleep again.
void rest() {
    const timespec pause = {0, 50000};
    nanosleep(&pause, nullptr);
}

double postOne(Waiter& waiter, Arrivals& arrivals, std::uint32_t number) {
    rest();
    const auto postedAt = Arrivals::Clock::now();
    waiter.post(number);
    arrivals.wait();
    return std::chrono::duration<double>(arrivals.getTakenAt() - postedAt).count();
}

/// The smallest value that at least \p share of all do not exceed.
double getPercentile(const std::vector<double>& sorted, double share) {
    const double rank = std::ceil(share * static_cast<double>(sorted.size()));
    return sorted[static_cast<std::size_t>(rank) - 1];
}

void report(benchmark::State& state, std::vector<double>& seconds) {
    if (seconds.empty())
        return;
    std::sort(seconds.begin(), seconds.end());
    state.SetItemsProcessed(state.iterations());
    state.counters["p50_ns"] = 1e9 * getPercentile(seconds, 0.50);
    state.counters["p99_ns"] = 1e9 * getPercentile(seconds, 0.99);
}

void measure(benchmark::State& state, const Contender& contender, int postingCore, int waitingCore) {
    const Watchdog watchdog;
    const Pinned pinned(postingCore);
    const std::unique_ptr<Waiter> waiter = contender.make();
    Arrivals arrivals;
    std::vector<double> seconds;
    {
        const WaitingThread thread(contender, *waiter, arrivals, waitingCore);
        if (!thread.hasLoop(contender.loop))
            state.SkipWithError("Qt runs another loop than it was told to");
        std::uint32_t number = 0;
        while (number < warmUpPosts)
            postOne(*waiter, arrivals, number++);
        for (auto _ : state) {
            seconds.push_back(postOne(*waiter, arrivals, number++));
            state.SetIterationTime(seconds.back());
        }
        rest();
        waiter->post(Arrivals::lastNumber);
    }
    report(state, seconds);
    arrivals.getOrder().report(state);
}

void add(const std::string& scenario, int postingCore, int waitingCore) {
    for (const auto& contenders : {getPlainContenders(), getLoopContenders(), getQtContenders()}) {
        for (const Contender& contender : contenders) {
            const auto run = [=](benchmark::State& state) { measure(state, contender, postingCore, waitingCore); };
            benchmark::RegisterBenchmark((scenario + "/" + contender.name).c_str(), run)
                ->UseManualTime()
                ->Iterations(postsInARun);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    const QCoreApplication application(argc, argv);
    const std::vector<int> cores = getCores();
    add("wake-up, one core", cores.front(), cores.front());
    if (cores.size() > 1)
        add("wake-up, two cores", cores[0], cores[1]);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
