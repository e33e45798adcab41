#include "bench/actions/Contenders.h"
#include "bench/actions/Scenarios.h"
#include "bench/support/OtherThread.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    // GLib's default context is to be GLib's contender's alone.
    Bench::chooseLoop(Bench::QtLoop::Own);
    const QCoreApplication application(argc, argv);
    Bench::addContender<Bench::OwnActions>("KXAPI");
    Bench::addContender<Bench::LockedItems>("mutex and deque");
    Bench::addContender<Bench::AsioActions>("Asio");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    const Bench::OtherThread otherThread;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
