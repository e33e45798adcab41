// Which moments of rest are kept, and which ones the next input disproves.

#include "recording/recorder/RestPoints.h"

#include "events/KXEventType.h"

#include <gtest/gtest.h>

#include <optional>

namespace KX::Recording {
namespace {

using Place = EntryLog::Place;

constexpr unsigned int doublePressMs = 300;
constexpr unsigned int restartGapMs = 200;

Place placeAt(std::uint64_t timeMs) {
    return {0, static_cast<std::size_t>(timeMs), timeMs};
}

// A manager that has seen nothing yet.
KXInputMemory newMemory() {
    KXInputMemory memory;
    memory.doublePressMs = doublePressMs;
    memory.restartGapMs = restartGapMs;
    return memory;
}

KXInputMemory memoryOfPress(unsigned int timeStamp) {
    KXInputMemory memory = newMemory();
    memory.hasPress = true;
    memory.pressTimeStamp = timeStamp;
    return memory;
}

KXInputMemory memoryOfStep(unsigned int timeStamp) {
    KXInputMemory memory = newMemory();
    memory.stepTimeStamp = timeStamp;
    return memory;
}

Entry eventAt(unsigned int tick, int type, int count = -1) {
    KXToolkitEvent event;
    event.eventType = type;
    event.timeStamp = tick;
    event.count = count;
    Entry entry;
    entry.timeMs = tick;
    entry.input = event;
    return entry;
}

// Of an event that comes late: its own time counts.
template<class Event>
Entry lateEntry(unsigned int tick, int type, unsigned int timeStamp, int count = -1) {
    Event event;
    event.eventType = type;
    event.timeStamp = timeStamp;
    event.count = count;
    Entry entry;
    entry.timeMs = tick;
    entry.input = event;
    return entry;
}

std::optional<std::uint64_t> timeOf(const std::optional<Place>& place) {
    return place ? std::make_optional(place->timeMs) : std::nullopt;
}

class RestPointsTest : public testing::Test {
protected:
    void passAt(unsigned int tick, const KXInputMemory& memory) { rests.pass(tick, placeAt(tick), memory); }

    void inputAt(unsigned int tick, int type, const KXInputMemory& memory, int count = -1) {
        rests.input(eventAt(tick, type, count), placeAt(tick), memory);
    }

