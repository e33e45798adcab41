#include "toolkit/InputClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace KX {
namespace {

constexpr std::uint32_t now = 5000000; // of the first input of most tests

// A clock that has learned that the window system's one is behind by this distance.
constexpr std::uint32_t distance = 3000000;

// A busy application sees no two inputs in a row equally late.
constexpr std::uint32_t unequally(std::uint32_t delay, std::uint32_t passed) {
    return delay + passed / 1000 % 2 * 10;
}

InputClock learnedClock(std::uint32_t at = now) {
    InputClock clock;
    EXPECT_EQ(at, clock.tickOf(at - distance, at)) << "more than 60 s late";
    return clock;
}

TEST(InputClockTest, AnInputWithoutAStampIsMadeNow) {
    InputClock clock;
    EXPECT_EQ(now, clock.tickOf(0, now));
    InputClock learned = learnedClock();
    EXPECT_EQ(now + 10, learned.tickOf(0, now + 10));
}

TEST(InputClockTest, OnASharedClockTheFirstStampCountsHoweverLateItIsSeen) {
    for (const std::uint32_t delay : {0U, 1U, 700U, 59999U, 60000U}) {
        InputClock clock;
        EXPECT_EQ(now - delay, clock.tickOf(now - delay, now));
    }
}

TEST(InputClockTest, AnInputThatIsMoreThanAMinuteLateIsOfAnotherClock) {
    InputClock clock;
    EXPECT_EQ(now, clock.tickOf(now - 60001, now));
    EXPECT_EQ(now + 900, clock.tickOf(now - 60001 + 900, now + 1000)) << "100 ms later than the first";
}

TEST(InputClockTest, AStampAFewMillisecondsAheadIsRounding) {
    for (const std::uint32_t ahead : {1U, 4U, 5U}) {
        InputClock clock;
        EXPECT_EQ(now, clock.tickOf(now + ahead, now));
        EXPECT_EQ(now + 300, clock.tickOf(now + 300, now + 1000)) << "the clock is still shared";
    }
}

TEST(InputClockTest, AStampFurtherAheadIsOfAnotherClock) {
    InputClock clock;
    EXPECT_EQ(now, clock.tickOf(now + 6, now));
    EXPECT_EQ(now + 294, clock.tickOf(now + 300, now + 1000));
}

TEST(InputClockTest, AResultIsNeverBeforeAnEarlierOne) {
    InputClock clock;
    EXPECT_EQ(now, clock.tickOf(0, now));
    EXPECT_EQ(now, clock.tickOf(now - 1, now + 10));
    EXPECT_EQ(now, clock.tickOf(now, now + 10));
    EXPECT_EQ(now + 1, clock.tickOf(now + 1, now + 10));
}

TEST(InputClockTest, ResultsKeepTheirOrderAcrossTheWrap) {
    for (const std::uint32_t start : {0xFFFFFFFFU, 0xFFFFFFFEU, 0U, 1U, 50U}) {
        InputClock clock;
        EXPECT_EQ(start, clock.tickOf(0, start));
        EXPECT_EQ(start, clock.tickOf(start - 60, start + 40));
        EXPECT_EQ(start + 20, clock.tickOf(start + 20, start + 40));
    }
}

TEST(InputClockTest, AfterAnyPauseAResultIsOnlyAsOldAsItsInput) {
    for (const std::uint32_t pause : {0x7FFFFFFFU, 0x80000000U, 0x80000001U, 0xFFFFFF00U}) {
        InputClock clock;
        clock.tickOf(now, now);
        EXPECT_EQ(now + pause - 30, clock.tickOf(now + pause - 30, now + pause));
    }
}

TEST(InputClockTest, StampsAndTicksOfASharedClockWrap) {
    InputClock clock;
    EXPECT_EQ(0xFFFFFF00U, clock.tickOf(0xFFFFFF00U, 0xFFFFFF80U));
    EXPECT_EQ(0xFFFFFFF0U, clock.tickOf(0xFFFFFFF0U, 0x20U));
    EXPECT_EQ(0x10U, clock.tickOf(0x10U, 0x20U));
}

TEST(InputClockTest, StampsOfAnotherClockWrapByThemselves) {
    InputClock clock;
    EXPECT_EQ(now, clock.tickOf(0xFFFFFF00U, now));
    EXPECT_EQ(now + 0x110, clock.tickOf(0x10U, now + 0x200));
}

TEST(InputClockTest, TicksBesideAnotherClockWrapByThemselves) {
    InputClock clock = learnedClock(0xFFFFFF00U);
    EXPECT_EQ(0x10U, clock.tickOf(0x10U - distance, 0x80U));
}

TEST(InputClockTest, TheLeastDelayedInputTellsTheDistance) {
    InputClock clock = learnedClock();
    // Made 20 ms later than the first one appeared to be, but seen at once: the first was seen 30 ms late.
    EXPECT_EQ(now + 20, clock.tickOf(now - distance + 50, now + 20));
    EXPECT_EQ(now + 70, clock.tickOf(now - distance + 100, now + 500));
}

TEST(InputClockTest, ALearnedDistanceGrowsByAMillisecondInTenSeconds) {
    for (const std::uint32_t passed : {9999U, 10000U, 10001U, 19999U, 20000U}) {
        InputClock clock = learnedClock();
        const std::uint32_t growth = passed < 10000 ? 0 : passed < 20000 ? 1 : 2;
        EXPECT_EQ(now + passed - 500 + growth, clock.tickOf(now - distance + passed - 500, now + passed));
    }
}

TEST(InputClockTest, ALearnedDistanceGrowsOverManyInputsToo) {
    InputClock clock = learnedClock();
    for (std::uint32_t passed = 100; passed < 20000; passed += 100)
        clock.tickOf(now - distance + passed - 50, now + passed);
    EXPECT_EQ(now + 20000 - 50 + 2, clock.tickOf(now - distance + 20000 - 50, now + 20000));
}

TEST(InputClockTest, AnInputThatIsExactlyInTimeDoesNotDelayTheGrowth) {
    InputClock clock = learnedClock();
    EXPECT_EQ(now + 5000, clock.tickOf(now - distance + 5000, now + 5000));
    EXPECT_EQ(now + 9500 + 1, clock.tickOf(now - distance + 9500, now + 10000));
}

TEST(InputClockTest, ADistanceThatIsLearnedAnewGrowsFromThenOn) {
    InputClock clock = learnedClock();
    clock.tickOf(now - distance + 9000 + 100, now + 9000); // less delayed than the first by 100 ms
    EXPECT_EQ(now + 18000, clock.tickOf(now - distance + 18000 + 100, now + 18500));
}

TEST(InputClockTest, ASharedClockDoesNotDrift) {
    InputClock clock;
    EXPECT_EQ(now, clock.tickOf(now, now));
    EXPECT_EQ(now + 3600000 - 500, clock.tickOf(now + 3600000 - 500, now + 3600000));
}

TEST(InputClockTest, AServerThatStartedAgainIsLearnedAnew) {
    for (const std::uint32_t newDistance : {distance + 70000, distance - 70000, distance + 0x70000000, 12345U}) {
        InputClock clock = learnedClock();
        EXPECT_EQ(now + 10, clock.tickOf(now + 10 - newDistance, now + 10));
        EXPECT_EQ(now + 300, clock.tickOf(now + 300 - newDistance, now + 1000));
    }
}

TEST(InputClockTest, BesideAnotherClockAnInputMayBeAMinuteLateToo) {
    constexpr std::uint32_t growth = 7; // of the distance in 70 s
    const std::uint32_t seenAt = now + 70000;
    for (const std::uint32_t delay : {59999U, 60000U, 60001U}) {
        InputClock clock = learnedClock();
        const std::uint32_t tick = clock.tickOf(seenAt - delay - distance - growth, seenAt);
        EXPECT_EQ(delay <= 60000 ? seenAt - delay : seenAt, tick) << delay;
    }
}

TEST(InputClockTest, OneStampOfAnotherOriginDoesNotLast) {
    InputClock clock;
    EXPECT_EQ(now, clock.tickOf(now, now));
    EXPECT_EQ(now + 10, clock.tickOf(77, now + 10)) << "Qt's own count, say";
    EXPECT_EQ(now + 20, clock.tickOf(now + 20, now + 20)) << "seen at once: the clock is shared after all";
    EXPECT_EQ(now + 100, clock.tickOf(now + 100, now + 800));
}

TEST(InputClockTest, ALearnedDistanceOfAFewMillisecondsIsTheSharedClock) {
    for (const std::uint32_t delay : {5U, 6U}) {
        InputClock clock = learnedClock();
        EXPECT_EQ(now + 10, clock.tickOf(now + 10 - delay, now + 10));
        // An hour later a learned distance has grown.
        EXPECT_EQ(delay == 5, clock.tickOf(now + 3600000 - 500, now + 3600000) == now + 3600000 - 500);
    }
}

// Inputs that come over a network are not equally late. The clocks look as if the application saw all input late.
// Nobody operates such an application for a minute.
TEST(InputClockTest, WhenAllInputIsLateForMoreThanAMinuteTheClocksDiffer) {
    for (const std::uint32_t late : {1000U, 1001U}) {
        for (const std::uint32_t last : {59000U, 59001U}) {
            InputClock clock;
            clock.tickOf(now, now);
            for (std::uint32_t passed = 1000; passed <= 60000; passed += 1000) {
                const std::uint32_t seenAt = now + passed + late;
                const std::uint32_t madeAt = seenAt - unequally(late, passed);
                EXPECT_EQ(madeAt, clock.tickOf(madeAt, seenAt));
            }
            const std::uint32_t end = now + 60000 + last - 59000;
            const bool differ = late == 1001 && last == 59001;
            EXPECT_EQ(end + (differ ? late : 0), clock.tickOf(end, end + late)) << late << " ms late";
        }
    }
}

// The time before the first input counts like any rest; a clock that has just begun to count has less of it.
TEST(InputClockTest, AllInputMayBeLateFromTheFirstOn) {
    for (const std::uint32_t first : {500U, now})
        for (const std::uint32_t beyond : {0U, 1U}) {
            InputClock clock;
            std::uint32_t seenAt = first;
            std::uint32_t input = 0;
            for (; input < 60; ++input, seenAt += 1000) {
                const std::uint32_t madeAt = seenAt - 1500 - input % 2 * 10;
                EXPECT_EQ(madeAt, clock.tickOf(madeAt, seenAt)) << "input " << input;
            }
            seenAt += beyond - std::min(first, 1000U); // late for a minute now
            EXPECT_EQ(beyond == 0 ? seenAt - 1500 : seenAt, clock.tickOf(seenAt - 1500, seenAt)) << first;
        }
}

TEST(InputClockTest, ADistanceThatIsLearnedAnewIsNotRefutedByTheNextLateInput) {
    InputClock clock;
    clock.tickOf(now, now);
    for (std::uint32_t passed = 1000; passed <= 60000; passed += 1000)
        clock.tickOf(now + passed, now + passed + unequally(5000, passed));
    EXPECT_EQ(now + 70000, clock.tickOf(now + 65000, now + 70000)) << "learned";
    EXPECT_EQ(now + 75000, clock.tickOf(now + 70000, now + 76500));
}

TEST(InputClockTest, BesideALearnedDistanceAllInputMayBeLateForAMinuteToo) {
    constexpr std::uint32_t growth = 6; // of the distance in a minute
    for (const std::uint32_t beyond : {0U, 1U}) {
        InputClock clock = learnedClock();
        for (std::uint32_t passed = 1000; passed <= 60000; passed += 1000)
            clock.tickOf(now - distance + passed - unequally(1500, passed), now + passed);
        const std::uint32_t seenAt = now + 60000 + beyond;
        EXPECT_EQ(beyond == 0 ? seenAt - 1500 + growth : seenAt, clock.tickOf(seenAt - 1500 - distance, seenAt));
    }
}

TEST(InputClockTest, OneInputInTimeShowsThatTheOthersWereLate) {
    InputClock clock;
    clock.tickOf(now, now);
    for (std::uint32_t passed = 1000; passed <= 200000; passed += 1000) {
        const std::uint32_t delay = passed % 50000 == 0 ? 1000 : unequally(1500, passed);
        EXPECT_EQ(now + passed, clock.tickOf(now + passed, now + passed + delay)) << passed;
    }
}

TEST(InputClockTest, ARestBetweenLateInputsIsASecondAtMost) {
    InputClock clock;
    clock.tickOf(now, now);
    for (std::uint32_t passed = 3600000; passed <= 60 * 3600000U; passed += 3600000)
        EXPECT_EQ(now + passed, clock.tickOf(now + passed, now + passed + unequally(1500, passed / 3600)))
            << passed;
    const std::uint32_t end = now + 61 * 3600000U;
    EXPECT_EQ(end + 1500, clock.tickOf(end, end + 1500));
}

// Taps a quarter of a second apart, all seen at once, beside a clock that is behind from the first input on.
TEST(InputClockTest, AClockThatIsBehindFromTheFirstInputOnIsFoundOutByTheTenthOne) {
    for (const std::uint32_t behind : {100U, 101U, 30000U, 59999U, 60000U}) {
        InputClock clock;
        for (std::uint32_t input = 1; input <= 12; ++input) {
            const std::uint32_t seenAt = now + input * 250;
            const bool isFound = input >= 10 && behind > 100;
            EXPECT_EQ(isFound ? seenAt : seenAt - behind, clock.tickOf(seenAt - behind, seenAt))
                << behind << " ms behind, input " << input;
        }
    }
}

TEST(InputClockTest, TenInputsInLessThanTwoSecondsFindOutNothing) {
    for (const std::uint32_t lasting : {1999U, 2000U, 2001U}) {
        InputClock clock;
        for (std::uint32_t input = 0; input < 9; ++input)
            EXPECT_EQ(now + input, clock.tickOf(now + input, now + input + 500));
        clock.tickOf(now + 1000, now + 1500);
        const std::uint32_t end = now + lasting;
        EXPECT_EQ(end + (lasting < 2000 ? 0 : 500), clock.tickOf(end, end + 500)) << lasting;
    }
}

TEST(InputClockTest, InputsThatAreNotEquallyLateMeetABusyApplication) {
    for (const std::uint32_t spread : {4U, 5U, 6U}) {
        InputClock clock;
        std::uint32_t tick = 0;
        std::uint32_t seenAt = now;
        for (std::uint32_t input = 0; input < 100; ++input) {
            seenAt += 250;
            tick = clock.tickOf(seenAt - 700 - input % 2 * spread, seenAt);
        }
        EXPECT_EQ(seenAt - spread - (spread <= 5 ? 0 : 700), tick) << spread;
    }
}

TEST(InputClockTest, OneInputSeenAtOnceShowsThatEquallyLateOnesWereLate) {
    InputClock clock;
    for (std::uint32_t input = 1; input <= 100; ++input) {
        const std::uint32_t seenAt = now + input * 250;
        const std::uint32_t delay = input % 10 == 0 ? 0 : 200;
        EXPECT_EQ(seenAt - delay, clock.tickOf(seenAt - delay, seenAt)) << input;
    }
}

TEST(InputClockTest, OnlyTheTimeOfTheInputsThatAreEquallyLateCounts) {
    for (const std::uint32_t delayBetween : {0U, 300U}) {
        InputClock clock;
        std::uint32_t seenAt = now;
        for (int input = 1; input <= 9; ++input, seenAt += 250)
            EXPECT_EQ(seenAt - 500, clock.tickOf(seenAt - 500, seenAt));
        EXPECT_EQ(seenAt - delayBetween, clock.tickOf(seenAt - delayBetween, seenAt));
        seenAt += 1000;
        for (int input = 1; input <= 10; ++input, seenAt += 100)
            EXPECT_EQ(seenAt - 500, clock.tickOf(seenAt - 500, seenAt)) << input << ", behind " << delayBetween;
    }
}

TEST(InputClockTest, TheNextDistanceNeedsTenInputsOfItsOwn) {
    InputClock clock;
    std::uint32_t seenAt = now;
    for (int input = 1; input <= 10; ++input, seenAt += 250)
        EXPECT_EQ(input < 10 ? seenAt - 700 : seenAt, clock.tickOf(seenAt - 700, seenAt)) << input;
    seenAt += 1000;
    for (int input = 1; input <= 10; ++input, seenAt += 250)
        EXPECT_EQ(input < 10 ? seenAt - 700 : seenAt, clock.tickOf(seenAt - 1400, seenAt)) << input;
}

// The worst that it can do is to take a delay for a distance. The next input that is seen sooner puts that right.
TEST(InputClockTest, AnApplicationThatIsSteadilyLateIsSeenThroughWhenItIsIdleAgain) {
    InputClock clock;
    std::uint32_t seenAt = now;
    for (std::uint32_t input = 1; input <= 20; ++input, seenAt += 250)
        clock.tickOf(seenAt - 700, seenAt);
    EXPECT_EQ(seenAt, clock.tickOf(seenAt - 700, seenAt)) << "learned";
    EXPECT_EQ(seenAt + 250, clock.tickOf(seenAt + 250, seenAt + 250)) << "seen at once";
    EXPECT_EQ(seenAt + 300, clock.tickOf(seenAt + 300, seenAt + 1000)) << "700 ms late";
}

/// A window system with a clock of its own, and an application that is sometimes busy. Times are exact, in ms.
class Session {
public:
    Session(unsigned int seed, double clockRate, double clockStart)
        : random(seed), rate(clockRate), serverStart(clockStart) {}

