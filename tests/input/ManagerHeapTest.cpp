#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "tests/support/HeapCount.h"

#include <Qt>
#include <gtest/gtest.h>

namespace KX {
namespace {

struct Input {
    int type, osKeyCode;
};

// Hands input in and takes everything out again, as a toolkit thread and a main loop would.
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
    for (int round = 0; round < rounds; ++round) {
        for (const Input& input : inputs) {
            KXToolkitEvent event;
            event.eventType = input.type;
            event.osKeyCode = input.osKeyCode;
            event.timeStamp = KXTick::getTickCount();
            manager.toolkitEventOccurred(event);
        }
        for (; manager.hasEvents(); ++taken)
            manager.getNextEvent();
    }
    const unsigned long allocations = test::heapAllocations - before;
    EXPECT_GE(taken, 6 * rounds) << "events came out";
    return allocations;
}

TEST(ManagerHeap, an_event_from_the_toolkit_to_the_main_loop_allocates_nothing) {
    KXInputEventManager* const manager = KXInputEventManager::createInstance();
    allocationsOf(*manager, 10);
    EXPECT_EQ(allocationsOf(*manager, 2000), 0U);
    KXInputEventManager::deleteInstance();
}

} // namespace
} // namespace KX
