#include "terminal/timeline/KeyTimeLine.h"

#include "events/KXEventType.h"

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

using Ending = KeyTimeLine::Span::Ending;
using Time = KeyTimeLine::Time;

constexpr int aKey = 7;
constexpr int otherKey = 8;

class KeyTimeLineTest : public testing::Test {
protected:
    void key(int eventType, unsigned int tick, int keyCode = aKey) {
        KX::KXInputEvent event;
        event.eventType = eventType;
        event.timeStamp = tick;
        event.keyCode = keyCode;
        line.append(event);
    }

    void tap(unsigned int tick, int keyCode = aKey) {
        key(KX::KEY_PRESS_EVENT, tick, keyCode);
        key(KX::KEY_RELEASE_EVENT, tick + 10, keyCode);
    }

    void mouse(int eventType, unsigned int tick, unsigned int button) {
        KX::KXInputEvent event;
        event.eventType = eventType;
        event.timeStamp = tick;
        event.eventData[1] = button;
        line.append(event);
    }

    void encoder(unsigned int tick, int keyCode, int value) {
        KX::KXInputEvent event;
        event.eventType = KX::ENCODER_MOVE_EVENT;
        event.timeStamp = tick;
        event.keyCode = keyCode;
        event.count = 1;
        event.value = value;
        line.append(event);
    }

    const std::deque<KeyTimeLine::Span>& spans(int keyCode = aKey) const {
        return line.lanes().at({KeyTimeLine::LaneKind::Key, static_cast<unsigned int>(keyCode)}).spans;
    }

    const std::deque<KeyTimeLine::Span>& buttonSpans(unsigned int button) const {
        return line.lanes().at({KeyTimeLine::LaneKind::MouseButton, button}).spans;
    }

    KeyTimeLine line;
};

} // namespace

TEST_F(KeyTimeLineTest, ANewLineIsEmpty) {
    EXPECT_TRUE(line.isEmpty());
    EXPECT_FALSE(line.isAnyKeyDown());
    EXPECT_EQ(0, line.eventCount());
    EXPECT_EQ(line.newest(), line.oldest());
}

TEST_F(KeyTimeLineTest, AKeyIsDownFromItsPressToItsRelease) {
    key(KX::KEY_PRESS_EVENT, 1000);
    EXPECT_TRUE(line.isAnyKeyDown());
    ASSERT_EQ(1U, spans().size());
    EXPECT_EQ(Ending::Down, spans()[0].ending);
    key(KX::KEY_RELEASE_EVENT, 1090);
    EXPECT_FALSE(line.isAnyKeyDown());
    ASSERT_EQ(1U, spans().size());
    EXPECT_EQ(Ending::Released, spans()[0].ending);
    EXPECT_EQ(1000, spans()[0].start);
    EXPECT_EQ(1090, spans()[0].end);
    EXPECT_TRUE(spans()[0].isPressSeen);
    EXPECT_EQ(1000, line.oldest());
    EXPECT_EQ(1090, line.newest());
}

TEST_F(KeyTimeLineTest, ADoublePressTellsItsDistanceAndTheWindowAtThatTime) {
    tap(1000);
    key(KX::KEY_DOUBLE_PRESS_EVENT, 1290);
    line.setDoublePressWindow(200);
    tap(1600);
    ASSERT_EQ(3U, spans().size());
    EXPECT_FALSE(spans()[0].followsPress);
    EXPECT_TRUE(spans()[1].isDoublePress);
    EXPECT_TRUE(spans()[1].followsPress);
    EXPECT_EQ(290U, spans()[1].sincePreviousPress);
    EXPECT_EQ(300U, spans()[1].doublePressWindow) << "as it was when it was pressed";
    EXPECT_FALSE(spans()[2].isDoublePress);
    EXPECT_EQ(310U, spans()[2].sincePreviousPress);
    EXPECT_EQ(200U, spans()[2].doublePressWindow);
}

