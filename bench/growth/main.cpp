// growth_bench [OPTIONS OF GOOGLE BENCHMARK]: how time and memory grow.

#include "bench/growth/Growth.h"
#include "bench/support/OtherThread.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    const QCoreApplication application(argc, argv);
    const Bench::OtherThread otherThread;
    Bench::addWaitingEvents();
    Bench::addWaitingActions();
    Bench::addChains();
    Bench::addPostingThreads();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
