#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"
#include "platform/KXTick.h"
#include "tests/support/HeapCount.h"

#include <Qt>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <new>
#include <poll.h>

namespace KX {
namespace {

struct Input {
    int type, osKeyCode;
};

// Passes input in and takes all events out, like a toolkit thread and a main loop.
unsigned long allocationsOf(KXInputEventManager& manager, int rounds) {
    const Input inputs[] = {
        {TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home},
        {TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Home},
        {TOOLKIT_KEY_PRESS_EVENT, Qt::Key_A},
        {TOOLKIT_MOUSE_PRESS_EVENT, -1},
        {TOOLKIT_MOUSE_RELEASE_EVENT, -1},
        {TOOLKIT_CLICK_EVENT, -1},
        {TOOLKIT_WHEEL_EVENT, -1},
        {TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Up},
        {TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Up},
    };
    const unsigned long before = test::heapAllocations;
    int taken = 0;
    unsigned int timeStamp = KXTick::getTickCount();
    for (int round = 0; round < rounds; ++round) {
        for (const Input& input : inputs) {
            KXToolkitEvent event;
            event.eventType = input.type;
            event.osKeyCode = input.osKeyCode;
            event.timeStamp = timeStamp += 10;
            manager.toolkitEventOccurred(event);
        }
        for (; manager.hasEvents(); ++taken)
            manager.getNextEvent();
    }
    const unsigned long allocations = test::heapAllocations - before;
    EXPECT_GE(taken, 6 * rounds) << "events came out";
    return allocations;
}

// The worker allocates what it keeps before the end of its first pass.
void waitForAPassOfTheWorker(KXInputEventManager& manager) {
    KXInputEvent press;
    press.eventType = KEY_PRESS_EVENT;
    press.timeStamp = KXTick::getTickCount() - 10000;
    manager.inputEventOccurred(press);
    auto* const queue = dynamic_cast<KXEndPoint*>(manager.getInputEventsQueue());
    pollfd readEnd = {queue->getReadEndPointID(), POLLIN, 0};
    int eventType = 0;
    while (eventType != KEY_LONG_PRESS_EVENT && poll(&readEnd, 1, 30000) == 1)
        eventType = manager.getNextEvent().eventType;
    ASSERT_EQ(eventType, KEY_LONG_PRESS_EVENT);
}

TEST(ManagerHeap, an_event_from_the_toolkit_to_the_main_loop_allocates_nothing) {
    KXInputEventManager* const manager = KXInputEventManager::createInstance();
    waitForAPassOfTheWorker(*manager);
    allocationsOf(*manager, 10);
    EXPECT_EQ(allocationsOf(*manager, 2000), 0U);
    KXInputEventManager::deleteInstance();
}

std::ptrdiff_t openDescriptors() {
    using std::filesystem::directory_iterator;
    return std::distance(directory_iterator("/proc/self/fd"), directory_iterator());
}

unsigned long allocationsOfALife() {
    const unsigned long before = test::heapAllocations;
    KXInputEventManager::createInstance();
    const unsigned long allocations = test::heapAllocations - before;
    KXInputEventManager::deleteInstance();
    return allocations;
}

TEST(ManagerHeap, a_manager_that_runs_out_of_memory_while_it_is_made_leaves_nothing_open) {
    allocationsOfALife(); // makes what stays until the process ends
    // The first of them make the encoder, the end points, the queue and the key codes. The worker's come last.
    constexpr unsigned long ownAllocations = 12;
    ASSERT_GE(allocationsOfALife(), ownAllocations);
    const std::ptrdiff_t descriptors = openDescriptors();
    for (unsigned long failing = 1; failing <= ownAllocations; ++failing) {
        test::failingAllocation = test::heapAllocations + failing;
        EXPECT_THROW(KXInputEventManager::createInstance(), std::bad_alloc) << failing;
        test::failingAllocation = 0;
        EXPECT_FALSE(KXInputEventManager::hasInstance());
        EXPECT_EQ(openDescriptors(), descriptors) << failing;
    }
}

} // namespace
} // namespace KX
