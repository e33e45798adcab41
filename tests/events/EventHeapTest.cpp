#include "events/KXEventQueue.h"
#include "tests/support/HeapCount.h"

#include <gtest/gtest.h>

#include <memory>

namespace KX {
namespace {

unsigned long allocationsOf(KXEventQueue& queue, int events) {
    KXInputEvent event;
    const unsigned long before = test::heapAllocations;
    for (int i = 0; i < events; ++i) {
        event.eventType = i % 2 ? 24 : 1010; // a named and an unnamed type
        queue.postEvent(event);
        queue.getNextEvent();
    }
    return test::heapAllocations - before;
}

TEST(Heap, the_count_sees_an_allocation) {
    const unsigned long before = test::heapAllocations;
    ::operator delete(::operator new(1)); // the compiler may optimise new and delete expressions away
    EXPECT_EQ(test::heapAllocations - before, 1U);
}

TEST(Heap, a_pipe_queue_in_steady_state_allocates_nothing) {
    const std::unique_ptr<KXEventQueue> queue(KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_PIPE));
    allocationsOf(*queue, 100);
    EXPECT_EQ(allocationsOf(*queue, 10000), 0U);
}

TEST(Heap, an_in_process_queue_in_steady_state_allocates_at_most_once_in_16_events) {
    const std::unique_ptr<KXEventQueue> queue(KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_QUEUE));
    allocationsOf(*queue, 100);
    EXPECT_LE(allocationsOf(*queue, 16000), 1000U);
}

TEST(Heap, an_in_process_queue_with_a_thousand_waiting_allocates_at_most_once_in_16_events) {
    const std::unique_ptr<KXEventQueue> queue(KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_QUEUE));
    KXInputEvent event;
    for (int i = 0; i < 1000; ++i)
        queue->postEvent(event);
    EXPECT_LE(allocationsOf(*queue, 16000), 1000U);
}

} // namespace
} // namespace KX
