#include "tests/support/ActionQueueTest.h"
#include "actions/KXActionQueue.h"
#include "events/KXEvent.h"
#include "events/KXEventType.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "tests/support/LineCounts.h"
#include "tests/support/TestAction.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace KX {
namespace {

using test::farAhead;
using test::TestAction;

class ActionQueue : public test::ActionQueueTest {
protected:
    void post(KXAction& action) { ActionQueueTest::post(action, &object); }

    void expectNothingRemembered() {
        EXPECT_TRUE(queue->pendingItems.empty());
        EXPECT_TRUE(queue->executedBefore.empty());
        EXPECT_TRUE(queue->executedNow.empty());
        EXPECT_EQ(queue->currentAction, nullptr);
        EXPECT_EQ(queue->generationTrigger, nullptr);
        EXPECT_EQ(queue->executedCount, 0U);
    }
};

TEST_F(ActionQueue, starts_empty_and_says_so_by_its_status) {
    expectNothingRemembered();
    EXPECT_EQ(queue->executeActions(farAhead, true), 23);
    EXPECT_EQ(queue->executeActions(farAhead, false), 23);
    EXPECT_EQ(queue->executeActions(0, true), 23);
    expectNothingRemembered();
}

TEST_F(ActionQueue, is_created_once_and_says_so_for_a_further_call) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(KXActionQueue::create(), queue);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Creating new KXActionQueue instance, but there was already an existing one!\n");
    EXPECT_EQ(KXActionQueue::instance(), queue);
}

TEST_F(ActionQueue, runs_actions_in_posting_order_with_a_null_argument) {
    for (const bool detectLoops : {false, true}) {
        std::vector<int> order;
        TestAction first([&] { order.push_back(1); });
        TestAction second([&] { order.push_back(2); });
        post(first);
        post(second);
        post(first);
        EXPECT_EQ(queue->executeActions(farAhead, detectLoops), 0);
        EXPECT_EQ(order, (std::vector<int>{1, 2, 1}));
        EXPECT_TRUE(first.argumentsWereNull && second.argumentsWereNull);
        expectNothingRemembered();
    }
}

TEST_F(ActionQueue, keeps_what_was_posted_in_the_item) {
    TestAction action;
    event.eventType = -5;
    queue->postAction(&action, &event, &object);
    queue->postAction(&action, nullptr, nullptr);
    ASSERT_EQ(queue->pendingItems.size(), 2U);
    const KXActionQueue::actionItem& first = queue->pendingItems[0];
    EXPECT_EQ(first.action, &action);
    EXPECT_EQ(first.triggeringAction, nullptr);
    EXPECT_EQ(first.eventType, -5);
    EXPECT_EQ(first.userData, &object);
    EXPECT_EQ(first.executedCount, 0U);
    const KXActionQueue::actionItem& second = queue->pendingItems[1];
    EXPECT_EQ(second.eventType, 0);
    EXPECT_EQ(second.userData, nullptr);
    EXPECT_EQ(second.threadID, first.threadID);
}

TEST_F(ActionQueue, tells_the_action_its_event_type_at_posting_and_the_last_one_stays) {
    std::vector<int> seen;
    TestAction action;
    action.onExecute = [&] { seen.push_back(action.triggeringEventType); };
    post(action);
    EXPECT_EQ(action.triggeringEventType, KEY_PRESS_EVENT);
    event.eventType = KEY_RELEASE_EVENT;
    post(action);
    queue->executeActions(farAhead, true);
    EXPECT_EQ(seen, (std::vector<int>{KEY_RELEASE_EVENT, KEY_RELEASE_EVENT}));
    queue->postAction(&action, nullptr, &object);
    EXPECT_EQ(action.triggeringEventType, 0);
}

TEST_F(ActionQueue, ignores_a_null_action_with_a_line) {
    testing::internal::CaptureStdout();
    queue->postAction(nullptr, &event, &object);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "KXActionQueue::postAction(nullptr): Ignored.\n");
    EXPECT_EQ(queue->executeActions(farAhead, true), 23);
}

TEST_F(ActionQueue, drops_an_action_that_is_not_ready_and_asks_it_once) {
    TestAction unready;
    unready.ready = false;
    post(unready);
    EXPECT_EQ(queue->executeActions(farAhead, true), 0);
    EXPECT_EQ(unready.asked, 1);
    EXPECT_EQ(unready.executions, 0);
    unready.ready = true;
    EXPECT_EQ(queue->executeActions(farAhead, true), 23) << "it was not put back";
}

