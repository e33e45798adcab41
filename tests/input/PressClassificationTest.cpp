#include "tests/support/OperatorTest.h"

#include <gtest/gtest.h>

namespace KX {
namespace {

constexpr int keyA = Qt::Key_Home;
constexpr int keyB = Qt::Key_End;
constexpr int codeA = 1;
constexpr int codeB = 6;

class Press : public test::OperatorTest {};

// The rows of the time line at the head of the classification.

TEST_F(Press, taps) {
    operatorPresses(keyA);
    timePasses(80);
    operatorReleases(keyA);
    const KXInputEvent press = expectPosted(KEY_PRESS_EVENT);
    EXPECT_EQ(press.keyCode, codeA);
    EXPECT_EQ(press.osKeyCode, keyA);
    EXPECT_EQ(press.eventClass, 3);
    EXPECT_EQ(press.timeStamp, 0U);
    EXPECT_EQ(expectPosted(KEY_RELEASE_EVENT).timeStamp, 80U);
    timePasses(5000);
    expectNothingMore();
}

TEST_F(Press, taps_and_presses_again_at_299_300_and_301) {
    for (const unsigned int gapMs : {299U, 300U, 301U}) {
        timePasses(10000);
        operatorTaps(keyA);
        timePasses(gapMs);
        operatorTaps(keyA);
        expectPosted(KEY_PRESS_EVENT);
        expectPosted(KEY_RELEASE_EVENT);
        SCOPED_TRACE(gapMs);
        EXPECT_EQ(expectPosted(gapMs <= 300 ? KEY_DOUBLE_PRESS_EVENT : KEY_PRESS_EVENT).keyCode, codeA);
        expectPosted(KEY_RELEASE_EVENT);
        expectNothingMore();
    }
}

TEST_F(Press, taps_three_times_300_apart) {
    for (int i = 0; i < 3; ++i) {
        operatorTaps(keyA);
        timePasses(300);
    }
    for (const int type : {KEY_PRESS_EVENT, KEY_DOUBLE_PRESS_EVENT, KEY_DOUBLE_PRESS_EVENT}) {
        expectPosted(type);
        expectPosted(KEY_RELEASE_EVENT);
    }
    expectNothingMore();
}

TEST_F(Press, releases_at_1999) {
    operatorPresses(keyA);
    timePasses(1999);
    operatorReleases(keyA);
    timePasses(1000);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    expectNothingMore();
}

TEST_F(Press, holds_for_2000) {
    operatorPresses(keyA);
    timePasses(1999);
    expectPosted(KEY_PRESS_EVENT);
    expectNothingMore();
    timePasses(1);
    const KXInputEvent longPress = expectPosted(KEY_LONG_PRESS_EVENT);
    EXPECT_EQ(longPress.timeStamp, 2000U);
    EXPECT_EQ(longPress.keyCode, codeA);
    EXPECT_EQ(longPress.osKeyCode, keyA);
    EXPECT_EQ(longPress.eventClass, 3);

    timePasses(3000);
    expectNothingMore();
    operatorReleases(keyA);
    EXPECT_EQ(expectPosted(KEY_LONG_RELEASE_EVENT).timeStamp, 2000U) << "carries the tick of the long press";
    EXPECT_EQ(expectPosted(KEY_RELEASE_EVENT).timeStamp, 5000U);
    expectNothingMore();
}

TEST_F(Press, becomes_long_on_the_first_pass_from_2000_on) {
    timePasses(1);
    operatorPresses(keyA);
    timePasses(2098);
    expectPosted(KEY_PRESS_EVENT);
    expectNothingMore();
    timePasses(1);
    EXPECT_EQ(expectPosted(KEY_LONG_PRESS_EVENT).timeStamp, 2100U) << "the pass at 2000 was 1999 after the press";
}

TEST_F(Press, taps_and_holds_the_second) {
    operatorTaps(keyA);
    timePasses(200);
    operatorPresses(keyA);
    timePasses(2000);
    operatorReleases(keyA);
    for (const int type : {KEY_PRESS_EVENT, KEY_RELEASE_EVENT, KEY_DOUBLE_PRESS_EVENT, KEY_LONG_PRESS_EVENT,
                           KEY_LONG_RELEASE_EVENT, KEY_RELEASE_EVENT})
        EXPECT_EQ(expectPosted(type).keyCode, codeA);
    expectNothingMore();
}

TEST_F(Press, holds_one_key_and_presses_another) {
    operatorPresses(keyA);
    timePasses(1000);
    operatorPresses(keyB);
    timePasses(1500);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_PRESS_EVENT);
    expectNothingMore();
    timePasses(500);
    EXPECT_EQ(expectPosted(KEY_LONG_PRESS_EVENT).keyCode, codeB);
    operatorReleases(keyA);
    expectPosted(KEY_RELEASE_EVENT);
    operatorReleases(keyB);
    EXPECT_EQ(expectPosted(KEY_LONG_RELEASE_EVENT).keyCode, codeB);
    expectPosted(KEY_RELEASE_EVENT);
    expectNothingMore();
}

TEST_F(Press, holds_one_key_and_releases_another) {
    operatorPresses(keyA);
    timePasses(500);
    operatorReleases(keyB);
    timePasses(1500);
    expectPosted(KEY_PRESS_EVENT);
    EXPECT_EQ(expectPosted(KEY_RELEASE_EVENT).keyCode, codeB);
    EXPECT_EQ(expectPosted(KEY_LONG_PRESS_EVENT).keyCode, codeA);
    operatorReleases(keyB);
    EXPECT_EQ(expectPosted(KEY_RELEASE_EVENT).keyCode, codeB) << "nor does it end the long press";
    operatorReleases(keyA);
    expectPosted(KEY_LONG_RELEASE_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    expectNothingMore();
}

TEST_F(Press, holds_the_mouse_and_escapes) {
    operatorPressesButton(1);
    timePasses(2000);
    operatorEscapesButton(1);
    expectPosted(MOUSE_PRESS_EVENT);
    expectPosted(MOUSE_LONG_PRESS_EVENT);
    expectPosted(MOUSE_ESCAPE_EVENT);
    expectNothingMore();
    operatorReleasesButton(1);
    expectPosted(MOUSE_RELEASE_EVENT);
    expectNothingMore();
}

// Two presses that make no double press.

TEST_F(Press, of_another_key_is_no_double) {
    operatorTaps(keyA);
    operatorTaps(keyB);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    expectPosted(KEY_PRESS_EVENT);
}

TEST_F(Press, of_another_key_in_between_makes_the_second_single) {
    operatorTaps(keyA);
    operatorTaps(keyB);
    operatorTaps(keyA);
    for (int i = 0; i < 3; ++i) {
        expectPosted(KEY_PRESS_EVENT);
        expectPosted(KEY_RELEASE_EVENT);
    }
    expectNothingMore();
}

TEST_F(Press, of_two_unmapped_keys_counts_as_one_key) {
    operatorTaps(Qt::Key_A);
    operatorTaps(Qt::Key_B);
    EXPECT_EQ(expectPosted(KEY_PRESS_EVENT).keyCode, 65535);
    expectPosted(KEY_RELEASE_EVENT);
    EXPECT_EQ(expectPosted(KEY_DOUBLE_PRESS_EVENT).osKeyCode, Qt::Key_B);
}

TEST_F(Press, of_a_key_and_then_a_button_is_no_double) {
    operatorTaps(keyA);
    operatorPressesButton(0);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    expectPosted(MOUSE_PRESS_EVENT);
}

TEST_F(Press, of_a_button_twice_is_a_double_only_for_the_same_button) {
    operatorPressesButton(1);
    operatorReleasesButton(1);
    operatorPressesButton(1);
    operatorPressesButton(2);
    expectPosted(MOUSE_PRESS_EVENT);
    expectPosted(MOUSE_RELEASE_EVENT);
    EXPECT_EQ(expectPosted(MOUSE_DOUBLE_PRESS_EVENT).eventData[1], 1U);
    expectPosted(MOUSE_PRESS_EVENT);
}

TEST_F(Press, at_tick_zero_right_after_the_start_is_single) {
    operatorPresses(keyA);
    expectPosted(KEY_PRESS_EVENT);
}

// The mouse follows the same pattern as keys.

TEST_F(Press, of_a_button_held_becomes_long_and_has_a_long_release) {
    operatorPressesButton(2);
    timePasses(2000);
    operatorReleasesButton(1);
    operatorReleasesButton(2);
    expectPosted(MOUSE_PRESS_EVENT);
    EXPECT_EQ(expectPosted(MOUSE_LONG_PRESS_EVENT).timeStamp, 2000U);
    EXPECT_EQ(expectPosted(MOUSE_RELEASE_EVENT).eventData[1], 1U) << "another button ends nothing";
    EXPECT_EQ(expectPosted(MOUSE_LONG_RELEASE_EVENT).eventData[1], 2U);
    expectPosted(MOUSE_RELEASE_EVENT);
    expectNothingMore();
}

TEST_F(Press, of_a_button_twice_and_held_becomes_long) {
    operatorPressesButton(1);
    operatorPressesButton(1);
    timePasses(2000);
    expectPosted(MOUSE_PRESS_EVENT);
    expectPosted(MOUSE_DOUBLE_PRESS_EVENT);
    expectPosted(MOUSE_LONG_PRESS_EVENT);
}

TEST_F(Press, of_a_button_escaped_while_waiting_never_becomes_long) {
    operatorPressesButton(1);
    timePasses(1000);
    operatorEscapesButton(1);
    timePasses(3000);
    expectPosted(MOUSE_PRESS_EVENT);
    expectPosted(MOUSE_ESCAPE_EVENT);
    expectNothingMore();
}

// The clock.

TEST_F(Press, is_told_long_and_double_across_the_wrap_of_the_tick) {
    KXSimulation::setTick(0xFFFFFFFFU - 149);
    timePasses(0);
    operatorTaps(keyA);
    timePasses(300);
    operatorPresses(keyA);
    timePasses(2099);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    EXPECT_EQ(expectPosted(KEY_DOUBLE_PRESS_EVENT).timeStamp, 150U);
    const unsigned int longPressAt = expectPosted(KEY_LONG_PRESS_EVENT).timeStamp;
    EXPECT_GE(longPressAt, 2150U);
    EXPECT_LT(longPressAt, 2250U);
}

TEST_F(Press, stamped_later_than_the_pass_counts_as_held_for_ever) {
    // In unsigned arithmetic a time stamp 1 ms in the future is 2^32 - 1 ms old.
    KXInputEvent press;
    press.eventType = KEY_PRESS_EVENT;
    press.timeStamp = 1;
    manager->inputEventOccurred(press);
    expectPosted(KEY_PRESS_EVENT);
    manager->sendLongPressEvent(0);
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST_F(Press, of_a_plain_class_number_becomes_a_long_press_that_is_an_input_event) {
    KXInputEvent press;
    press.eventClass = 0;
    press.eventType = KEY_PRESS_EVENT;
    press.keyCode = 9;
    EXPECT_EQ(manager->inputEventOccurred(press), 0);
    EXPECT_EQ(expectPosted(KEY_PRESS_EVENT).eventClass, 0);
    timePasses(2000);
    const KXInputEvent longPress = expectPosted(KEY_LONG_PRESS_EVENT);
    EXPECT_EQ(longPress.eventClass, 3);
    EXPECT_EQ(longPress.keyCode, 9);
}

TEST_F(Press, the_step_of_a_pass_succeeds_whatever_is_pending) {
    EXPECT_EQ(manager->sendLongPressEvent(0), 0);
    operatorPresses(keyA);
    EXPECT_EQ(manager->sendLongPressEvent(1999), 0);
    EXPECT_EQ(manager->sendLongPressEvent(2000), 0);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_LONG_PRESS_EVENT);
    EXPECT_EQ(manager->sendLongPressEvent(2100), 0);
    expectNothingMore();
}

// Durations.

TEST_F(Press, durations_keep_double_below_long) {
    EXPECT_EQ(manager->setLongKeyPressDuration(299), 20);
    EXPECT_EQ(manager->setLongKeyPressDuration(300), 20);
    EXPECT_EQ(manager->setLongKeyPressDuration(301), 0);
    EXPECT_EQ(manager->setDoubleKeyPressDuration(302), 20);
    EXPECT_EQ(manager->setDoubleKeyPressDuration(301), 20);
    EXPECT_EQ(manager->setDoubleKeyPressDuration(300), 0);
    EXPECT_EQ(manager->setLongKeyPressDuration(2000), 0);
    EXPECT_EQ(manager->setDoubleKeyPressDuration(2000), 20);
    EXPECT_EQ(manager->setDoubleKeyPressDuration(1999), 0);
    EXPECT_EQ(manager->setDoubleKeyPressDuration(0), 0);
    EXPECT_EQ(manager->setLongKeyPressDuration(0), 20);
    EXPECT_EQ(manager->setLongKeyPressDuration(0xFFFFFFFFU), 0);
}

TEST_F(Press, a_refused_duration_changes_neither) {
    EXPECT_EQ(manager->setLongKeyPressDuration(300), 20);
    EXPECT_EQ(manager->setDoubleKeyPressDuration(2000), 20);
    operatorTaps(keyA);
    timePasses(300);
    operatorPresses(keyA);
    timePasses(1999);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    expectPosted(KEY_DOUBLE_PRESS_EVENT);
    expectNothingMore();
    timePasses(100);
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST_F(Press, a_new_duration_applies_to_the_press_that_is_held) {
    operatorPresses(keyA);
    timePasses(500);
    expectPosted(KEY_PRESS_EVENT);
    EXPECT_EQ(manager->setLongKeyPressDuration(600), 0);
    timePasses(99);
    expectNothingMore();
    timePasses(1);
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST_F(Press, with_a_double_duration_of_zero_pairs_only_at_the_same_tick) {
    EXPECT_EQ(manager->setDoubleKeyPressDuration(0), 0);
    operatorPresses(keyA);
    operatorPresses(keyA);
    timePasses(1);
    operatorPresses(keyA);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_DOUBLE_PRESS_EVENT);
    expectPosted(KEY_PRESS_EVENT);
}

} // namespace
} // namespace KX
