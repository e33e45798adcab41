#include "actions/KXActionQueue.h"
#include "events/KXEvent.h"
#include "events/KXEventType.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "tests/support/ActionQueueTest.h"
#include "tests/support/TestAction.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>
#include <vector>

namespace KX {
namespace {

using test::farAhead;
using test::TestAction;

class LoopDetection : public test::ActionQueueTest {
protected:
    // Drains and returns what the queue wrote meanwhile.
    std::string drain(int expectedStatus = 0, unsigned int deadline = farAhead) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(queue->executeActions(deadline, true), expectedStatus);
        return testing::internal::GetCapturedStdout();
    }

    std::string loopLine(const KXAction& refused, const void* userData, const std::string& type,
                         const KXAction& via, unsigned int count) {
        std::ostringstream line;
        line << "KXActionQueue::executeActions: Found loop for " << static_cast<const void*>(&refused)
             << ", triggered by object " << userData << ", on event '" << type << " via action "
             << static_cast<const void*>(&via) << " (" << count << "). Terminating execution.\n";
        return line.str();
    }

    // An action that posts itself again, as often as a limit allows.
    TestAction& selfPosting(void* userData, int limit = 100) {
        action.onExecute = [this, userData, limit] {
            if (action.executions < limit)
                post(action, userData);
        };
        return action;
    }

