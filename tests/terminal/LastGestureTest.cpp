// The operator's last gesture in words, from classified events. There is no window.

#include "terminal/events/LastGesture.h"

#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

constexpr int escape = 0;
constexpr int home = 1;

// The names of keys come from the library's table. The first manager fills it.
class LastGestureTest : public testing::Test {
protected:
    LastGestureTest() {
        KX::KXSimulation::reset();
        KX::KXInputEventManager::createInstance();
    }

    ~LastGestureTest() override { KX::KXInputEventManager::deleteInstance(); }

    void key(int type, unsigned int tick, int keyCode = escape) {
        KX::KXInputEvent event;
        event.eventType = type;
        event.timeStamp = tick;
        event.keyCode = keyCode;
        gesture.take(event);
    }

    void mouse(int type, unsigned int tick, unsigned int button = Qt::LeftButton) {
        KX::KXInputEvent event;
        event.eventType = type;
        event.timeStamp = tick;
        event.eventData[1] = button;
        gesture.take(event);
    }

    void turn(unsigned int tick, int value, int count = 1, int keyCode = KX::KX_KEY_UP) {
        KX::KXInputEvent event;
        event.eventType = KX::ENCODER_MOVE_EVENT;
        event.timeStamp = tick;
        event.keyCode = keyCode;
        event.value = value;
        event.count = count;
        gesture.take(event);
    }

    std::string words() const { return gesture.words().toStdString(); }

    std::string ending() const { return gesture.ending() ? gesture.ending()->words.toStdString() : ""; }

    LastGesture gesture;
};

} // namespace

TEST_F(LastGestureTest, BeginsEmpty) {
    EXPECT_EQ("", words());
    EXPECT_EQ(KX::KXInputDevice::NoDevice, gesture.kind().device);
    key(KX::KEY_RELEASE_EVENT, 100);
    EXPECT_EQ("", words()) << "a release alone is no gesture";
    EXPECT_EQ("", ending());
}

TEST_F(LastGestureTest, APressStaysWhileItsReleaseFollows) {
    key(KX::KEY_PRESS_EVENT, 1000);
    EXPECT_EQ("Press \u2014 Esc", words());
    EXPECT_EQ("", ending());
    key(KX::KEY_RELEASE_EVENT, 1070);
    EXPECT_EQ("Press \u2014 Esc", words());
    EXPECT_EQ("released after 70 ms", ending());
    EXPECT_EQ(KX::KXGesture::Release, gesture.ending()->gesture);
    EXPECT_EQ(KX::KXGesture::Press, gesture.kind().gesture);
}

TEST_F(LastGestureTest, ADoublePressIsOneGestureAndItsReleaseCountsFromTheSecondPress) {
    key(KX::KEY_PRESS_EVENT, 1000);
    key(KX::KEY_RELEASE_EVENT, 1070);
    key(KX::KEY_DOUBLE_PRESS_EVENT, 1200);
    EXPECT_EQ("Double press \u2014 Esc", words());
    EXPECT_EQ("", ending()) << "the release of the first press is over";
    key(KX::KEY_RELEASE_EVENT, 1290);
    EXPECT_EQ("Double press \u2014 Esc", words());
    EXPECT_EQ("released after 90 ms", ending());
}

TEST_F(LastGestureTest, ALongPressEndsWithALongReleaseThatCountsFromThePress) {
    key(KX::KEY_PRESS_EVENT, 1000);
    key(KX::KEY_LONG_PRESS_EVENT, 3000);
    EXPECT_EQ("Long press \u2014 Esc", words());
    key(KX::KEY_LONG_RELEASE_EVENT, 3000);
    EXPECT_EQ("", ending());
    key(KX::KEY_RELEASE_EVENT, 3300);
    EXPECT_EQ("Long press \u2014 Esc", words());
    EXPECT_EQ("released after 2.30 s", ending());
    EXPECT_EQ(KX::KXGesture::LongRelease, gesture.ending()->gesture);
}

TEST_F(LastGestureTest, TheReleaseOfAnotherKeyTellsNothingOfThisOne) {
    key(KX::KEY_PRESS_EVENT, 1000, home);
    key(KX::KEY_PRESS_EVENT, 1100, escape);
    key(KX::KEY_RELEASE_EVENT, 1200, home);
    EXPECT_EQ("Press \u2014 Esc", words());
    EXPECT_EQ("", ending());
    mouse(KX::MOUSE_RELEASE_EVENT, 1250);
    EXPECT_EQ("", ending());
    key(KX::KEY_RELEASE_EVENT, 1300, escape);
    EXPECT_EQ("released after 200 ms", ending());
    key(KX::KEY_RELEASE_EVENT, 1900, escape);
    EXPECT_EQ("released after 200 ms", ending()) << "it was released already";
}

TEST_F(LastGestureTest, AnEscapeIsAMarkToo) {
    mouse(KX::MOUSE_PRESS_EVENT, 1000);
    EXPECT_EQ("Press \u2014 Left button", words());
    mouse(KX::MOUSE_ESCAPE_EVENT, 1500);
    EXPECT_EQ("Press \u2014 Left button", words());
    EXPECT_EQ("escaped", ending());
    EXPECT_EQ(KX::KXGesture::Escape, gesture.ending()->gesture);
}

TEST_F(LastGestureTest, MovesOfTheMouseAreNoGesture) {
    mouse(KX::MOUSE_PRESS_EVENT, 1000);
    mouse(KX::MOUSE_MOVE_EVENT, 1100);
    mouse(KX::MOUSE_EXIT_EVENT, 1200);
    EXPECT_EQ("Press \u2014 Left button", words());
}

TEST_F(LastGestureTest, TheMovesOfATurnAreOneGesture) {
    turn(1000, 1);
    EXPECT_EQ("Turned 1 step, +1", words());
    turn(1050, 20, 2);
    turn(1100, 48, 2);
    EXPECT_EQ("Turned 5 steps, +69", words());
    EXPECT_EQ(KX::KXInputDevice::Encoder, gesture.kind().device);
    key(KX::KEY_RELEASE_EVENT, 1110);
    EXPECT_EQ("Turned 5 steps, +69", words());
    EXPECT_EQ("", ending());
}

TEST_F(LastGestureTest, ATurnDownIsNegativeAndLargeNumbersAreGrouped) {
    turn(1000, 1234567, 3, KX::KX_KEY_DOWN);
    EXPECT_EQ("Turned 3 steps, \u22121\u2009234\u2009567", words());
}

TEST_F(LastGestureTest, AfterARestANewTurnBegins) {
    constexpr auto rest = static_cast<unsigned int>(EncoderTurn::restMs);
    turn(1000, 5);
    turn(1000 + rest - 1, 5);
    EXPECT_EQ("Turned 2 steps, +10", words());
    turn(1000 + 2 * rest - 1, 5);
    EXPECT_EQ("Turned 1 step, +5", words());
}

TEST_F(LastGestureTest, APressAcrossTheWrapOfTheTickHasItsLength) {
    key(KX::KEY_PRESS_EVENT, 0xFFFFFFF0U);
    key(KX::KEY_RELEASE_EVENT, 0x20U);
    EXPECT_EQ("released after 48 ms", ending());
}
