#include "tests/support/EventSamples.h"
#include "tests/support/OperatorTest.h"

#include <gtest/gtest.h>

#include <optional>
#include <typeinfo>

namespace KX {
namespace {

class ToolkitEvents : public test::OperatorTest {
protected:
    void expectForwarded(int type, int as) {
        SCOPED_TRACE(type);
        KXToolkitEvent event;
        event.eventType = type;
        event.timeStamp = KXTick::getTickCount();
        EXPECT_EQ(manager->toolkitEventOccurred(event), 0);
        EXPECT_EQ(event.eventType, as) << "the caller's event carries the new type";
        EXPECT_EQ(event.eventClass, 3);
        EXPECT_EQ(expectPosted(as).eventClass, 3);
        expectNothingMore();
    }

    void expectDropped(int type, const std::string& message) {
        SCOPED_TRACE(type);
        KXToolkitEvent event;
        test::fillEveryField(event);
        event.eventType = type;
        const test::Fields before = test::fieldsOf(event);
        testing::internal::CaptureStderr();
        EXPECT_EQ(manager->toolkitEventOccurred(event), 20);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), message);
        EXPECT_EQ(test::fieldsOf(event), before);
        expectNothingMore();
    }

    void expectUnknown(int type) {
        expectDropped(type, "KXInputEventManager::toolkitEventOccurred(): got unknown input event: " +
                                std::to_string(type) + "\n");
    }
};

TEST_F(ToolkitEvents, of_the_mouse_are_forwarded_with_the_types_of_the_library) {
    expectForwarded(TOOLKIT_MOUSE_PRESS_EVENT, MOUSE_PRESS_EVENT);
    expectForwarded(TOOLKIT_MOUSE_RELEASE_EVENT, MOUSE_RELEASE_EVENT);
    expectForwarded(TOOLKIT_MOUSE_MOVE_EVENT, MOUSE_MOVE_EVENT);
    expectForwarded(TOOLKIT_MOUSE_ESCAPE_EVENT, MOUSE_ESCAPE_EVENT);
    expectForwarded(TOOLKIT_WHEEL_EVENT, ENCODER_MOVE_EVENT);
}

TEST_F(ToolkitEvents, a_click_arrives_under_a_number_without_a_name) {
    expectForwarded(TOOLKIT_CLICK_EVENT, 1010);
}

TEST_F(ToolkitEvents, the_confirmed_removal_of_pool_widgets_passes_unchanged) {
    expectForwarded(REMOVE_POOL_WIDGETS_CONFIRM_EVENT, 102);
}

TEST_F(ToolkitEvents, of_keys_get_the_type_and_the_key_code_and_keep_the_rest) {
    const struct {
        int type, as;
    } cases[] = {{TOOLKIT_KEY_PRESS_EVENT, KEY_PRESS_EVENT}, {TOOLKIT_KEY_RELEASE_EVENT, KEY_RELEASE_EVENT}};
    for (const auto& key : cases) {
        KXToolkitEvent event;
        test::fillEveryField(event);
        event.eventType = key.type;
        event.osKeyCode = Qt::Key_Home;
        test::Fields expected = test::fieldsOf(event);
        expected.eventType = key.as;
        expected.eventClass = 3;
        expected.keyCode = 1;
        EXPECT_EQ(manager->toolkitEventOccurred(event), 0);
        EXPECT_EQ(test::fieldsOf(event), expected);
        EXPECT_EQ(test::fieldsOf(manager->getNextEvent()), expected);
    }
}

TEST_F(ToolkitEvents, of_an_unmapped_key_arrive_with_65535) {
    EXPECT_EQ(operatorPresses(Qt::Key_Q), 0);
    const KXInputEvent press = expectPosted(KEY_PRESS_EVENT);
    EXPECT_EQ(press.keyCode, 65535);
    EXPECT_EQ(press.osKeyCode, Qt::Key_Q);
}

TEST_F(ToolkitEvents, that_the_manager_makes_by_itself_are_dropped_silently) {
    expectDropped(TOOLKIT_MOUSE_DOUBLE_PRESS_EVENT, "");
    expectDropped(TOOLKIT_MOUSE_ENTER_EVENT, "");
    expectDropped(TOOLKIT_MOUSE_EXIT_EVENT, "");
    expectDropped(TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, "");
    expectDropped(TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, "");
}

