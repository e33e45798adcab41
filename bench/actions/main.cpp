#include <QCoreApplication>
#include <benchmark/benchmark.h>
#include <future>
#include <thread>

// Every lock is cheaper in a process of one thread, which no program is that has a queue between threads. So there
// is a second one, which sleeps.
int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    std::promise<void> end;
    std::thread other([&end] { end.get_future().wait(); });
    benchmark::RunSpecifiedBenchmarks();
    end.set_value();
    other.join();
}