    struct Seen {
        double madeAt;
        double seenAt;
        std::uint32_t stamp;
        std::uint32_t now;
    };

    Seen next() {
        const bool rests = chance(0.01);
        madeAt += rests ? between(1000, 600000) : between(0, 400);
        const bool busy = chance(0.1);
        seenAt = std::max(seenAt, madeAt + (busy ? between(0, 3000) : between(0, 3)));
        return {madeAt, seenAt, count(serverStart + madeAt * rate), count(applicationStart + seenAt)};
    }

    double tickAt(double time) const { return applicationStart + time; }

    void restartServer(double start) { serverStart = start - madeAt * rate; }

private:
    static std::uint32_t count(double milliseconds) {
        return static_cast<std::uint32_t>(static_cast<std::uint64_t>(milliseconds));
    }

    double between(double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(random);
    }

    bool chance(double probability) { return between(0, 1) < probability; }

    static constexpr double applicationStart = 4294000000.0; // the tick wraps after 16 minutes

    std::mt19937 random;
    const double rate;
    double serverStart;
    double madeAt = 0;
    double seenAt = 0;
};

// How late a result may be: as the least delayed input since the start, plus what two clocks run apart since then.
class LatestResult {
public:
    void reset() { least.clear(); }

    double add(double madeAt, double seenAt) {
        least.push_back({seenAt - madeAt, seenAt});
        double latest = seenAt - madeAt;
        for (const Input& input : least)
            latest = std::min(latest, input.delay + (seenAt - input.seenAt) * 200e-6 + 3);
        return latest;
    }

private:
    struct Input {
        double delay;
        double seenAt;
    };
    std::vector<Input> least;
};

double signedDistance(std::uint32_t tick, double exactTick) {
    const double wrap = 4294967296.0;
    return std::remainder(tick - exactTick, wrap);
}

TEST(InputClockTest, OnASharedClockEveryResultIsTheStamp) {
    for (unsigned int seed = 1; seed <= 20; ++seed) {
        Session session(seed, 1, 4294000000.0);
        InputClock clock;
        for (int input = 0; input < 3000; ++input) {
            const Session::Seen seen = session.next();
            ASSERT_EQ(seen.stamp, clock.tickOf(seen.stamp, seen.now)) << "seed " << seed;
        }
    }
}

TEST(InputClockTest, BesideAnyOtherClockTheErrorStaysBounded) {
    for (unsigned int seed = 1; seed <= 60; ++seed) {
        std::mt19937 random(seed);
        const double rate = 1 + std::uniform_real_distribution<double>(-95e-6, 95e-6)(random);
        std::uniform_real_distribution<double> anyStart(0, 4000000000.0);
        Session session(seed, rate, anyStart(random));
        InputClock clock;
        LatestResult bound;
        double previousError = 0;
        double previousMadeAt = 0;
        std::uint32_t previousTick = 0;
        for (int input = 0; input < 2000; ++input) {
            if (input % 500 == 499) {
                session.restartServer(anyStart(random));
                bound.reset();
            }
            const Session::Seen seen = session.next();
            const std::uint32_t tick = clock.tickOf(seen.stamp, seen.now);
            const double error = signedDistance(tick, session.tickAt(seen.madeAt));
            // The order of results may keep a result as late as the one before.
            const double kept = previousError - (seen.madeAt - previousMadeAt);
            const double latest = std::max(bound.add(seen.madeAt, seen.seenAt), kept);
            ASSERT_LE(error, latest + 1) << "seed " << seed << ", input " << input;
            ASSERT_GE(error, -4) << "seed " << seed << ", input " << input;
            ASSERT_LE(tick - seen.now + 0x80000000U, 0x80000000U) << "in the future";
            if (input > 0)
                ASSERT_LE(seen.now - tick, seen.now - previousTick) << "before the previous result";
            previousError = error;
            previousMadeAt = seen.madeAt;
            previousTick = tick;
        }
    }
}

} // namespace
} // namespace KX
