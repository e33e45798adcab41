#include "events/KXEventQueueAsQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <boost/thread/thread.hpp>
#include <thread>

namespace KX {
namespace {

// An empty queue that claims to hold an event, as if another consumer took the event just before the lock.
class SeemsFilled : public KXEventQueueAsQueue {
public:
    bool isEmpty() override {
        ++looks;
        return false;
    }

    std::atomic<int> looks{0};
};

TEST(InProcessQueue, a_consumer_that_was_outrun_waits_for_the_next_event) {
    SeemsFilled queue;
    int taken = 0;
    std::thread consumer([&] { taken = queue.getNextEvent().eventType; });
    while (queue.looks == 0)
        std::this_thread::yield();
    KXEvent event;
    event.eventType = 24;
    queue.postEvent(event);
    consumer.join();
    EXPECT_EQ(taken, 24);
    EXPECT_EQ(queue.getSize(), 0U);
}

TEST(InProcessQueue, several_waiting_consumers_get_one_event_each) {
    SeemsFilled queue;
    std::atomic<int> sum{0};
    std::vector<std::thread> consumers;
    for (int i = 0; i < 3; ++i)
        consumers.emplace_back([&] { sum += queue.getNextEvent().eventType; });
    while (queue.looks < 3)
        std::this_thread::yield();
    KXEvent event;
    for (const int type : {1, 10, 100}) {
        event.eventType = type;
        queue.postEvent(event);
    }
    for (auto& consumer : consumers)
        consumer.join();
    EXPECT_EQ(sum, 111);
    EXPECT_EQ(queue.getSize(), 0U);
}

TEST(InProcessQueue, an_interrupted_consumer_takes_nothing) {
    SeemsFilled queue;
    std::atomic<bool> interrupted{false};
    boost::thread consumer([&] {
        try {
            queue.getNextEvent();
        } catch (const boost::thread_interrupted&) {
            interrupted = true;
        }
    });
    consumer.interrupt();
    consumer.join();
    EXPECT_TRUE(interrupted);

    KXEvent event;
    event.eventType = 24;
    queue.postEvent(event);
    EXPECT_EQ(queue.getSize(), 1U);
    EXPECT_EQ(queue.getNextEvent().eventType, 24);
}

} // namespace
} // namespace KX
