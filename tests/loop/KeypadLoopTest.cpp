#include "actions/KXActionQueue.h"
#include "platform/KXCANMessage.h"
#include "tests/support/OffscreenKeys.h"
#include "tests/support/OperatorTest.h"
#include "tests/support/TestAction.h"
#include "toolkit/KXToolkitLayer.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace KX {
namespace {

using test::TestAction;
using testing::ElementsAre;
using testing::HasSubstr;

const auto* const environment = testing::AddGlobalTestEnvironment(new test::OffscreenApplication);

constexpr int keyId = 0x18FF0001;
constexpr std::uint32_t encoderId = 0x18FF0100;
constexpr unsigned int farAhead = 0xFFFFFFFFU;

/// A terminal without its screen: a keypad on the bus, a window with a toolkit layer, the manager and the action
/// queue. Keys 0 to 7 of the keypad are the bits of a byte; key 0 is Home, key 1 is End.
class KeypadLoop : public test::OperatorTest {
protected:
    void SetUp() override {
        OperatorTest::SetUp();
        queue = KXActionQueue::create();
        window.show();
        QApplication::setActiveWindow(&window);
        QApplication::processEvents();
        ASSERT_EQ(QApplication::activeWindow(), &window);
        layer = std::make_unique<KXToolkitLayer>(window);
        manager->setCANRemoteOptions(keypad());
        encoderGoesTo(1000); // an earlier test may have left it anywhere
        timePasses(1000);
        while (manager->hasEvents())
            manager->getNextEvent();
    }

    void TearDown() override {
        layer.reset();
        KXActionQueue::release();
        KXInputEventManager::deleteInstance();
        KXSimulation::reset(); // the process keeps the keypad's bus
    }

    static CANRemoteOptions keypad() {
        CANRemoteOptions options;
        options.enabled = true;
        options.encoderCANId = encoderId;
        options.keys[0] = {1, 1, 3, 0, keyId, 0};
        options.keys[1] = {2, 6, 3, 1, keyId, 0};
        return options;
    }

    /// Puts the frame onto the bus and runs all that follows at the same tick.
    void frameComes(const KXCANMessage& frame) {
        KXSimulation::scheduleCANFrame(0, KXTick::getTickCount(), frame);
        KXSimulation::advance(0);
        QCoreApplication::sendPostedEvents(); // the worker's request for a key
        QCoreApplication::sendPostedEvents(); // the key
    }

    void keypadShows(int bits) {
        KXCANMessage frame;
        frame.canId = keyId;
        frame.canData[3] = static_cast<unsigned char>(bits);
        frameComes(frame);
    }

    void encoderGoesTo(int wanted) {
        position = wanted;
        KXCANMessage frame;
        frame.canId = encoderId;
        frame.canData[0] = static_cast<unsigned char>(position & 0xFF);
        frame.canData[1] = static_cast<unsigned char>(position >> 8 & 0xFF);
        frameComes(frame);
    }

    /// Turns by \p frames steps, one frame each, and returns the moves until nothing more comes.
    std::vector<KXInputEvent> turn(int frames, int step, unsigned int stepMs) {
        for (int i = 0; i < frames; ++i) {
            encoderGoesTo((position + step) & 0xFFFF);
            timePasses(stepMs);
        }
        timePasses(1000);
        std::vector<KXInputEvent> moves;
        while (manager->hasEvents())
            moves.push_back(expectPosted(ENCODER_MOVE_EVENT));
        return moves;
    }

    static int stepsOf(const std::vector<KXInputEvent>& moves) {
        int steps = 0;
        for (const KXInputEvent& move : moves)
            steps += move.count;
        return steps;
    }

