#include "bench/queues/BarePipe.h"
#include "bench/support/Numbered.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"

#include <Qt>

#include <benchmark/benchmark.h>
#include <cstdint>
#include <limits>
#include <thread>

namespace {

using Bench::OrderCheck;

/// The manager, which is gone at the end, too.
class Manager {
public:
    Manager() : manager(KX::KXInputEventManager::createInstance()) {
        // Nobody holds a key: the ticks of the presses are made up, and the worker must not take them for old.
        manager->setLongKeyPressDuration(std::numeric_limits<unsigned int>::max());
    }

    ~Manager() {
        KX::KXInputEventManager::deleteInstance();
    }

    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    KX::KXInputEventManager* operator->() const {
        return manager;
    }

private:
    KX::KXInputEventManager* const manager;
};

/// What the toolkit layer hands over. The presses are a second apart, so that none is a double press.
void press(KX::KXToolkitEvent& event, std::uint32_t number) {
    event.eventClass = 2;
    event.eventType = KX::TOOLKIT_KEY_PRESS_EVENT;
    event.timeStamp = 1000 * number;
    event.osKeyCode = Qt::Key_Home;
    event.eventData[0] = number;
}

void keyPress(benchmark::State& state) {
    const Manager manager;
    KX::KXToolkitEvent event;
    OrderCheck order;
    std::uint32_t number = 0;
    for (auto _ : state) {
        press(event, number++);
        manager->toolkitEventOccurred(event);
        const KX::KXInputEvent taken = manager->getNextEvent();
        if (taken.eventType != KX::KEY_PRESS_EVENT || taken.keyCode != 1) {
            state.SkipWithError("a press came out as something else");
            return;
        }
        order.take(Bench::getNumber(taken));
    }
    state.SetItemsProcessed(state.iterations());
    order.report(state);
}

void barePipe(benchmark::State& state) {
    Bench::BarePipe pipe;
    Bench::Record record;
    OrderCheck order;
    for (auto _ : state) {
        pipe.post(record);
        ++record.number;
        if (!pipe.take(order)) {
            state.SkipWithError("a record is not there");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations());
    order.report(state);
}

} // namespace

int main(int argc, char** argv) {
    // The manager's worker is a thread, and system calls that may be cancelled cost a little more from the first thread
    // of a process on. So they do beside the manager, and the bare ones have to be no cheaper for running first.
    std::thread([] {}).join();
    benchmark::RegisterBenchmark("key press/KXAPI", keyPress);
    benchmark::RegisterBenchmark("key press/write, poll, read", barePipe);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
