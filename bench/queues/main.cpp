#include "bench/queues/BarePipe.h"
#include "bench/queues/Limits.h"
#include "bench/queues/OtherQueues.h"
#include "bench/queues/OwnQueues.h"
#include "bench/queues/QtQueues.h"
#include "bench/queues/Scenarios.h"

#include <QCoreApplication>

#include <thread>

namespace {

using KX::KXEventQueue;

void addAll() {
    Bench::addInProcess<Bench::OwnQueue<KXEventQueue::EVENT_QUEUE_AS_QUEUE>>("KXAPI");
    Bench::addSingleThreaded<Bench::UnlockedRing>("unlocked ring");
    Bench::addInProcess<Bench::LockedDeque>("mutex and deque");
    Bench::addInProcess<Bench::GLibQueue>("GLib GAsyncQueue");
    Bench::addInProcess<Bench::LockfreeQueue>("Boost.Lockfree queue");
    Bench::addInProcess<Bench::LockfreeRing>("Boost.Lockfree spsc_queue");
    Bench::addInProcess<Bench::ConcurrentQueue>("moodycamel ConcurrentQueue");
    Bench::addInProcess<Bench::ReaderWriterQueue>("moodycamel ReaderWriterQueue");
    Bench::addInProcess<Bench::AsioPost>("Boost.Asio post");
    const Bench::OnQtThread withGLib(Bench::QtLoop::GLib);
    Bench::addInProcess<Bench::QtPostEvent>("Qt postEvent", withGLib);
    Bench::addInProcess<Bench::QtInvokeMethod>("Qt invokeMethod", withGLib);
    const Bench::OnQtThread withoutGLib(Bench::QtLoop::Own);
    Bench::addInProcess<Bench::QtPostEvent>("Qt postEvent, no GLib", withoutGLib);
    Bench::addInProcess<Bench::QtInvokeMethod>("Qt invokeMethod, no GLib", withoutGLib);

    benchmark::RegisterBenchmark("pipe queue, one event/KXAPI",
                                 Bench::oneEvent<Bench::OwnQueue<KXEventQueue::EVENT_QUEUE_AS_PIPE>>);
    benchmark::RegisterBenchmark("pipe queue, one event/write, poll, read", Bench::oneEvent<Bench::BarePipe>);
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    // The C library spares the atomic operations of a mutex until a process starts its first thread. Nobody needs these
    // queues in a process that never does.
    std::thread([] {}).join();
    // Qt has queues where it has an application.
    const QCoreApplication application(argc, argv);
    addAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