    RestPoints rests;
};

TEST_F(RestPointsTest, AreNoneAtFirst) {
    EXPECT_EQ(std::nullopt, timeOf(rests.last()));
    EXPECT_EQ(std::nullopt, timeOf(rests.lastBefore(1000)));
    EXPECT_EQ(0U, rests.bytes());
    EXPECT_FALSE(rests.wasDisproved(placeAt(0)));
}

TEST_F(RestPointsTest, AreAtEachPassOfAManagerWithNothingPending) {
    KXInputMemory memory = newMemory();
    passAt(1000, memory);
    EXPECT_EQ(1000U, timeOf(rests.last()));
    memory.isPressPending = true;
    passAt(2000, memory);
    EXPECT_EQ(1000U, timeOf(rests.last()));
    memory = newMemory();
    memory.isBundleOpen = true;
    passAt(3000, memory);
    EXPECT_EQ(1000U, timeOf(rests.last()));
    passAt(4000, newMemory());
    EXPECT_EQ(4000U, timeOf(rests.last()));
}

TEST_F(RestPointsTest, ComeWhenAPressCannotPairAnyMore) {
    for (const unsigned int passedMs : {299U, 300U, 301U}) {
        rests = {};
        passAt(1000 + passedMs, memoryOfPress(1000));
        EXPECT_EQ(passedMs > 300, rests.last().has_value()) << passedMs;
    }
}

TEST_F(RestPointsTest, ComeWhenTheEncoderWouldRestart) {
    for (const unsigned int passedMs : {199U, 200U, 201U}) {
        rests = {};
        passAt(1000 + passedMs, memoryOfStep(1000));
        EXPECT_EQ(passedMs > 200, rests.last().has_value()) << passedMs;
    }
}

// Any two of the points that stay are a second apart, with at most one between them.
TEST_F(RestPointsTest, AreSeldomInALongRest) {
    for (unsigned int tick = 1000; tick <= 3900; tick += 100)
        passAt(tick, newMemory());
    EXPECT_EQ(5 * sizeof(Place), rests.bytes()) << "1000, 1900, 2800, 3700 and 3900";
    EXPECT_EQ(3900U, timeOf(rests.last()));
    EXPECT_EQ(1000U, timeOf(rests.lastBefore(0))) << "the first one, if there is none before";
    EXPECT_EQ(1000U, timeOf(rests.lastBefore(1899)));
    EXPECT_EQ(1900U, timeOf(rests.lastBefore(1900)));
    EXPECT_EQ(1900U, timeOf(rests.lastBefore(1901)));
    EXPECT_EQ(3700U, timeOf(rests.lastBefore(3899)));
    EXPECT_EQ(3900U, timeOf(rests.lastBefore(3900)));
}

TEST_F(RestPointsTest, BeginWithTheSession) {
    passAt(500, newMemory());
    rests.addBeginning(placeAt(700));
    EXPECT_EQ(700U, timeOf(rests.last()));
    EXPECT_EQ(sizeof(Place), rests.bytes());
}

TEST_F(RestPointsTest, AreThereFromTheFirstTickOnAsLongAsNoStepCame) {
    passAt(1, newMemory());
    EXPECT_EQ(1U, timeOf(rests.last()));
}

TEST_F(RestPointsTest, OfANewSessionKnowNoStepOfTheOneBefore) {
    for (const bool isCleared : {true, false}) {
        rests = {};
        passAt(5000, memoryOfStep(1000));
        if (isCleared)
            rests.clear();
        else
            rests.addBeginning(placeAt(50));
        passAt(100, newMemory());
        EXPECT_EQ(100U, timeOf(rests.last())) << isCleared;
    }
}

TEST_F(RestPointsTest, AreForgottenWithWhatDisprovedThem) {
    passAt(900, newMemory());
    passAt(1400, memoryOfPress(1000));
    rests.input(lateEntry<KXToolkitEvent>(1500, TOOLKIT_KEY_PRESS_EVENT, 1300), placeAt(1500),
                memoryOfPress(1000));
    ASSERT_EQ(900U, timeOf(rests.last()));
    ASSERT_TRUE(rests.wasDisproved(placeAt(1400)));
    rests.clear();
    EXPECT_EQ(std::nullopt, timeOf(rests.last()));
    EXPECT_EQ(0U, rests.bytes());
    EXPECT_FALSE(rests.wasDisproved(placeAt(1400)));
}

TEST_F(RestPointsTest, AreDroppedBeforeAPlace) {
    for (const unsigned int tick : {1000U, 2000U, 3000U})
        passAt(tick, newMemory());
    rests.dropBefore(placeAt(2000));
    EXPECT_EQ(2 * sizeof(Place), rests.bytes());
    EXPECT_EQ(2000U, timeOf(rests.lastBefore(0)));
    rests.dropBefore(placeAt(9000));
    EXPECT_EQ(std::nullopt, timeOf(rests.last()));
}

// The double-press time may become longer meanwhile.
TEST_F(RestPointsTest, SinceAPressThatPairsAfterAllAreNone) {
    passAt(900, newMemory());
    inputAt(1000, TOOLKIT_KEY_PRESS_EVENT, newMemory());
    passAt(1400, memoryOfPress(1000));
    passAt(2400, memoryOfPress(1000));
    KXInputMemory longer = memoryOfPress(1000);
    longer.doublePressMs = 2000;
    inputAt(3001, TOOLKIT_KEY_PRESS_EVENT, longer);
    EXPECT_EQ(2400U, timeOf(rests.last())) << "one too late to pair";
    EXPECT_FALSE(rests.wasDisproved(placeAt(1400)));
    inputAt(3000, TOOLKIT_KEY_PRESS_EVENT, longer);
    EXPECT_EQ(900U, timeOf(rests.last()));
    EXPECT_TRUE(rests.wasDisproved(placeAt(2400)));
    EXPECT_TRUE(rests.wasDisproved(placeAt(1400)));
    EXPECT_FALSE(rests.wasDisproved(placeAt(900)));
    passAt(9000, longer);
    EXPECT_FALSE(rests.wasDisproved(placeAt(1400))) << "not by the last entry";
}

TEST_F(RestPointsTest, AreDisprovedByTheLastInputOnly) {
    passAt(1400, memoryOfPress(1000));
    rests.input(lateEntry<KXToolkitEvent>(1500, TOOLKIT_KEY_PRESS_EVENT, 1300), placeAt(1500),
                memoryOfPress(1000));
    EXPECT_TRUE(rests.wasDisproved(placeAt(1400)));
    inputAt(5000, TOOLKIT_KEY_PRESS_EVENT, memoryOfPress(1300));
    EXPECT_FALSE(rests.wasDisproved(placeAt(1400)));
}

TEST_F(RestPointsTest, BeforeAPressStayWhenTheNextInputPairsWithIt) {
    passAt(900, newMemory());
    inputAt(1000, TOOLKIT_KEY_PRESS_EVENT, newMemory());
    inputAt(1100, TOOLKIT_KEY_PRESS_EVENT, memoryOfPress(1000));
    EXPECT_EQ(900U, timeOf(rests.last()));
}

TEST_F(RestPointsTest, BetweenTwoPressesStayWhenTheSecondOnePairs) {
    passAt(900, newMemory());
    passAt(1400, memoryOfPress(1000));
    passAt(2400, memoryOfPress(2000));
    KXInputMemory longer = memoryOfPress(2000);
    longer.doublePressMs = 1000;
    inputAt(3000, TOOLKIT_KEY_PRESS_EVENT, longer);
    EXPECT_EQ(1400U, timeOf(rests.last()));
}

// A wheel that turns several detents at once was faster than its time stamp tells.
TEST_F(RestPointsTest, SinceAStepWhoseTurnGoesOnAreNone) {
    for (const unsigned int restMs : {1000U, 1001U, 1004U, 1005U}) {
        rests = {};
        passAt(900, newMemory());
        inputAt(2000, TOOLKIT_WHEEL_EVENT, newMemory(), 1);
        passAt(2600, memoryOfStep(2000));
        inputAt(2000 + restMs, TOOLKIT_WHEEL_EVENT, memoryOfStep(2000), 5);
        EXPECT_EQ(restMs < 1005 ? 900U : 2600U, timeOf(rests.last())) << restMs / 5 << " ms for each detent";
    }
}

TEST_F(RestPointsTest, SinceAStepStayWhateverElseComes) {
    passAt(900, newMemory());
    inputAt(2000, TOOLKIT_WHEEL_EVENT, newMemory(), 1);
    passAt(2600, memoryOfStep(2000));
    inputAt(2700, TOOLKIT_MOUSE_PRESS_EVENT, memoryOfStep(2000));
    EXPECT_EQ(2600U, timeOf(rests.last()));
    inputAt(2700, TOOLKIT_WHEEL_EVENT, memoryOfStep(2000), 0);
    EXPECT_EQ(2600U, timeOf(rests.last())) << "a move of no detents counts as one";
}

// A knob may be wired as a keyboard, and an application may hand in events of its own.
TEST_F(RestPointsTest, SinceAStepAreNoneWhenAnyEventOfTheKnobGoesOnWithItsTurn) {
    const auto lastAfter = [this](const Entry& entry) {
        rests = {};
        passAt(900, newMemory());
        inputAt(2000, TOOLKIT_WHEEL_EVENT, newMemory(), 1);
        passAt(2600, memoryOfStep(2000));
        rests.input(entry, placeAt(2700), memoryOfStep(2000));
        return timeOf(rests.last());
    };
    for (const unsigned int timeStamp : {2199U, 2200U, 2201U}) {
        const std::uint64_t expected = timeStamp <= 2200 ? 900 : 2600;
        for (const int count : {0, 1}) {
            EXPECT_EQ(expected, lastAfter(lateEntry<KXToolkitEvent>(2700, TOOLKIT_WHEEL_EVENT, timeStamp, count)));
            EXPECT_EQ(expected, lastAfter(lateEntry<KXInputEvent>(2700, ENCODER_MOVE_EVENT, timeStamp, count)));
        }
        EXPECT_EQ(expected, lastAfter(lateEntry<KXToolkitEvent>(2700, TOOLKIT_KEY_PRESS_EVENT, timeStamp)));
        EXPECT_EQ(expected, lastAfter(lateEntry<KXInputEvent>(2700, KEY_PRESS_EVENT, timeStamp)));
        EXPECT_EQ(2600U, lastAfter(lateEntry<KXToolkitEvent>(2700, TOOLKIT_KEY_RELEASE_EVENT, timeStamp)));
        EXPECT_EQ(2600U, lastAfter(lateEntry<KXToolkitEvent>(2700, TOOLKIT_MOUSE_PRESS_EVENT, timeStamp)));
    }
}

// A new encoder goes on as if there had been a step at 0.
TEST_F(RestPointsTest, SinceAStepAreNoneWhenANewEncoderWouldGoOn) {
    for (const unsigned int timeStamp : {199U, 200U, 201U}) {
        rests = {};
        passAt(300, memoryOfStep(50));
        passAt(400, newMemory());
        rests.input(lateEntry<KXToolkitEvent>(500, TOOLKIT_WHEEL_EVENT, timeStamp, 1), placeAt(500), newMemory());
        EXPECT_EQ(timeStamp <= 200 ? 300U : 400U, timeOf(rests.last())) << timeStamp;
    }
}

TEST_F(RestPointsTest, TellThatTheEncoderHasForgottenItsLastStep) {
    passAt(1000, memoryOfStep(500));
    EXPECT_FALSE(rests.hasLostStep(memoryOfStep(500)));
    EXPECT_FALSE(rests.hasLostStep(memoryOfStep(700)));
    EXPECT_TRUE(rests.hasLostStep(newMemory()));
    passAt(1100, newMemory());
    EXPECT_FALSE(rests.hasLostStep(newMemory())) << "long ago";
}

} // namespace
} // namespace KX::Recording
