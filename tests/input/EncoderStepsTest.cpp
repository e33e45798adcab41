#include "encoder/KXEncoderDynamic.h"
#include "tests/support/OperatorTest.h"

#include <gtest/gtest.h>

namespace KX {
namespace {

constexpr int up = Qt::Key_Up;
constexpr int down = Qt::Key_Down;
constexpr int otherKey = Qt::Key_Home;
constexpr int bundleEndKey = Qt::Key_Return;

class EncoderSteps : public test::OperatorTest {
protected:
    // Passes are at multiples of 100 ms. A turn begins 1 ms after a pass, when the knob has rested.
    void SetUp() override {
        OperatorTest::SetUp();
        timePasses(1001);
    }

    void operatorTurns(int qtKey) {
        operatorPresses(qtKey);
        EXPECT_EQ(operatorReleases(qtKey), 11) << "releases of step keys are swallowed";
    }

    KXInputEvent expectMove(int keyCode, int count) {
        const KXInputEvent move = expectPosted(ENCODER_MOVE_EVENT);
        EXPECT_EQ(move.keyCode, keyCode);
        EXPECT_EQ(move.count, count);
        EXPECT_EQ(move.eventClass, 3);
        return move;
    }
};

// No input leads to a negative count, so the test sets it. An explicit instantiation may name a private member.
KXInputEvent& bundleOf(KXInputEventManager& manager);

template<KXInputEvent KXInputEventManager::*bundle>
struct BundleOpener {
    friend KXInputEvent& bundleOf(KXInputEventManager& manager) { return manager.*bundle; }
};

template struct BundleOpener<&KXInputEventManager::encoderBundle>;

TEST_F(EncoderSteps, a_step_back_on_a_negative_count_turns_the_bundle_round) {
    for (const int key : {4, 5}) {
        KXInputEvent& bundle = bundleOf(*manager);
        bundle.eventType = ENCODER_MOVE_EVENT;
        bundle.keyCode = key;
        bundle.count = -2;
        bundle.value = 10;
        const int otherStepKey = 9 - key;
        EXPECT_EQ(operatorPresses(otherStepKey == 4 ? up : down), 11);
        EXPECT_EQ(bundle.eventType, ENCODER_MOVE_EVENT) << "it stays open";
        EXPECT_EQ(bundle.keyCode, otherStepKey);
        EXPECT_EQ(bundle.count, 0);
        EXPECT_GT(bundle.value, 10) << "the step is accelerated";
        timePasses(100);
    }
}

TEST_F(EncoderSteps, turns_one_step) {
    EXPECT_EQ(operatorPresses(up), 0);
    const KXInputEvent move = expectMove(4, 1);
    EXPECT_EQ(move.value, 1);
    EXPECT_EQ(move.timeStamp, 1001U);
    EXPECT_EQ(move.osKeyCode, up);
    EXPECT_EQ(operatorReleases(up), 11);
    timePasses(1000);
    expectNothingMore();
}

TEST_F(EncoderSteps, turns_three_steps_within_50) {
    EXPECT_EQ(operatorPresses(up), 0);
    timePasses(10);
    EXPECT_EQ(operatorPresses(up), 11);
    timePasses(10);
    EXPECT_EQ(operatorPresses(up), 11);
    EXPECT_EQ(expectMove(4, 1).value, 1);
    expectNothingMore();
    timePasses(79);
    const KXInputEvent bundle = expectMove(4, 2);
    EXPECT_EQ(bundle.timeStamp, 1001U) << "the tick of the opening step";
    // Opening step after a pause: 1 + 1. Then 10 ms: (10 + 200) / 2 = 105 -> 1; (10 + 105) / 2 = 57 -> 1.
    EXPECT_EQ(bundle.value, 4);
    expectNothingMore();
}

TEST_F(EncoderSteps, goes_on_turning) {
    operatorTurns(up);
    expectMove(4, 1);
    int lastValue = 0;
    for (int pass = 0; pass < 3; ++pass) {
        for (int i = 0; i < 4; ++i) {
            timePasses(20);
            operatorTurns(up);
        }
        timePasses(20);
        const KXInputEvent bundle = expectMove(4, 4);
        EXPECT_GT(bundle.value, lastValue) << "the value of a bundle is not reset by a post";
        lastValue = bundle.value;
        expectNothingMore();
    }
}

TEST_F(EncoderSteps, a_bundle_is_posted_50_after_it_was_opened_and_not_before) {
    for (const unsigned int ageMs : {49U, 50U, 51U}) {
        timePasses(1000);
        operatorTurns(up);
        operatorTurns(up);
        expectMove(4, 1);
        manager->sendEncoderMoveEvent(KXTick::getTickCount() + ageMs);
        SCOPED_TRACE(ageMs);
        if (ageMs >= 50)
            expectMove(4, 1);
        expectNothingMore();
        KXSimulation::advance(1000);
        while (manager->hasEvents())
            manager->getNextEvent();
    }
}

TEST_F(EncoderSteps, a_posted_bundle_stays_open_for_another_50) {
    operatorTurns(up);
    operatorTurns(up);
    expectMove(4, 1);
    const unsigned int posted = KXTick::getTickCount() + 50;
    manager->sendEncoderMoveEvent(posted);
    expectMove(4, 1);
    manager->sendEncoderMoveEvent(posted + 49);
    EXPECT_EQ(operatorPresses(up), 11) << "still open";
    manager->sendEncoderMoveEvent(posted + 49);
    expectNothingMore();
    manager->sendEncoderMoveEvent(posted + 50);
    EXPECT_EQ(expectMove(4, 1).timeStamp, posted) << "the tick of the last post";
}

TEST_F(EncoderSteps, the_step_of_a_pass_succeeds_whatever_is_pending) {
    EXPECT_EQ(manager->sendEncoderMoveEvent(KXTick::getTickCount()), 0);
    operatorTurns(up);
    operatorTurns(up);
    EXPECT_EQ(manager->sendEncoderMoveEvent(KXTick::getTickCount() + 49), 0);
    EXPECT_EQ(manager->sendEncoderMoveEvent(KXTick::getTickCount() + 50), 0);
}

TEST_F(EncoderSteps, rests_for_50) {
    for (const unsigned int restMs : {49U, 50U, 51U}) {
        timePasses(1000);
        operatorTurns(up);
        expectMove(4, 1);
        manager->sendEncoderMoveEvent(KXTick::getTickCount() + restMs);
        EXPECT_EQ(operatorPresses(up), restMs >= 50 ? 0 : 11) << restMs;
        timePasses(1000);
        while (manager->hasEvents())
            manager->getNextEvent();
    }
}

TEST_F(EncoderSteps, turns_one_step_and_one_back_at_once) {
    EXPECT_EQ(operatorPresses(up), 0);
    EXPECT_EQ(operatorPresses(down), 11) << "lost; it closes the bundle";
    expectMove(4, 1);
    EXPECT_EQ(operatorPresses(down), 0) << "opens a new one";
    EXPECT_EQ(expectMove(5, 1).value, 1);
    timePasses(1000);
    expectNothingMore();
}

TEST_F(EncoderSteps, turns_two_further_steps_and_one_back) {
    operatorTurns(up);
    timePasses(10);
    operatorTurns(up);
    timePasses(10);
    operatorTurns(up);
    EXPECT_EQ(operatorPresses(down), 11);
    expectMove(4, 1);
    timePasses(100);
    EXPECT_EQ(expectMove(4, 1).value, 4) << "the increments of both steps";
    expectNothingMore();
}

TEST_F(EncoderSteps, turns_one_further_step_and_one_back_closes_the_bundle) {
    operatorTurns(up);
    timePasses(10);
    operatorTurns(up);
    EXPECT_EQ(operatorPresses(down), 11);
    expectMove(4, 1);
    EXPECT_EQ(operatorPresses(down), 0) << "a new bundle in the other direction";
    expectMove(5, 1);
    timePasses(1000);
    expectNothingMore();
}

TEST_F(EncoderSteps, presses_key_3) {
    operatorTurns(up);
    operatorTurns(up);
    operatorTurns(up);
    operatorPresses(bundleEndKey);
    expectMove(4, 1);
    expectMove(4, 2);
    EXPECT_EQ(expectPosted(KEY_PRESS_EVENT).keyCode, 3);
    expectNothingMore();
    EXPECT_EQ(operatorPresses(up), 0) << "the bundle was closed";
}

TEST_F(EncoderSteps, the_release_of_key_3_ends_a_bundle_too) {
    operatorTurns(up);
    operatorTurns(up);
    operatorReleases(bundleEndKey);
    expectMove(4, 1);
    expectMove(4, 1);
    EXPECT_EQ(expectPosted(KEY_RELEASE_EVENT).keyCode, 3);
}

TEST_F(EncoderSteps, key_3_posts_no_bundle_that_gathered_nothing) {
    operatorTurns(up);
    operatorPresses(bundleEndKey);
    expectMove(4, 1);
    expectPosted(KEY_PRESS_EVENT);
    expectNothingMore();
    EXPECT_EQ(operatorPresses(up), 0) << "but closes it";
}

TEST_F(EncoderSteps, other_keys_leave_the_bundle_alone) {
    operatorTurns(up);
    operatorTurns(up);
    operatorTaps(otherKey);
    expectMove(4, 1);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    EXPECT_EQ(operatorPresses(up), 11);
    timePasses(99);
    expectMove(4, 2);
}

TEST_F(EncoderSteps, never_become_double_or_long_presses) {
    operatorPresses(up);
    timePasses(5000);
    expectMove(4, 1);
    operatorPresses(up);
    expectMove(4, 1);
    expectNothingMore();
}

TEST_F(EncoderSteps, a_wheel_move_is_accelerated_by_itself_and_never_bundled) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(toolkitReports(TOOLKIT_WHEEL_EVENT, -1, 0, 2), 0);
        const KXInputEvent move = expectPosted(ENCODER_MOVE_EVENT);
        EXPECT_EQ(move.count, 2);
        EXPECT_GE(move.value, 1);
        timePasses(10);
    }
    timePasses(1000);
    expectNothingMore();
}

TEST_F(EncoderSteps, a_wheel_move_at_the_tick_of_the_last_step_counts_nothing) {
    toolkitReports(TOOLKIT_WHEEL_EVENT, -1, 0, 1);
    KXInputEvent move;
    move.eventType = ENCODER_MOVE_EVENT;
    move.timeStamp = KXTick::getTickCount();
    move.value = 77;
    EXPECT_EQ(manager->inputEventOccurred(move), 0);
    EXPECT_EQ(expectPosted(ENCODER_MOVE_EVENT).value, 1);
    EXPECT_EQ(expectPosted(ENCODER_MOVE_EVENT).value, 0);
}

TEST_F(EncoderSteps, bundling_leaves_other_events_alone) {
    KXInputEvent press;
    press.eventType = KEY_PRESS_EVENT;
    press.keyCode = 4;
    EXPECT_EQ(manager->bundleKeyEncoderEvents(press), 0);
    EXPECT_EQ(press.eventType, KEY_PRESS_EVENT);
    EXPECT_EQ(operatorPresses(up), 0) << "and opens no bundle";
}

} // namespace
} // namespace KX