TEST_F(ActionQueue, asks_for_readiness_when_it_would_run_and_not_before) {
    TestAction later;
    later.ready = false;
    TestAction earlier([&] { later.ready = true; });
    post(earlier);
    post(later);
    queue->executeActions(farAhead, true);
    EXPECT_EQ(later.executions, 1);
}

TEST_F(ActionQueue, handles_one_item_a_call_when_the_deadline_has_passed) {
    KXSimulation::setTick(1);
    TestAction action;
    for (int i = 0; i < 3; ++i)
        post(action);
    for (int call = 1; call <= 3; ++call) {
        EXPECT_EQ(queue->executeActions(0, true), 46);
        EXPECT_EQ(action.executions, call);
    }
    EXPECT_EQ(queue->executeActions(0, true), 23);
}

TEST_F(ActionQueue, goes_on_at_the_deadline_and_stops_one_above) {
    const struct {
        unsigned int tick;
        int status, executions;
    } cases[] = {{999, 0, 2}, {1000, 0, 2}, {1001, 46, 1}};
    for (const auto& test : cases) {
        KXSimulation::setTick(test.tick);
        TestAction action;
        post(action);
        post(action);
        EXPECT_EQ(queue->executeActions(1000, true), test.status) << test.tick;
        EXPECT_EQ(action.executions, test.executions) << test.tick;
        queue->executeActions(farAhead, true);
    }
}

TEST_F(ActionQueue, sees_the_deadline_pass_while_an_action_runs) {
    TestAction slow([] { KXSimulation::setTick(KXTick::getTickCount() + 4); });
    for (int i = 0; i < 10; ++i)
        post(slow);
    EXPECT_EQ(queue->executeActions(10, true), 46);
    EXPECT_EQ(slow.executions, 3) << "after 4, 8 and 12 ms";
}

TEST_F(ActionQueue, keeps_its_history_across_a_deadline_and_forgets_it_when_empty) {
    KXSimulation::setTick(1);
    TestAction action;
    post(action);
    EXPECT_EQ(queue->executeActions(0, true), 46);
    EXPECT_EQ(queue->executedCount, 1U);
    EXPECT_EQ(queue->executedNow.size(), 1U);
    EXPECT_EQ(queue->executeActions(0, true), 23);
    expectNothingRemembered();
}

TEST_F(ActionQueue, keeps_no_history_without_loop_detection) {
    KXSimulation::setTick(1);
    TestAction action([&] { EXPECT_EQ(queue->currentAction, nullptr); });
    post(action);
    EXPECT_EQ(queue->executeActions(0, false), 46);
    EXPECT_EQ(queue->executedCount, 0U);
    EXPECT_TRUE(queue->executedNow.empty());
}

TEST_F(ActionQueue, knows_the_running_action_with_loop_detection) {
    TestAction child;
    TestAction parent([&] {
        EXPECT_EQ(queue->currentAction.load(), &parent);
        post(child);
        EXPECT_EQ(queue->pendingItems.back().triggeringAction, &parent);
        EXPECT_EQ(queue->pendingItems.back().executedCount, 0U) << "the running one is not counted yet";
    });
    post(parent);
    EXPECT_EQ(queue->executeActions(farAhead, true), 0);
    EXPECT_EQ(child.executions, 1);
}

TEST_F(ActionQueue, knows_the_action_that_triggered_the_present_generation) {
    TestAction parent;
    TestAction child([&] { EXPECT_EQ(queue->generationTrigger, &parent); });
    parent.onExecute = [&] {
        EXPECT_EQ(queue->generationTrigger, nullptr);
        post(child);
    };
    post(parent);
    EXPECT_EQ(queue->executeActions(farAhead, true), 0);
    EXPECT_EQ(child.executions, 1);
}

TEST_F(ActionQueue, runs_what_an_action_posts_in_the_same_drain) {
    int left = 1000;
    TestAction action;
    action.onExecute = [&] {
        if (--left > 0)
            post(action);
    };
    post(action);
    EXPECT_EQ(queue->executeActions(farAhead, false), 0);
    EXPECT_EQ(action.executions, 1000);
}

TEST_F(ActionQueue, runs_what_was_put_into_it_by_hand_and_forgets_what_was_taken_out) {
    TestAction action;
    queue->pendingItems.push_back({&action, nullptr, KEY_PRESS_EVENT, &object, 0, 0});
    EXPECT_EQ(queue->executeActions(farAhead, true), 0);
    EXPECT_EQ(action.executions, 1);
    post(action);
    queue->pendingItems.clear();
    EXPECT_EQ(queue->executeActions(farAhead, true), 23);
}

