// Queues of events: one event, bursts, what waits, and threads that meet. And a key press, from toolkitEventOccurred to
// getNextEvent.

#include "bench/queues/Contenders.h"
#include "bench/support/BarePipe.h"
#include "bench/support/Carriers.h"
#include "bench/support/Measurement.h"
#include "bench/support/Scenarios.h"
#include "input/KXInputEventManager.h"

#include <Qt>

#include <boost/noncopyable.hpp>
#include <limits>

namespace Bench {
namespace {

/// The manager, as a queue.
struct Manager : boost::noncopyable {
    using Item = KX::KXToolkitEvent;

    Manager() {
        // The ticks of the presses are made up; the worker must not take any for a key that is held long.
        manager->setLongKeyPressDuration(std::numeric_limits<unsigned int>::max());
    }
    ~Manager() { KX::KXInputEventManager::deleteInstance(); }

    void post(Item& event) const {
        event.eventClass = KX::TOOLKIT_EVENT_CLASS;
        event.eventType = KX::TOOLKIT_KEY_PRESS_EVENT;
        event.osKeyCode = Qt::Key_Home;
        event.timeStamp = 1000 * event.eventData[0]; // a second apart: no double presses
        manager->toolkitEventOccurred(event);
    }

    bool take(OrderCheck& order) const {
        const KX::KXInputEvent taken = manager->getNextEvent();
        const bool isRight = taken.eventType == KX::KEY_PRESS_EVENT && taken.keyCode == KX::KX_KEY_HOME;
        if (isRight)
            order.take(taken);
        return isRight;
    }

    KX::KXInputEventManager* const manager = KX::KXInputEventManager::createInstance();
};

template<class Contender>
void run(benchmark::State& state, std::size_t count) {
    OrderCheck order;
    Events<Contender> events(order, count);
    measure<Contender>(state, events, order);
}

template<class Contender>
void runAndCount(benchmark::State& state, std::size_t count) {
    run<Contender>(state, count);
    OrderCheck order;
    std::deque<Events<Contender>> works;
    works.emplace_back(order, count);
    countMemory<Contender>(state, works);
}

/// Threads share in posting the events.
template<class Contender>
void runThreads(benchmark::State& state, std::size_t count, std::size_t threads, bool isMemoryCounted) {
    OrderCheck order;
    std::deque<Events<Contender>> works;
    for (std::size_t i = 0; i < threads; ++i)
        works.emplace_back(order, count / threads, i);
    measureThreads<Contender>(state, works, order);
    if (isMemoryCounted)
        countMemory<Contender>(state, works);
}

template<class Contender>
void addOneEvent(const char* scenario, const std::string& name, Group group) {
    add({scenario, name, group, [](benchmark::State& state) { run<Contender>(state, 1); }});
}

template<class Contender>
void addOneThread(const std::string& name, Group group) {
    addOneEvent<Contender>("in-process, one event", name, group);
    add({"in-process, 1000 events", name, group, [](benchmark::State& state) { run<Contender>(state, 1000); }});
}

template<class Contender>
void addInProcess(const std::string& name, Group group) {
    addOneThread<Contender>(name, group);
    add({"in-process, two threads", name, group,
         [](benchmark::State& state) { runThreads<Contender>(state, 20000, 1, false); }, 0, Time::OfClock});
}

template<class Contender>
void addWaiting(const std::string& name, Group group) {
    addSizes("growth, events waiting", name, group, runAndCount<Contender>, {1, 10, 1000, 100000, 1000000});
}

template<class Contender>
void addThreads(const char* scenario, const char* name, Group group, std::size_t count, bool isMemoryCounted) {
    const auto run = [=](benchmark::State& state, std::size_t threads) {
        runThreads<Contender>(state, count, threads, isMemoryCounted);
    };
    addSizes(scenario, name, group, run, {1, 2, 3, 4}, Time::OfClock);
}

} // namespace

void addAll() {
    using Event = KX::KXInputEvent;
    using Deque = LockedDeque<KX::KXSomeEvent>;
    using PostEvent = QtPostEvent<KX::KXSomeEvent, OrderCheck, Event>;
    addInProcess<InProcessQueue>("KXAPI", Group::Ours);
    addOneThread<UnlockedRing>("unlocked ring", Group::Limit);
    addInProcess<Deque>("mutex and deque", Group::Limit);
    addInProcess<GLibQueue>("GLib GAsyncQueue", Group::Peer);
    addInProcess<LockfreeQueue>("Boost.Lockfree queue", Group::Peer);
    addInProcess<LockfreeRing>("Boost.Lockfree spsc_queue", Group::Peer);
    addInProcess<ConcurrentQueue>("moodycamel ConcurrentQueue", Group::Peer);
    addInProcess<ReaderWriterQueue>("moodycamel ReaderWriterQueue", Group::Peer);
    addInProcess<AsioPost<KX::KXSomeEvent, OrderCheck, Event>>("Boost.Asio post", Group::Peer);
    addForEachLoop("Qt postEvent", addInProcess<PostEvent>);
    addForEachLoop("Qt invokeMethod", addInProcess<QtInvokeMethod<KX::KXSomeEvent, OrderCheck, Event>>);
    addWaiting<InProcessQueue>("KXAPI", Group::Ours);
    addWaiting<Deque>("mutex and deque", Group::Limit);
    addForEachLoop("Qt postEvent", addWaiting<PostEvent>);
    addThreads<InProcessQueue>("growth, threads posting", "KXAPI", Group::Ours, 24000, true);
    addThreads<Deque>("growth, threads posting", "mutex and deque", Group::Limit, 24000, true);
    // A pipe's memory is the kernel's. It has room for some 7,000 records; a thread that posts does not wait for more.
    addOneEvent<PipeQueue>("pipe queue, one event", "KXAPI", Group::Ours);
    addOneEvent<BarePipe>("pipe queue, one event", "write, poll, read", Group::Limit);
    addSizes("growth, events waiting in a pipe", "KXAPI", Group::Ours, run<PipeQueue>, {1, 10, 100, 1000, 7000});
    addThreads<PipeQueue>("growth, threads posting into a pipe", "KXAPI", Group::Ours, 6000, false);
    addOneEvent<Manager>("key press", "KXAPI", Group::Ours);
    addOneEvent<BarePipe>("key press", "write, poll, read", Group::Limit);
}

} // namespace Bench