    TestAction action;
};

TEST_F(LoopDetection, refuses_the_third_run_of_an_action_that_posts_itself) {
    post(selfPosting(&object), &object);
    EXPECT_EQ(drain(), loopLine(action, &object, "KEY_PRESS_EVENT [24]", action, 1));
    EXPECT_EQ(action.executions, 2);
    EXPECT_TRUE(queue->pendingItems.empty());
}

TEST_F(LoopDetection, writes_unnamed_and_negative_event_types) {
    event.eventType = -7;
    post(selfPosting(&object), &object);
    EXPECT_EQ(drain(), loopLine(action, &object, "UnknownEventType(-7) [-7]", action, 1));
}

TEST_F(LoopDetection, refuses_a_chain_of_two_that_trigger_each_other) {
    TestAction other([&] { post(action, &object); });
    action.onExecute = [&] { post(other, &object); };
    post(action, &object);
    // action (by none), other (by action), action (by other), and then other by action once more.
    EXPECT_EQ(drain(), loopLine(other, &object, "KEY_PRESS_EVENT [24]", action, 2));
    EXPECT_EQ(action.executions, 2);
    EXPECT_EQ(other.executions, 1);
}

TEST_F(LoopDetection, goes_on_with_the_next_item_behind_a_refused_one) {
    TestAction next;
    action.onExecute = [&] {
        post(action, &object);
        if (action.executions == 2)
            post(next, &object);
    };
    post(action, &object);
    EXPECT_EQ(drain(), loopLine(action, &object, "KEY_PRESS_EVENT [24]", action, 1));
    EXPECT_EQ(action.executions, 2);
    EXPECT_EQ(next.executions, 1);
}

TEST_F(LoopDetection, refuses_the_companion_of_a_loop_too) {
    TestAction companion;
    action.onExecute = [&] {
        post(action, &object);
        post(companion, &object);
    };
    post(action, &object);
    EXPECT_EQ(drain(), loopLine(action, &object, "KEY_PRESS_EVENT [24]", action, 1) +
                           loopLine(companion, &object, "KEY_PRESS_EVENT [24]", action, 1));
    EXPECT_EQ(action.executions, 2);
    EXPECT_EQ(companion.executions, 1);
}

TEST_F(LoopDetection, leaves_items_without_an_event_alone) {
    action.onExecute = [&] {
        if (action.executions < 100)
            queue->postAction(&action, nullptr, &object);
    };
    queue->postAction(&action, nullptr, &object);
    EXPECT_EQ(drain(), "");
    EXPECT_EQ(action.executions, 100);
}

TEST_F(LoopDetection, leaves_items_without_an_object_alone) {
    post(selfPosting(nullptr), nullptr);
    EXPECT_EQ(drain(), "");
    EXPECT_EQ(action.executions, 100);
}

TEST_F(LoopDetection, leaves_chains_over_different_objects_alone) {
    int objects[50];
    action.onExecute = [&] {
        if (action.executions < 50)
            post(action, &objects[action.executions]);
    };
    post(action, &objects[0]);
    EXPECT_EQ(drain(), "");
    EXPECT_EQ(action.executions, 50);
}

TEST_F(LoopDetection, refuses_a_chain_that_comes_round_after_many_objects) {
    for (const unsigned int length : {2U, 8U, 9U, 10U, 1000U}) {
        std::vector<int> objects(length);
        unsigned int next = 0;
        TestAction walker;
        walker.onExecute = [&] { post(walker, &objects[++next % length]); };
        post(walker, &objects[0]);
        // No action triggered the first one, so the second completes the round.
        EXPECT_EQ(drain(), loopLine(walker, &objects[1], "KEY_PRESS_EVENT [24]", walker, length));
        EXPECT_EQ(walker.executions, static_cast<int>(length) + 1);
    }
}

TEST_F(LoopDetection, leaves_chains_over_different_events_alone) {
    action.onExecute = [&] {
        event.eventType = 1000 + action.executions;
        if (action.executions < 50)
            post(action, &object);
    };
    post(action, &object);
    EXPECT_EQ(drain(), "");
    EXPECT_EQ(action.executions, 50);
}

TEST_F(LoopDetection, leaves_one_action_posted_many_times_from_outside_alone) {
    for (int i = 0; i < 10; ++i)
        post(action, &object);
    EXPECT_EQ(drain(), "");
    EXPECT_EQ(action.executions, 10);
}

TEST_F(LoopDetection, leaves_posts_of_another_thread_alone) {
    action.onExecute = [&] {
        if (action.executions < 20)
            std::thread([&] { post(action, &object); }).join();
    };
    post(action, &object);
    EXPECT_EQ(drain(), "");
    EXPECT_EQ(action.executions, 20);
}

TEST_F(LoopDetection, finds_a_loop_across_calls_that_the_deadline_cut) {
    KXSimulation::setTick(1);
    post(selfPosting(&object), &object);
    EXPECT_EQ(drain(46, 0), "");
    EXPECT_EQ(drain(46, 0), "");
    EXPECT_EQ(drain(46, 0), loopLine(action, &object, "KEY_PRESS_EVENT [24]", action, 1)) << "handled, so 46";
    EXPECT_EQ(drain(23, 0), "");
    EXPECT_EQ(action.executions, 2);
}

TEST_F(LoopDetection, begins_anew_with_every_drain) {
    for (int drains = 1; drains <= 3; ++drains) {
        post(selfPosting(&object, 1000), &object);
        EXPECT_NE(drain(), "");
        EXPECT_EQ(action.executions, 2 * drains);
    }
}

TEST_F(LoopDetection, counts_a_repetition_within_one_generation_as_none) {
    TestAction child;
    action.onExecute = [&] {
        post(child, &object);
        post(child, &object);
    };
    post(action, &object);
    // Both were posted at the same executedCount, so neither led to the other.
    EXPECT_EQ(drain(), "");
    EXPECT_EQ(child.executions, 2);
}

TEST_F(LoopDetection, stops_at_the_deadline_a_chain_that_is_no_loop) {
    action.onExecute = [&] {
        KXSimulation::setTick(KXTick::getTickCount() + 1);
        queue->postAction(&action, nullptr, &object);
    };
    queue->postAction(&action, nullptr, &object);
    EXPECT_EQ(drain(46, 50), "");
    EXPECT_EQ(action.executions, 51);
}

} // namespace
} // namespace KX
