#include "terminal/session/StepSpacing.h"

#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <QtTest>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Terminal;

namespace {

constexpr unsigned int start = 1000;
constexpr unsigned int gap = StepSpacing::leastGapMs;

class StepSpacingTest : public testing::Test {
protected:
    StepSpacingTest() : spacing([this](KX::KXToolkitEvent& report) { passed.push_back(report); }) {
        KX::KXSimulation::reset();
        KX::KXSimulation::setTick(start);
        KX::KXInputEventManager::createInstance();
    }

    ~StepSpacingTest() override { KX::KXInputEventManager::deleteInstance(); }

    void key(int toolkitKey, unsigned int tick, int type = KX::TOOLKIT_KEY_PRESS_EVENT) {
        KX::KXToolkitEvent report;
        report.eventType = type;
        report.osKeyCode = toolkitKey;
        report.timeStamp = tick;
        spacing.take(report);
    }

    void wheel(int count, unsigned int tick, int direction = KX::KX_KEY_UP) {
        KX::KXToolkitEvent report;
        report.eventType = KX::TOOLKIT_WHEEL_EVENT;
        report.keyCode = direction;
        report.count = count;
        report.timeStamp = tick;
        spacing.take(report);
    }

    // The timer runs in real time, the tick does not.
    void timePasses(unsigned int ms) {
        KX::KXSimulation::advance(ms);
        QTest::qWait(10);
    }

    bool arePassed(std::size_t count) {
        return QTest::qWaitFor([this, count] { return passed.size() == count; });
    }

    bool allArePassed() {
        return QTest::qWaitFor([this] { return !spacing.isHolding(); });
    }

    std::vector<unsigned int> ticks() const {
        std::vector<unsigned int> found;
        for (const KX::KXToolkitEvent& report : passed)
            found.push_back(report.timeStamp);
        return found;
    }

    std::vector<KX::KXToolkitEvent> passed;
    StepSpacing spacing;
};

using Ticks = std::vector<unsigned int>;

} // namespace

TEST_F(StepSpacingTest, StepsThatAreApartPassAtOnce) {
    for (unsigned int step = 0; step < 3; ++step)
        key(Qt::Key_Up, start + step * gap);
    EXPECT_EQ((Ticks{start, start + gap, start + 2 * gap}), ticks());
    EXPECT_FALSE(spacing.isHolding());
}

TEST_F(StepSpacingTest, AStepKeyThatComesOneMillisecondTooEarlyWaits) {
    key(Qt::Key_Up, start);
    key(Qt::Key_Down, start + gap - 1);
    EXPECT_EQ(Ticks{start}, ticks());
    timePasses(gap - 1);
    EXPECT_EQ(Ticks{start}, ticks());
    timePasses(1);
    EXPECT_TRUE(allArePassed());
    EXPECT_EQ((Ticks{start, start + gap}), ticks());
}

TEST_F(StepSpacingTest, StepKeysOfOneMillisecondGetOneEach) {
    for (int step = 0; step < 3; ++step)
        key(Qt::Key_Up, start);
    EXPECT_EQ(1U, passed.size());
    timePasses(gap);
    EXPECT_TRUE(arePassed(2));
    timePasses(gap);
    EXPECT_TRUE(allArePassed());
    EXPECT_EQ((Ticks{start, start + gap, start + 2 * gap}), ticks());
}

TEST_F(StepSpacingTest, TurnsOfTheWheelOfOneMillisecondAreOneReport) {
    wheel(1, start);
    wheel(1, start);
    wheel(2, start);
    EXPECT_EQ(Ticks{start}, ticks());
    timePasses(1);
    EXPECT_TRUE(allArePassed());
    ASSERT_EQ((Ticks{start, start + 1}), ticks());
    EXPECT_EQ(3, passed[1].count);
}

TEST_F(StepSpacingTest, ATurnOfTheWheelInTheNextMillisecondPassesAtOnce) {
    wheel(1, start);
    wheel(1, start + 1);
    EXPECT_EQ((Ticks{start, start + 1}), ticks());
}

TEST_F(StepSpacingTest, TurnsInBothDirectionsStayApart) {
    wheel(1, start);
    wheel(1, start);
    wheel(1, start, KX::KX_KEY_DOWN);
    timePasses(1);
    EXPECT_TRUE(arePassed(2));
    timePasses(1);
    EXPECT_TRUE(allArePassed());
    ASSERT_EQ((Ticks{start, start + 1, start + 2}), ticks());
    EXPECT_EQ(KX::KX_KEY_UP, passed[1].keyCode);
    EXPECT_EQ(KX::KX_KEY_DOWN, passed[2].keyCode);
}

TEST_F(StepSpacingTest, OtherKeysKeepTheirPlaceAndTheirTick) {
    key(Qt::Key_Up, start);
    key(Qt::Key_Up, start);
    key(Qt::Key_Return, start + 1);
    EXPECT_EQ(1U, passed.size());
    timePasses(gap);
    EXPECT_TRUE(allArePassed());
    EXPECT_EQ((Ticks{start, start + gap, start + 1}), ticks());
    EXPECT_EQ(Qt::Key_Return, passed[2].osKeyCode);
}

TEST_F(StepSpacingTest, ReleasesAndOtherKeysDoNotWaitForSteps) {
    key(Qt::Key_Up, start);
    key(Qt::Key_Up, start, KX::TOOLKIT_KEY_RELEASE_EVENT);
    key(Qt::Key_Escape, start);
    EXPECT_EQ(3U, passed.size());
}

TEST_F(StepSpacingTest, StepsAreKeptApartAcrossTheWrapOfTheTick) {
    KX::KXSimulation::setTick(0xFFFFFFFFU);
    key(Qt::Key_Up, 0xFFFFFFFFU);
    key(Qt::Key_Up, 0xFFFFFFFFU);
    timePasses(gap);
    EXPECT_TRUE(allArePassed());
    EXPECT_EQ((Ticks{0xFFFFFFFFU, gap - 1}), ticks());
}
