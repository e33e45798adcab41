#include "Simulated.h"

namespace KX::test {

using testing::ElementsAre;
using testing::IsEmpty;

using Clock = Simulated;

TEST_F(Clock, StandsAtZeroAfterReset) {
    KXSimulation::setTick(77);
    KXSimulation::reset();
    EXPECT_EQ(KXTick::getTickCount(), 0u);
}

TEST_F(Clock, MovesOnlyByTheDriver) {
    KXSimulation::setTick(5);
    EXPECT_EQ(KXTick::getTickCount(), 5u);
    KXSimulation::advance(10);
    EXPECT_EQ(KXTick::getTickCount(), 15u);
    KXSimulation::advance(0);
    EXPECT_EQ(KXTick::getTickCount(), 15u);
}

TEST_F(Clock, WrapsToZero) {
    KXSimulation::setTick(4294967295u);
    KXSimulation::advance(1);
    EXPECT_EQ(KXTick::getTickCount(), 0u);
}

TEST_F(Clock, AdvancesByItsWholeRangeLessOne) {
    KXSimulation::setTick(10);
    KXSimulation::advance(4294967295u);
    EXPECT_EQ(KXTick::getTickCount(), 9u);
}

TEST_F(Clock, WaitReturnsAtItsTickAndNotOneBefore) {
    Trace trace;
    Worker worker("w", trace, 100);
    KXSimulation::advance(99);
    EXPECT_THAT(trace, IsEmpty());
    KXSimulation::advance(1);
    EXPECT_THAT(trace, ElementsAre("w@100"));
}

TEST_F(Clock, WaitReturnsAtItsTickWhenTheClockGoesOneBeyond) {
    Trace trace;
    Worker worker("w", trace, 100);
    KXSimulation::advance(101);
    EXPECT_THAT(trace, ElementsAre("w@100"));
    EXPECT_EQ(KXTick::getTickCount(), 101u);
}

TEST_F(Clock, NoWaitIsSkippedWithinOneAdvance) {
    Trace trace;
    Worker worker("w", trace, 100);
    KXSimulation::advance(350);
    EXPECT_THAT(trace, ElementsAre("w@100", "w@200", "w@300"));
}

TEST_F(Clock, WaitsGoOnAcrossTheWrap) {
    KXSimulation::setTick(4294967200u);
    Trace trace;
    Worker worker("w", trace, 100);
    KXSimulation::advance(204);
    EXPECT_THAT(trace, ElementsAre("w@4", "w@104"));
    EXPECT_EQ(KXTick::getTickCount(), 108u);
}

TEST_F(Clock, WaitForTickZeroIsAWaitLikeAnyOther) {
    KXSimulation::setTick(4294967290u);
    Trace trace;
    Worker worker("w", trace, 6);
    KXSimulation::advance(5);
    EXPECT_THAT(trace, IsEmpty());
    KXSimulation::advance(1);
    EXPECT_THAT(trace, ElementsAre("w@0"));
}

TEST_F(Clock, SetTickRunsNobodyUntilTheNextAdvance) {
    Trace trace;
    Worker worker("w", trace, 100);
    KXSimulation::setTick(250);
    EXPECT_THAT(trace, IsEmpty());
    KXSimulation::advance(0);
    EXPECT_THAT(trace, ElementsAre("w@250"));
    KXSimulation::advance(100);
    EXPECT_THAT(trace, ElementsAre("w@250", "w@350"));
}

TEST_F(Clock, SetBackLetsAWaitTakeLonger) {
    KXSimulation::setTick(1000);
    Trace trace;
    Worker worker("w", trace, 100);
    KXSimulation::setTick(900);
    KXSimulation::advance(199);
    EXPECT_THAT(trace, IsEmpty());
    KXSimulation::advance(1);
    EXPECT_THAT(trace, ElementsAre("w@1100"));
}

TEST_F(Clock, TickThatHasPassedByLessThanHalfTheRangeIsNotWaitedFor) {
    KXSimulation::setTick(0x80000000u);
    KXEndPointManager manager;
    EXPECT_EQ(manager.waitForEndPoints(0x80000000u, 0), 0);
    EXPECT_EQ(manager.waitForEndPoints(0x7FFFFFFFu, 0), 0);
    EXPECT_EQ(manager.waitForEndPoints(1, 0), 0);
    EXPECT_EQ(KXTick::getTickCount(), 0x80000000u);
}

TEST_F(Clock, TickAheadByHalfTheRangeIsWaitedFor) {
    KXSimulation::setTick(0x80000000u);
    KXEndPointManager manager;
    EXPECT_EQ(manager.waitForEndPoints(0, 0), 0);
    EXPECT_EQ(KXTick::getTickCount(), 0u);
}

TEST_F(Clock, DriversWaitMovesItAndRunsTheThreadsMeanwhile) {
    Trace trace;
    Worker worker("w", trace, 100);
    KXEndPointManager manager;
    EXPECT_EQ(manager.waitForEndPoints(200, 0), 0);
    EXPECT_EQ(KXTick::getTickCount(), 200u);
    EXPECT_THAT(trace, ElementsAre("w@100", "w@200"));
}

} // namespace KX::test