    KXActionQueue* queue = nullptr;
    QWidget window;
    std::unique_ptr<KXToolkitLayer> layer;
    int position = 0;
};

TEST_F(KeypadLoop, a_key_of_the_keypad_is_pressed_and_released) {
    keypadShows(1);
    const KXInputEvent press = expectPosted(KEY_PRESS_EVENT);
    EXPECT_EQ(press.keyCode, 1);
    EXPECT_EQ(press.osKeyCode, Qt::Key_Home);
    EXPECT_EQ(press.timeStamp, 1000U);
    EXPECT_EQ(press.eventClass, 3);
    timePasses(80);
    keypadShows(1);
    expectNothingMore();
    keypadShows(0);
    const KXInputEvent release = expectPosted(KEY_RELEASE_EVENT);
    EXPECT_EQ(release.keyCode, 1);
    EXPECT_EQ(release.timeStamp, 1080U);
    expectNothingMore();
}

TEST_F(KeypadLoop, a_key_held_for_2000_becomes_a_long_press_and_not_before) {
    keypadShows(1);
    expectPosted(KEY_PRESS_EVENT);
    timePasses(1999);
    expectNothingMore();
    timePasses(1);
    const KXInputEvent longPress = expectPosted(KEY_LONG_PRESS_EVENT);
    EXPECT_EQ(longPress.keyCode, 1);
    timePasses(5000);
    expectNothingMore();
    keypadShows(0);
    expectPosted(KEY_LONG_RELEASE_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    expectNothingMore();
}

TEST_F(KeypadLoop, a_second_press_within_300_is_a_double_press) {
    for (const unsigned int apartMs : {299U, 300U, 301U}) {
        SCOPED_TRACE(apartMs);
        timePasses(1000);
        keypadShows(1);
        expectPosted(KEY_PRESS_EVENT);
        timePasses(50);
        keypadShows(0);
        expectPosted(KEY_RELEASE_EVENT);
        timePasses(apartMs - 50);
        keypadShows(1);
        expectPosted(apartMs <= 300 ? KEY_DOUBLE_PRESS_EVENT : KEY_PRESS_EVENT);
        keypadShows(0);
        expectPosted(KEY_RELEASE_EVENT);
        expectNothingMore();
    }
}

TEST_F(KeypadLoop, two_keys_in_one_frame_are_two_presses_of_which_the_later_may_become_long) {
    keypadShows(3);
    EXPECT_EQ(expectPosted(KEY_PRESS_EVENT).keyCode, 1);
    EXPECT_EQ(expectPosted(KEY_PRESS_EVENT).keyCode, 6);
    timePasses(2100);
    EXPECT_EQ(expectPosted(KEY_LONG_PRESS_EVENT).keyCode, 6);
    expectNothingMore();
}

TEST_F(KeypadLoop, an_encoder_turned_slowly_moves_by_single_steps) {
    const std::vector<KXInputEvent> moves = turn(10, 1, 300);
    ASSERT_EQ(moves.size(), 10U);
    for (const KXInputEvent& move : moves) {
        EXPECT_EQ(move.keyCode, 4);
        EXPECT_EQ(move.osKeyCode, Qt::Key_Up);
        EXPECT_EQ(move.count, 1);
        EXPECT_EQ(move.value, 1);
    }
}

TEST_F(KeypadLoop, an_encoder_turned_fast_moves_by_accelerated_bundles_that_hold_every_step) {
    const std::vector<KXInputEvent> moves = turn(40, 1, 5);
    EXPECT_LT(moves.size(), 40U / 5) << "of 200 ms, a bundle each 50";
    EXPECT_GT(moves.size(), 2U);
    EXPECT_EQ(stepsOf(moves), 40);
    EXPECT_GT(moves.back().value, 10 * 40) << "hardly accelerated";
}

TEST_F(KeypadLoop, an_encoder_turned_down_across_its_wrap_goes_on_downward) {
    encoderGoesTo(3);
    timePasses(1000);
    while (manager->hasEvents())
        manager->getNextEvent();
    const std::vector<KXInputEvent> moves = turn(8, -1, 300);
    ASSERT_EQ(moves.size(), 8U);
    for (const KXInputEvent& move : moves)
        EXPECT_EQ(move.keyCode, 5);
    EXPECT_EQ(position, 0xFFFF - 4);
}

TEST_F(KeypadLoop, a_press_while_input_is_not_accepted_is_lost) {
    manager->acceptInput(false);
    testing::internal::CaptureStdout();
    keypadShows(1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Key 1, KeyCode: 1, pressed\nKXInputEventManager::inputEventOccurred: Input IGNORED.\n");
    manager->acceptInput(true);
    timePasses(3000);
    expectNothingMore();
    keypadShows(0);
    expectPosted(KEY_RELEASE_EVENT);
    keypadShows(1);
    expectPosted(KEY_PRESS_EVENT);
    expectNothingMore();
}

TEST_F(KeypadLoop, classified_events_run_the_actions_that_are_posted_on_them) {
    std::vector<int> types;
    TestAction action;
    action.onExecute = [&] { types.push_back(action.triggeringEventType); };
    const auto mainLoopPasses = [&] {
        while (manager->hasEvents()) {
            KXInputEvent event = manager->getNextEvent();
            queue->postAction(&action, &event, &window);
            EXPECT_EQ(queue->executeActions(farAhead, true), 0);
        }
    };
    keypadShows(1);
    mainLoopPasses();
    timePasses(2000);
    mainLoopPasses();
    keypadShows(0);
    mainLoopPasses();
    EXPECT_THAT(types,
                ElementsAre(KEY_PRESS_EVENT, KEY_LONG_PRESS_EVENT, KEY_LONG_RELEASE_EVENT, KEY_RELEASE_EVENT));
    EXPECT_EQ(queue->executeActions(farAhead, true), 23);
}

TEST_F(KeypadLoop, actions_that_set_each_other_off_are_stopped) {
    std::string order;
    TestAction first;
    TestAction second;
    keypadShows(1);
    KXInputEvent press = expectPosted(KEY_PRESS_EVENT);
    const auto runs = [&](const char* name, TestAction& next) {
        order += name;
        if (order.size() < 100)
            queue->postAction(&next, &press, &window);
    };
    first.onExecute = [&] { runs("1", second); };
    second.onExecute = [&] { runs("2", first); };
    queue->postAction(&first, &press, &window);
    testing::internal::CaptureStdout();
    EXPECT_EQ(queue->executeActions(farAhead, true), 0);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr(", on event 'KEY_PRESS_EVENT [24] via action "));
    EXPECT_EQ(order, "121") << "the second one after the first one was there before";
}

TEST_F(KeypadLoop, actions_that_take_their_time_leave_the_rest_to_the_next_pass_of_the_main_loop) {
    TestAction slow([] { KXSimulation::setTick(KXTick::getTickCount() + 3); });
    keypadShows(3);
    for (int key = 0; key < 2; ++key) {
        KXInputEvent press = expectPosted(KEY_PRESS_EVENT);
        for (int i = 0; i < 2; ++i)
            queue->postAction(&slow, &press, &window);
    }
    EXPECT_EQ(queue->executeActions(KXTick::getTickCount() + 5, true), 46);
    EXPECT_EQ(slow.executions, 2) << "6 ms of 5";
    EXPECT_EQ(queue->executeActions(KXTick::getTickCount() + 6, true), 0);
    EXPECT_EQ(slow.executions, 4) << "6 ms of 6";
}

} // namespace
} // namespace KX