TEST_F(ActionQueue, discards_what_is_queued_when_it_is_released) {
    TestAction action;
    post(action);
    post(action);
    KXActionQueue::release();
    EXPECT_EQ(action.asked, 0);
    EXPECT_EQ(action.executions, 0);
    EXPECT_EQ(KXActionQueue::theInstance, nullptr);
    KXActionQueue::release();
    queue = KXActionQueue::create();
    EXPECT_EQ(KXActionQueue::theInstance, queue);
    EXPECT_EQ(queue->executeActions(farAhead, true), 23);
}

TEST_F(ActionQueue, lets_an_exception_of_an_action_through_and_goes_on_behind_it) {
    TestAction failing([] { throw std::runtime_error("no hydraulics"); });
    TestAction next;
    post(failing);
    post(next);
    EXPECT_THROW(queue->executeActions(farAhead, true), std::runtime_error);
    EXPECT_EQ(queue->currentAction, nullptr) << "nothing runs any more";
    EXPECT_EQ(queue->executeActions(farAhead, true), 0);
    EXPECT_EQ(next.executions, 1);
    EXPECT_EQ(failing.executions, 1);
}

TEST_F(ActionQueue, may_be_drained_by_an_action_which_then_triggers_no_more) {
    TestAction inner, late;
    TestAction outer([&] {
        post(inner);
        EXPECT_EQ(queue->executeActions(farAhead, true), 0);
        EXPECT_EQ(inner.executions, 1);
        EXPECT_EQ(queue->currentAction, nullptr) << "forgotten with the history";
        post(late);
        EXPECT_EQ(queue->pendingItems.front().triggeringAction, nullptr);
    });
    post(outer);
    EXPECT_EQ(queue->executeActions(farAhead, true), 0);
    EXPECT_EQ(late.executions, 1);
    EXPECT_EQ(queue->executedCount, 0U);
}

TEST_F(ActionQueue, drains_a_million_items) {
    TestAction action;
    for (int i = 0; i < 1000000; ++i)
        queue->postAction(&action, &event, reinterpret_cast<void*>(static_cast<std::uintptr_t>(i) + 1));
    EXPECT_EQ(queue->executeActions(farAhead, true), 0);
    EXPECT_EQ(action.executions, 1000000);
    expectNothingRemembered();
}

TEST(ActionItem, is_ordered_by_four_fields_each_as_an_unsigned_number) {
    const auto action = [](std::uintptr_t address) { return reinterpret_cast<KXAction*>(address); };
    const auto data = [](std::uintptr_t address) { return reinterpret_cast<void*>(address); };
    // In rising order. The fields after the first difference have the opposite order.
    const KXActionQueue::actionItem rising[] = {
        {action(1), action(9), 9, data(9), 9, 9},           {action(2), action(1), 9, data(9), 9, 9},
        {action(2), action(2), 1, data(9), 9, 9},           {action(2), action(2), 2, data(1), 9, 9},
        {action(2), action(2), 2, data(2), 9, 9},           {action(2), action(2), 0x7FFFFFFF, data(0), 0, 0},
        {action(2), action(2), -2147483647, data(0), 0, 0}, {action(2), action(2), -1, data(0), 0, 0},
    };
    for (std::size_t i = 0; i < std::size(rising); ++i)
        for (std::size_t k = 0; k < std::size(rising); ++k)
            EXPECT_EQ(rising[i] < rising[k], i < k) << i << " and " << k;
}

TEST(ActionItem, does_not_differ_by_count_and_thread) {
    const KXActionQueue::actionItem one = {nullptr, nullptr, 1, nullptr, 1, 1};
    const KXActionQueue::actionItem other = {nullptr, nullptr, 1, nullptr, 2, 2};
    EXPECT_FALSE(one < other);
    EXPECT_FALSE(other < one);
}

TEST(ActionQueueLifeDeathTest, asking_for_the_instance_before_it_is_created_aborts) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    test::writeLineCountsWhenAborted();
    EXPECT_EXIT(KXActionQueue::instance(), testing::KilledBySignal(SIGABRT),
                "^KXActionQueue::instance\\(\\) called without creating an KXActionQueue instance before.\n"
                "Use KXActionQueue::create\\(\\) in advance to create one!\n"
                "Aborting...\n");
}

} // namespace
} // namespace KX
