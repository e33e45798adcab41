#include "events/KXEventQueue.h"
#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventQueueAsQueue.h"
#include "events/KXEventType.h"
#include "platform/simulated/KXSimulation.h"
#include "tests/support/EventSamples.h"

#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

namespace KX {
namespace {

using test::Fields;
using test::fieldsOf;

KXEventQueue* hookedQueue = nullptr;
int hookCalls = 0;
unsigned int sizeSeenByHook = 0;
int typeTakenByHook = 0;

void countCall() {
    ++hookCalls;
    sizeSeenByHook = hookedQueue->getSize();
}

void takeFromTheQueue() {
    typeTakenByHook = hookedQueue->getNextEvent().eventType;
}

KXEvent eventOfType(int type) {
    KXEvent event;
    event.eventType = type;
    return event;
}

// What both kinds of queue have in common.
class EventQueue : public testing::TestWithParam<KXEventQueue::eventQueueType> {
protected:
    void SetUp() override {
        KXSimulation::reset();
        queue.reset(KXEventQueue::create(GetParam()));
        hookedQueue = queue.get();
        hookCalls = 0;
    }

    void post(int type) {
        KXEvent event = eventOfType(type);
        queue->postEvent(event);
    }

    std::unique_ptr<KXEventQueue> queue;
};

INSTANTIATE_TEST_SUITE_P(, EventQueue,
                         testing::Values(KXEventQueue::EVENT_QUEUE_AS_PIPE, KXEventQueue::EVENT_QUEUE_AS_QUEUE),
                         [](const auto& kind) { return kind.param == 0 ? "as_pipe" : "as_queue"; });

TEST_P(EventQueue, starts_empty) {
    EXPECT_TRUE(queue->isEmpty());
    EXPECT_EQ(queue->getSize(), 0U);
}

TEST_P(EventQueue, gives_a_default_holder_at_once_when_empty) {
    Fields holder;
    holder.eventClass = 7;
    EXPECT_EQ(fieldsOf(queue->getNextEvent()), holder);
    EXPECT_EQ(queue->getSize(), 0U);
    post(24);
    queue->getNextEvent();
    EXPECT_EQ(fieldsOf(queue->getNextEvent()), holder) << "also after it has held events";
}

TEST_P(EventQueue, gives_events_back_in_order_with_their_fields_and_counts_them) {
    KXInputEvent event;
    event.timeStamp = 1000;
    unsigned int waiting = 0;
    for (const int type : {24, 25, 500}) {
        event.eventType = type;
        event.keyCode = type + 1;
        event.osKeyCode = type + 2;
        ++event.timeStamp;
        queue->postEvent(event);
        EXPECT_EQ(queue->getSize(), ++waiting);
        EXPECT_FALSE(queue->isEmpty());
    }
    unsigned int timeStamp = 1000;
    for (const int type : {24, 25, 500}) {
        const KXSomeEvent taken = queue->getNextEvent();
        EXPECT_EQ(taken.eventClass, 3);
        EXPECT_EQ(taken.sourceClass, 3);
        EXPECT_EQ(taken.eventType, type);
        EXPECT_EQ(taken.keyCode, type + 1);
        EXPECT_EQ(taken.osKeyCode, type + 2);
        EXPECT_EQ(taken.timeStamp, ++timeStamp);
        EXPECT_EQ(queue->getSize(), --waiting);
    }
    EXPECT_TRUE(queue->isEmpty());
}

TEST_P(EventQueue, leaves_the_event_to_the_caller_unchanged) {
    KXInputEvent event;
    test::fillEveryField(event);
    const Fields before = fieldsOf(event);
    queue->postEvent(event);
    EXPECT_EQ(fieldsOf(event), before);
    event.value = 1;
    EXPECT_EQ(queue->getNextEvent().value, before.value) << "the queue holds a copy of its own";
}

TEST_P(EventQueue, carries_every_field_of_every_class) {
    KXSomeEvent event;
    test::fillEveryField(event);
    queue->postEvent(event);
    EXPECT_EQ(fieldsOf(queue->getNextEvent()), fieldsOf(event));
}

TEST_P(EventQueue, adds_a_holder_for_an_unknown_class) {
    KXEvent event = eventOfType(24);
    event.eventClass = 42;
    testing::internal::CaptureStderr();
    queue->postEvent(event);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "KXSomeEvent(KXEvent &): ERRROR - created from unknown event class 42\n");
    EXPECT_EQ(queue->getSize(), 1U);
    const KXSomeEvent taken = queue->getNextEvent();
    EXPECT_EQ(taken.eventClass, 7);
    EXPECT_EQ(taken.eventType, 24);
}

TEST_P(EventQueue, stays_unchanged_and_calls_no_hook_when_the_class_is_a_lie) {
    queue->setAfterPostFunction(countCall);
    KXEvent liar = eventOfType(24);
    liar.eventClass = 3;
    EXPECT_THROW(queue->postEvent(liar), std::bad_cast);
    EXPECT_EQ(hookCalls, 0);
    EXPECT_TRUE(queue->isEmpty());
    post(25);
    EXPECT_EQ(queue->getNextEvent().eventType, 25) << "and works on";
}

TEST_P(EventQueue, calls_the_hook_once_a_post_after_the_append) {
    queue->setAfterPostFunction(countCall);
    post(24);
    EXPECT_EQ(hookCalls, 1);
    EXPECT_EQ(sizeSeenByHook, 1U);
    post(25);
    EXPECT_EQ(hookCalls, 2);
    EXPECT_EQ(sizeSeenByHook, 2U);
    queue->setAfterPostFunction(nullptr);
    post(24);
    EXPECT_EQ(hookCalls, 2);
}

TEST_P(EventQueue, lets_the_hook_take_the_event) {
    queue->setAfterPostFunction(takeFromTheQueue);
    post(501);
    EXPECT_EQ(typeTakenByHook, 501);
    EXPECT_TRUE(queue->isEmpty());
}

TEST_P(EventQueue, traces_every_post_before_anything_else) {
    KXEvent event = eventOfType(700);
    event.count = 3;
    queue->postEvent(event);
    event.eventType = 1010;
    event.eventClass = 5;
    EXPECT_THROW(queue->postEvent(event), std::bad_cast);

    const auto messages = KXSimulation::takeDebugMessages();
    ASSERT_EQ(messages.size(), 2U);
    for (const auto& message : messages) {
        EXPECT_EQ(message.level, 4);
        EXPECT_EQ(message.section, "kx_event_queue");
    }
    EXPECT_EQ(messages[0].text, "KXEventQueue::postEvent 700 3 ENCODER_MOVE_EVENT");
    EXPECT_EQ(messages[1].text, "KXEventQueue::postEvent 1010 3 UnknownEventType(1010)");
}

TEST_P(EventQueue, drops_what_waits_when_it_is_destroyed) {
    const unsigned int before = KXSimulation::getLivingObjects();
    std::unique_ptr<KXEventQueue> other(KXEventQueue::create(GetParam()));
    KXEvent event = eventOfType(24);
    for (int i = 0; i < 1000; ++i)
        other->postEvent(event);
    other.reset();
    EXPECT_EQ(KXSimulation::getLivingObjects(), before);
}

TEST(EventQueueFactory, makes_the_queue_asked_for_and_none_for_other_numbers) {
    KXSimulation::reset();
    const std::unique_ptr<KXEventQueue> pipe(KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_PIPE));
    EXPECT_NE(dynamic_cast<KXEventQueueAsPipe*>(pipe.get()), nullptr);
    const std::unique_ptr<KXEventQueue> queue(KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_QUEUE));
    EXPECT_NE(dynamic_cast<KXEventQueueAsQueue*>(queue.get()), nullptr);
    for (const int unknown : {2, -1, 1000})
        EXPECT_EQ(KXEventQueue::create(static_cast<KXEventQueue::eventQueueType>(unknown)), nullptr);
}

TEST(EventQueueFactory, registers_one_debug_section_at_load) {
    const auto sections = KXSimulation::getDebugSections();
    EXPECT_EQ(std::count(sections.begin(), sections.end(), "kx_event_queue"), 1);
}

} // namespace
} // namespace KX
