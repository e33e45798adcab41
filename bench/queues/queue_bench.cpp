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
class Manager : private boost::noncopyable {
public:
    using Item = KX::KXToolkitEvent;

    Manager() {
        // The ticks of the presses are made up; the worker must not take any for a key that is held long.
        manager->setLongKeyPressDuration(std::numeric_limits<unsigned int>::max());
    }
    ~Manager() {
        KX::KXInputEventManager::deleteInstance();
    }

    void post(Item& event) const {
        event.eventClass = KX::TOOLKIT_EVENT_CLASS;
        event.eventType = KX::TOOLKIT_KEY_PRESS_EVENT;
        event.osKeyCode = Qt::Key_Home;
        manager->toolkitEventOccurred(event);
    }

    bool take(OrderCheck& order) const {
        const KX::KXInputEvent taken = manager->getNextEvent();
        const bool isRight = taken.eventType == KX::KEY_PRESS_EVENT && taken.keyCode == KX::KX_KEY_HOME;
        if (isRight)
            order.take(taken);
        return isRight;
    }

private:
    KX::KXInputEventManager* const manager = KX::KXInputEventManager::createInstance();
};

/// As many events wait.
template<class Contender>
auto waiting(std::uint32_t events, bool isMemoryCounted = false) {
    return [=](benchmark::State& state) {
        OrderCheck order;
        std::deque<Events<Contender>> works;
        works.emplace_back(order, events);
        measure<Contender>(state, works.front(), order);
        if (isMemoryCounted)
            countMemory<Contender>(state, works);
    };
}

/// Threads share in posting the events.
template<class Contender>
auto posting(std::uint32_t events, int threads = 1, bool isMemoryCounted = false) {
    return [=](benchmark::State& state) {
        OrderCheck order;
        std::deque<Events<Contender>> works;
        for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(threads); ++i)
            works.emplace_back(order, events / static_cast<std::uint32_t>(threads), i);
        measureThreads<Contender>(state, works, order);
        if (isMemoryCounted)
            countMemory<Contender>(state, works);
    };
}

template<class Contender, class Place = Here>
void addOneThread(const std::string& name, Group group, Place place = Place()) {
    add({"in-process, one event", name, group, place(waiting<Contender>(1))});
    add({"in-process, 1000 events", name, group, place(waiting<Contender>(1000))});
}

template<class Contender, class Place = Here>
void addInProcess(const std::string& name, Group group, Place place = Place()) {
    addOneThread<Contender>(name, group, place);
    add({"in-process, two threads", name, group, place(posting<Contender>(20000)), 0, Time::OfClock});
}

template<class Contender, class Place = Here>
void addWaiting(const std::string& name, Group group, Place place = Place()) {
    for (const int events : {1, 10, 1000, 100000, 1000000})
        add({"growth, events waiting", name, group,
             place(waiting<Contender>(static_cast<std::uint32_t>(events), true)), events});
}

template<class Contender>
void addPosting(const std::string& scenario, const char* name, Group group, std::uint32_t events, bool isInHeap) {
    for (const int threads : {1, 2, 3, 4})
        add({scenario, name, group, posting<Contender>(events, threads, isInHeap), threads, Time::OfClock});
}

/// A pipe's memory is the kernel's. It has room for some 7,000 records; a thread that posts does not wait for more.
void addPipe() {
    add({"pipe queue, one event", "KXAPI", Group::Ours, waiting<PipeQueue>(1)});
    add({"pipe queue, one event", "write, poll, read", Group::Limit, waiting<BarePipe>(1)});
    for (const int events : {1, 10, 100, 1000, 7000})
        add({"growth, events waiting in a pipe", "KXAPI", Group::Ours,
             waiting<PipeQueue>(static_cast<std::uint32_t>(events)), events});
    addPosting<PipeQueue>("growth, threads posting into a pipe", "KXAPI", Group::Ours, 6000, false);
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
    addForEachLoop("Qt postEvent", addInProcess<PostEvent, OnQtThread>);
    addForEachLoop("Qt invokeMethod",
                   addInProcess<QtInvokeMethod<KX::KXSomeEvent, OrderCheck, Event>, OnQtThread>);
    addWaiting<InProcessQueue>("KXAPI", Group::Ours);
    addWaiting<Deque>("mutex and deque", Group::Limit);
    addForEachLoop("Qt postEvent", addWaiting<PostEvent, OnQtThread>);
    addPosting<InProcessQueue>("growth, threads posting", "KXAPI", Group::Ours, 24000, true);
    addPosting<Deque>("growth, threads posting", "mutex and deque", Group::Limit, 24000, true);
    addPipe();
    add({"key press", "KXAPI", Group::Ours, waiting<Manager>(1)});
    add({"key press", "write, poll, read", Group::Limit, waiting<BarePipe>(1)});
}

} // namespace Bench