TEST_F(KeyTimeLineTest, APressOfAnotherKeyInterrupts) {
    tap(1000, aKey);
    tap(1100, otherKey);
    tap(1200, aKey);
    tap(1300, aKey);
    ASSERT_EQ(3U, spans(aKey).size());
    EXPECT_EQ(200U, spans(aKey)[1].sincePreviousPress);
    EXPECT_TRUE(spans(aKey)[1].isInterrupted);
    EXPECT_FALSE(spans(aKey)[2].isInterrupted);
}

TEST_F(KeyTimeLineTest, ALongPressAndItsReleaseAreMarkedWhereTheyWereRecognised) {
    key(KX::KEY_PRESS_EVENT, 1000);
    key(KX::KEY_LONG_PRESS_EVENT, 3050);
    EXPECT_TRUE(spans()[0].isLongPress);
    EXPECT_EQ(3050, spans()[0].longPressAt);
    EXPECT_EQ(Ending::Down, spans()[0].ending);
    key(KX::KEY_LONG_RELEASE_EVENT, 3050); // has the tick of the long press
    EXPECT_TRUE(line.isAnyKeyDown());
    key(KX::KEY_RELEASE_EVENT, 4000);
    ASSERT_EQ(1U, spans().size());
    EXPECT_TRUE(spans()[0].isLongRelease);
    EXPECT_EQ(3050, spans()[0].longPressAt);
    EXPECT_EQ(4000, spans()[0].end);
    EXPECT_EQ(4, spans()[0].eventCount);
}

TEST_F(KeyTimeLineTest, AReleaseMayBearAnEarlierTickThanTheLongPressPostedBeforeIt) {
    key(KX::KEY_PRESS_EVENT, 1000);
    key(KX::KEY_LONG_PRESS_EVENT, 3005);
    key(KX::KEY_LONG_RELEASE_EVENT, 3005);
    key(KX::KEY_RELEASE_EVENT, 3003);
    ASSERT_EQ(1U, spans().size());
    EXPECT_EQ(3003, spans()[0].end);
    EXPECT_EQ(3003, spans()[0].longPressAt) << "no mark behind the end";
    EXPECT_EQ(3005, line.newest());
}

TEST_F(KeyTimeLineTest, AReleaseWithoutPressIsAnInstantWithoutBeginning) {
    key(KX::KEY_RELEASE_EVENT, 1000);
    ASSERT_EQ(1U, spans().size());
    EXPECT_FALSE(spans()[0].isPressSeen);
    EXPECT_EQ(Ending::Released, spans()[0].ending);
    EXPECT_EQ(1000, spans()[0].start);
    EXPECT_EQ(1000, spans()[0].end);
    EXPECT_FALSE(line.isAnyKeyDown());
    tap(1100);
    EXPECT_FALSE(spans()[1].followsPress) << "the press before was not seen";
}

TEST_F(KeyTimeLineTest, ALongPressWithoutPressIsASpanWithoutBeginning) {
    key(KX::KEY_LONG_PRESS_EVENT, 1000);
    EXPECT_TRUE(line.isAnyKeyDown());
    key(KX::KEY_LONG_RELEASE_EVENT, 1000);
    key(KX::KEY_RELEASE_EVENT, 1500);
    ASSERT_EQ(1U, spans().size());
    EXPECT_FALSE(spans()[0].isPressSeen);
    EXPECT_EQ(1000, spans()[0].start);
    EXPECT_EQ(1500, spans()[0].end);
    EXPECT_FALSE(line.isAnyKeyDown());
}

TEST_F(KeyTimeLineTest, APressAnewEndsTheOneWhoseReleaseWasNotSeen) {
    key(KX::KEY_PRESS_EVENT, 1000);
    key(KX::KEY_LONG_PRESS_EVENT, 3000);
    key(KX::KEY_PRESS_EVENT, 9000);
    ASSERT_EQ(2U, spans().size());
    EXPECT_EQ(Ending::Lost, spans()[0].ending);
    EXPECT_EQ(3000, spans()[0].end) << "the last sign of it";
    EXPECT_EQ(Ending::Down, spans()[1].ending);
    EXPECT_TRUE(line.isAnyKeyDown());
    key(KX::KEY_RELEASE_EVENT, 9100);
    EXPECT_FALSE(line.isAnyKeyDown());
}

