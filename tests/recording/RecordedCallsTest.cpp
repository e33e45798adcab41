// A recorded call is repeated and returns the library's status.

#include "recording/KXRecordedCalls.h"

#include "recording/KXKeyLayout.h"
#include "support/OperatorTest.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace KX::Recording;

class RecordedCallsTest : public KX::test::OperatorTest {
protected:
    template<typename Call>
    int repeat(const Call& call) {
        return repeatCall(call, *manager);
    }

    int set(KX::KXInputSetting name, std::int64_t value) { return repeat(NumberSetting{name, value}); }

    static KX::KXEncoderDynamic& encoder() { return *KX::KXEncoderDynamic::instance(); }
};

KX::KXToolkitEvent keyEvent(int type, int osKeyCode) {
    KX::KXToolkitEvent event;
    event.eventType = type;
    event.osKeyCode = osKeyCode;
    event.timeStamp = KX::KXTick::getTickCount();
    return event;
}

} // namespace

TEST_F(RecordedCallsTest, DurationsDecideFromThenOn) {
    EXPECT_EQ(0, set(KX::KXInputSetting::LongKeyPressDuration, 1000));
    EXPECT_EQ(0, set(KX::KXInputSetting::DoubleKeyPressDuration, 999));
    EXPECT_EQ(20, set(KX::KXInputSetting::DoubleKeyPressDuration, 1000));
    EXPECT_EQ(20, set(KX::KXInputSetting::LongKeyPressDuration, 999));
    repeat(keyEvent(KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Escape));
    expectPosted(KX::KEY_PRESS_EVENT);
    timePasses(1000);
    expectPosted(KX::KEY_LONG_PRESS_EVENT);
}

TEST_F(RecordedCallsTest, FactorsAreSet) {
    EXPECT_EQ(0, set(KX::KXInputSetting::EncoderUserFactor, INT_MAX));
    EXPECT_EQ(INT_MAX, encoder().getUserFactor());
    EXPECT_EQ(24, set(KX::KXInputSetting::EncoderUserFactor, INT_MIN));
    EXPECT_EQ(INT_MAX, encoder().getUserFactor());
    EXPECT_EQ(0, set(KX::KXInputSetting::EncoderLowPassFactor, 1000));
    EXPECT_EQ(1000, encoder().getLowPassFactor());
    EXPECT_EQ(24, set(KX::KXInputSetting::EncoderLowPassFactor, 1001));
    EXPECT_EQ(1000, encoder().getLowPassFactor());
}

TEST_F(RecordedCallsTest, InputIsTakenOrNot) {
    EXPECT_EQ(0, set(KX::KXInputSetting::AcceptInput, 0));
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, repeat(keyEvent(KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Escape)));
    EXPECT_NE("", testing::internal::GetCapturedStdout());
    expectNothingMore();
    EXPECT_EQ(0, set(KX::KXInputSetting::AcceptInput, 1));
    repeat(keyEvent(KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Escape));
    expectPosted(KX::KEY_PRESS_EVENT);
}

TEST_F(RecordedCallsTest, ASpeedTableIsSetOrRefused) {
    EXPECT_EQ(0, repeat(SpeedTable{{{1, 50}, {9, 5}}}));
    ASSERT_EQ(2U, encoder().getDynamicParameters().size());
    EXPECT_EQ(9U, encoder().getDynamicParameters()[1].timeGap);
    EXPECT_EQ(3, repeat(SpeedTable{{{9, 5}, {9, 50}}}));
    EXPECT_EQ(2U, encoder().getDynamicParameters().size());
}

TEST_F(RecordedCallsTest, AKeyMappingCountsForTheNextKey) {
    EXPECT_EQ(0, repeat(KeyMapping{{{Qt::Key_F1, 7}}}));
    repeat(keyEvent(KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_F1));
    EXPECT_EQ(7, expectPosted(KX::KEY_PRESS_EVENT).keyCode);
}

TEST_F(RecordedCallsTest, AnEventIsDeliveredAsACopy) {
    const KX::KXToolkitEvent event = keyEvent(KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Escape);
    EXPECT_EQ(0, repeat(event));
    EXPECT_EQ(KX::TOOLKIT_KEY_PRESS_EVENT, event.eventType);
    EXPECT_EQ(-1, event.keyCode);
    expectPosted(KX::KEY_PRESS_EVENT);
    testing::internal::CaptureStderr();
    EXPECT_EQ(20, repeat(keyEvent(4711, Qt::Key_Escape)));
    EXPECT_NE("", testing::internal::GetCapturedStderr());
    expectNothingMore();
}

TEST_F(RecordedCallsTest, TheKeyboardLayoutIsNotRepeated) {
    EXPECT_EQ(20, set(KX::KXInputSetting::KeyboardLayout, 1));
}

TEST_F(RecordedCallsTest, AnInputEventIsClassifiedWhateverItsClass) {
    KX::KXInputEvent event;
    event.eventType = KX::KEY_RELEASE_EVENT;
    event.keyCode = 4;
    EXPECT_EQ(11, repeat(event)) << "the release of a step key";
    event.eventType = KX::MOUSE_MOVE_EVENT;
    event.eventClass = KX::SIGNAL_CLASS;
    EXPECT_EQ(0, repeat(event));
    EXPECT_EQ(KX::SIGNAL_CLASS, expectPosted(KX::MOUSE_MOVE_EVENT).eventClass);
}

TEST_F(RecordedCallsTest, APostGoesPastTheClassification) {
    KX::Recording::Post post;
    post.event.eventType = KX::KEY_RELEASE_EVENT;
    post.event.keyCode = 4;
    EXPECT_EQ(0, repeat(post));
    EXPECT_EQ(4, expectPosted(KX::KEY_RELEASE_EVENT).keyCode);
}
