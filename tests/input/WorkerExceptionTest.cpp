// The worker thread goes on after an exception, and nothing is posted twice.

#include "events/KXEventQueue.h"
#include "input/CANRemoteHandler.h"
#include "input/KXInputObserver.h"
#include "tests/support/OperatorTest.h"
#include "tests/support/OwnCANBus.h"

#include <stdexcept>
#include <string>

namespace KX::test {
namespace {

std::string lineOf(const std::string& aim, const std::string& reason = "out of order") {
    return "KXInputEventManager: Failed to " + aim + ": " + reason + "\n";
}

class WorkerException : public OperatorTest {
protected:
    void hookThrows() {
        manager->getInputEventsQueue()->setAfterPostFunction([] { throw std::runtime_error("out of order"); });
    }

    void hookWorksAgain() { manager->getInputEventsQueue()->setAfterPostFunction(nullptr); }

    std::string linesWhile(unsigned int ms) {
        testing::internal::CaptureStderr();
        timePasses(ms);
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(WorkerException, of_a_hook_for_a_long_press_costs_no_event) {
    operatorPresses(Qt::Key_Home);
    expectPosted(KEY_PRESS_EVENT);
    hookThrows();
    EXPECT_EQ(linesWhile(3000), lineOf("finish the post of a long press"));
    hookWorksAgain();
    expectPosted(KEY_LONG_PRESS_EVENT);
    operatorReleases(Qt::Key_Home);
    expectPosted(KEY_LONG_RELEASE_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
    expectNothingMore();
}

TEST_F(WorkerException, of_a_hook_for_a_bundle_does_not_post_the_steps_again) {
    timePasses(10);
    operatorTaps(Qt::Key_Up);
    timePasses(10);
    operatorTaps(Qt::Key_Up);
    expectPosted(ENCODER_MOVE_EVENT);
    hookThrows();
    EXPECT_EQ(linesWhile(1000), lineOf("finish the post of encoder steps"));
    hookWorksAgain();
    EXPECT_EQ(expectPosted(ENCODER_MOVE_EVENT).count, 1);
    expectNothingMore();
}

TEST_F(WorkerException, that_is_no_standard_one_is_reported_too) {
    operatorPresses(Qt::Key_Home);
    manager->getInputEventsQueue()->setAfterPostFunction([] { throw 5; });
    EXPECT_EQ(linesWhile(2000), lineOf("finish the post of a long press", "unknown exception"));
}

// The same state, seen by the thread that hands input in: the exception is its own.
TEST_F(WorkerException, of_a_hook_for_a_long_release_leaves_nothing_pending) {
    operatorPresses(Qt::Key_Home);
    timePasses(2000);
    hookThrows();
    EXPECT_THROW(operatorReleases(Qt::Key_Home), std::runtime_error);
    hookWorksAgain();
    testing::internal::CaptureStderr();
    operatorTaps(Qt::Key_Home);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    for (const int type :
         {KEY_PRESS_EVENT, KEY_LONG_PRESS_EVENT, KEY_LONG_RELEASE_EVENT, KEY_PRESS_EVENT, KEY_RELEASE_EVENT})
        expectPosted(type);
    expectNothingMore();
}

TEST_F(WorkerException, of_a_hook_for_the_key_that_ends_a_bundle_does_not_post_the_steps_again) {
    timePasses(10);
    operatorTaps(Qt::Key_Up);
    timePasses(10);
    operatorTaps(Qt::Key_Up);
    hookThrows();
    EXPECT_THROW(operatorPresses(Qt::Key_Return), std::runtime_error);
    hookWorksAgain();
    timePasses(1000);
    expectPosted(ENCODER_MOVE_EVENT);
    expectPosted(ENCODER_MOVE_EVENT);
    expectNothingMore();
}

class ThrowingObserver : public KXInputObserver {
public:
    ThrowingObserver() { KXInputEventManager::setObserver(this); }
    ~ThrowingObserver() override { KXInputEventManager::setObserver(nullptr); }

    void onPassDue() override { fail(); }
    void onPass(unsigned int) override { fail(); }
    void onFrame(const KXCANMessage&) override { fail(); }

private:
    static void fail() { throw std::runtime_error("out of order"); }
};

TEST_F(WorkerException, of_an_observer_costs_no_pass) {
    operatorPresses(Qt::Key_Home);
    timePasses(1999);
    expectPosted(KEY_PRESS_EVENT);
    std::string lines;
    {
        const ThrowingObserver observer;
        lines = linesWhile(1);
    }
    EXPECT_EQ(lines, lineOf("tell the observer that a pass is due") + lineOf("tell the observer of a pass"));
    expectPosted(KEY_LONG_PRESS_EVENT);
}

TEST_F(WorkerException, of_an_observer_costs_no_frame) {
    CANRemoteOptions options;
    options.keys[0] = {12, 1, 0, 0, 0x18FF0001, 0};
    manager->setCANRemoteOptions(options);
    CANRemoteHandler handler(manager);
    OwnCANBus bus;
    bus.frames.emplace_back();
    bus.frames.back().canId = 0x18FF0001;
    bus.frames.back().canData[0] = 1;
    const ThrowingObserver observer;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    handler.onEndPointReadable(&bus, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Key 12, KeyCode: 1, pressed\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr().rfind(lineOf("tell the observer of a frame"), 0), 0U);
}

} // namespace
} // namespace KX::test