TEST_F(ToolkitEvents, of_any_other_type_are_reported_and_refused) {
    for (const int type : {0, 24, 101, 103, 199, 209, 299, 304, 400, 700, -1, 9999})
        expectUnknown(type);
}

TEST_F(ToolkitEvents, are_ignored_with_a_line_while_input_is_not_accepted) {
    EXPECT_EQ(manager->acceptInput(false), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(operatorPresses(Qt::Key_Home), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "KXInputEventManager::inputEventOccurred: Input IGNORED.\n");
    expectNothingMore();
    EXPECT_EQ(manager->acceptInput(true), 0);
    operatorPresses(Qt::Key_Home);
    expectPosted(KEY_PRESS_EVENT);
}

TEST_F(ToolkitEvents, ignored_ones_leave_no_trace_in_the_classification) {
    manager->acceptInput(false);
    testing::internal::CaptureStdout();
    operatorPresses(Qt::Key_Home);
    testing::internal::GetCapturedStdout();
    manager->acceptInput(true);
    operatorPresses(Qt::Key_Home);
    expectPosted(KEY_PRESS_EVENT);
    expectNothingMore();
}

TEST_F(ToolkitEvents, a_release_that_is_ignored_leaves_the_long_press_pending) {
    operatorPresses(Qt::Key_Home);
    manager->acceptInput(false);
    testing::internal::CaptureStdout();
    operatorReleases(Qt::Key_Home);
    testing::internal::GetCapturedStdout();
    timePasses(2000);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST_F(ToolkitEvents, an_event_that_lies_about_its_class_throws_and_the_manager_works_on) {
    KXInputEvent liar;
    liar.eventType = MOUSE_MOVE_EVENT;
    liar.eventClass = 6;
    EXPECT_THROW(manager->inputEventOccurred(liar), std::bad_cast);
    operatorTaps(Qt::Key_Home);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    timePasses(100);
    expectNothingMore();
}

TEST_F(ToolkitEvents, escape_is_posted_past_the_gate_and_the_classification) {
    manager->acceptInput(false);
    timePasses(100);
    EXPECT_EQ(manager->postESCtoEventQueue(true), 0);
    EXPECT_EQ(manager->postESCtoEventQueue(true), 0);
    EXPECT_EQ(manager->postESCtoEventQueue(false), 0);
    timePasses(3000);

    test::Fields escape;
    escape.eventClass = 3;
    escape.value = -1;
    escape.keyCode = 0;
    escape.osKeyCode = 65535;
    for (const int type : {KEY_PRESS_EVENT, KEY_PRESS_EVENT, KEY_RELEASE_EVENT}) {
        escape.eventType = type;
        EXPECT_EQ(test::fieldsOf(manager->getNextEvent()), escape);
    }
    expectNothingMore();
}

TEST_F(ToolkitEvents, without_a_mutex_input_is_classified_all_the_same) {
    KXInputEventManager::deleteInstance();
    KXSimulation::refuseMutexes(1);
    manager = KXInputEventManager::createInstance();
    operatorTaps(Qt::Key_Home);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    operatorPresses(Qt::Key_Home);
    timePasses(5000);
    expectPosted(KEY_DOUBLE_PRESS_EVENT);
    expectNothingMore(); // a pass ends if it cannot lock the mutex
}

// Forwarded events go through the virtual function, which a derived manager may override.
class RecordingManager : public KXInputEventManager {
public:
    RecordingManager() = default;

    int inputEventOccurred(KXInputEvent& event) override {
        seenType = event.eventType;
        return 7;
    }

    std::optional<int> seenType;
};

TEST(ToolkitEventsOfADerivedManager, are_forwarded_through_the_virtual_operation) {
    KXSimulation::reset();
    {
        RecordingManager manager;
        KXToolkitEvent event;
        event.eventType = TOOLKIT_KEY_PRESS_EVENT;
        EXPECT_EQ(manager.toolkitEventOccurred(event), 7);
        EXPECT_EQ(manager.seenType, KEY_PRESS_EVENT);
    }
    EXPECT_EQ(KXSimulation::getLivingObjects(), 0U);
}

} // namespace
} // namespace KX