TEST_F(KeyTimeLineTest, AnEscapeEndsAMouseButtonInItsOwnWay) {
    mouse(KX::MOUSE_PRESS_EVENT, 1000, 1);
    mouse(KX::MOUSE_MOVE_EVENT, 1050, 1);
    mouse(KX::MOUSE_ESCAPE_EVENT, 1100, 1);
    ASSERT_EQ(1U, buttonSpans(1).size());
    EXPECT_EQ(Ending::Escaped, buttonSpans(1)[0].ending);
    EXPECT_EQ(1100, buttonSpans(1)[0].end);
    EXPECT_FALSE(line.isAnyKeyDown());
    EXPECT_EQ(2, line.eventCount()) << "moves of the mouse are not kept";
    mouse(KX::MOUSE_MOVE_EVENT, 1200, 1);
    EXPECT_EQ(1200, line.newest()) << "but they tell the time";
}

TEST_F(KeyTimeLineTest, ButtonsAndKeysOfTheSameNumberHaveLanesOfTheirOwn) {
    tap(1000, 1);
    mouse(KX::MOUSE_PRESS_EVENT, 1100, 1);
    mouse(KX::MOUSE_PRESS_EVENT, 1200, 2);
    EXPECT_EQ(3U, line.lanes().size());
    EXPECT_EQ(1U, spans(1).size());
    EXPECT_EQ(1U, buttonSpans(1).size());
    EXPECT_EQ(1U, buttonSpans(2).size());
}

TEST_F(KeyTimeLineTest, MovesOfTheEncoderHaveADirection) {
    encoder(1000, 4, 16);
    encoder(1040, 5, 64);
    ASSERT_EQ(2U, line.moves().size());
    EXPECT_TRUE(line.lanes().empty());
    EXPECT_FALSE(line.moves()[0].isDownwards);
    EXPECT_TRUE(line.moves()[1].isDownwards);
    EXPECT_EQ(64, line.moves()[1].value);
}

TEST_F(KeyTimeLineTest, EventsThatAreNoInputLeaveNothing) {
    key(KX::KEY_RELEASE_EVENT + 1000, 1000);
    EXPECT_TRUE(line.isEmpty());
    EXPECT_TRUE(line.lanes().empty());
}

TEST_F(KeyTimeLineTest, TimeGoesOnAcrossTheWrapOfTheTick) {
    key(KX::KEY_PRESS_EVENT, 0xFFFFFFF0U);
    key(KX::KEY_RELEASE_EVENT, 0x10U);
    ASSERT_EQ(1U, spans().size());
    EXPECT_EQ(0x20, spans()[0].end - spans()[0].start);
    EXPECT_EQ(0x10U, line.tickAt(spans()[0].end));
    EXPECT_EQ(0xFFFFFFF0U, line.tickAt(spans()[0].start));
    key(KX::KEY_PRESS_EVENT, 0xFFFFFFFFU); // late, from before the wrap
    EXPECT_EQ(spans()[0].end, spans()[1].start) << "no span begins before the one before it has ended";
}

TEST_F(KeyTimeLineTest, AnEventAtTickZeroAfterTheWrapIsWhereItBelongs) {
    key(KX::KEY_PRESS_EVENT, 0xFFFFFFFFU);
    key(KX::KEY_RELEASE_EVENT, 0);
    EXPECT_EQ(1, spans()[0].end - spans()[0].start);
}

TEST_F(KeyTimeLineTest, AnEventWithoutTickBelongsToNow) {
    tap(5000000);
    key(KX::KEY_PRESS_EVENT, 0, 0);
    key(KX::KEY_RELEASE_EVENT, 0, 0);
    EXPECT_EQ(5000010, spans(0)[0].start);
    EXPECT_EQ(5000010, line.newest());
    tap(5000100);
    EXPECT_EQ(5000110, line.newest()) << "and moves the clock for no other event";
}

TEST_F(KeyTimeLineTest, ALateEventIsLateUpToAMinuteAndElseHasANewClock) {
    tap(1000000);
    const Time newest = line.newest();
    key(KX::KEY_RELEASE_EVENT, 1000010 - 59999, 20);
    EXPECT_EQ(newest - 59999, spans(20)[0].start);
    key(KX::KEY_RELEASE_EVENT, 1000010 - 60000, 21);
    EXPECT_EQ(newest - 60000, spans(21)[0].start);
    key(KX::KEY_RELEASE_EVENT, 1000010 - 60001, 22);
    EXPECT_EQ(newest, spans(22)[0].start);
    EXPECT_EQ(1000010U - 60001U, line.tickAt(newest));
    tap(1000010 - 60001 + 500, 23);
    EXPECT_EQ(newest + 500, spans(23)[0].start) << "time goes on by the new clock";
}

TEST_F(KeyTimeLineTest, KeepsWhatTheNewestEventsTell) {
    constexpr int taps = KeyTimeLine::capacity / 2;
    for (int number = 0; number < taps; ++number)
        tap(1000U + static_cast<unsigned int>(number) * 100, number % 50);
    EXPECT_EQ(KeyTimeLine::capacity, line.eventCount());
    EXPECT_EQ(1000, line.oldest());
    encoder(900000, 4, 1);
    EXPECT_EQ(KeyTimeLine::capacity - 1, line.eventCount()) << "a press goes with its release";
    EXPECT_EQ(1100, line.oldest());
}

TEST_F(KeyTimeLineTest, ALaneGoesWhenNothingInItIsKept) {
    tap(1000, aKey);
    key(KX::KEY_PRESS_EVENT, 1100, otherKey); // and stays down
    for (int number = 0; number < KeyTimeLine::capacity; ++number)
        encoder(2000U + static_cast<unsigned int>(number), 4, 1);
    EXPECT_TRUE(line.lanes().empty());
    EXPECT_FALSE(line.isAnyKeyDown());
    EXPECT_EQ(KeyTimeLine::capacity, line.eventCount());
    key(KX::KEY_RELEASE_EVENT, 20000, otherKey);
    EXPECT_FALSE(spans(otherKey)[0].isPressSeen);
    EXPECT_FALSE(line.isAnyKeyDown());
}

TEST_F(KeyTimeLineTest, AHeldKeyThatReportsForeverDoesNotGrow) {
    key(KX::KEY_PRESS_EVENT, 0);
    for (unsigned int number = 0; number < 3U * KeyTimeLine::capacity; ++number)
        key(KX::KEY_LONG_PRESS_EVENT, number);
    EXPECT_LE(line.eventCount(), KeyTimeLine::capacity);
    EXPECT_EQ(1U, line.lanes().size());
}

TEST_F(KeyTimeLineTest, SpansAreFoundByTime) {
    for (unsigned int number = 0; number < 10; ++number)
        tap(1000 + number * 100); // ends at 1010, 1110, ...
    key(KX::KEY_PRESS_EVENT, 5000);
    const KeyTimeLine::Lane& lane = line.lanes().begin()->second;
    EXPECT_EQ(1000, KeyTimeLine::firstSpanEndingAt(lane, 0)->start);
    EXPECT_EQ(1100, KeyTimeLine::firstSpanEndingAt(lane, 1109)->start);
    EXPECT_EQ(1100, KeyTimeLine::firstSpanEndingAt(lane, 1110)->start);
    EXPECT_EQ(1200, KeyTimeLine::firstSpanEndingAt(lane, 1111)->start);
    EXPECT_EQ(5000, KeyTimeLine::firstSpanEndingAt(lane, 99999)->start) << "what is down has not ended";
    key(KX::KEY_RELEASE_EVENT, 5010);
    EXPECT_TRUE(KeyTimeLine::firstSpanEndingAt(lane, 5011) == lane.spans.end());
}

TEST_F(KeyTimeLineTest, MovesAreFoundByTime) {
    encoder(1000, 4, 1);
    encoder(1050, 4, 1);
    EXPECT_EQ(1000, line.firstMoveAt(999)->time);
    EXPECT_EQ(1000, line.firstMoveAt(1000)->time);
    EXPECT_EQ(1050, line.firstMoveAt(1001)->time);
    EXPECT_TRUE(line.firstMoveAt(1051) == line.moves().end());
}
