#include "models/RandomRun.h"
#include "support/OperatorTest.h"

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace KX::test {
namespace {

constexpr std::uint32_t minuteMs = 60 * 1000;
constexpr std::uint32_t minutesOfADay = 24 * 60;
constexpr std::uint32_t dayMs = minutesOfADay * minuteMs;

/// 30; fewer where runs are shortened.
std::uint32_t daysOfRun() {
    return std::max(2U, static_cast<std::uint32_t>(30ULL * stepsOfRun() / fullSteps));
}

/// Each minute an operator makes a gesture, and notes what the manager must post for it.
class VirtualMonth : public OperatorTest {
protected:
    void SetUp() override {
        OperatorTest::SetUp();
        KXInputEventManager::deleteInstance();
        KXSimulation::setTick(0U - daysOfRun() / 2 * dayMs); // the wrap comes in the middle
        manager = KXInputEventManager::createInstance();
    }

    void dayPasses() {
        for (std::uint32_t minute = 0; minute < minutesOfADay; ++minute) {
            const std::uint32_t begin = KXTick::getTickCount();
            makeGesture();
            timePasses(minuteMs - (KXTick::getTickCount() - begin));
            takeEvents();
        }
    }

    // The first encoder step after the wrap has a smaller time stamp than the last one before.
    static void expectOneMessageFromTheWrap() {
        const std::vector<KXSimulation::DebugMessage> messages = KXSimulation::takeDebugMessages();
        ASSERT_EQ(1U, messages.size());
        EXPECT_EQ("Can not calculate encoder dynamics for negative time gap.", messages[0].text);
    }

    std::map<std::string, std::uint32_t> expected; ///< how often, by the name of the type
    std::map<std::string, std::uint32_t> taken;
    std::uint32_t expectedSteps = 0; ///< of the encoder
    std::uint32_t takenSteps = 0;

private:
    void makeGesture() {
        switch (random.below(6)) {
        case 0: return tap();
        case 1: return tapTwice();
        case 2: return holdLong();
        case 3: return click();
        case 4: return turnKnob();
        default: return turnWheel();
        }
    }

    void tap() {
        operatorTaps(Qt::Key_F1);
        expect(KEY_PRESS_EVENT);
        expect(KEY_RELEASE_EVENT);
    }

    void tapTwice() {
        tap();
        timePasses(random.below(300));
        operatorTaps(Qt::Key_F1);
        expect(KEY_DOUBLE_PRESS_EVENT);
        expect(KEY_RELEASE_EVENT);
    }

    // A pass posts the long press up to 100 ms late.
    void holdLong() {
        operatorPresses(Qt::Key_F2);
        timePasses(2100 + random.below(3000));
        operatorReleases(Qt::Key_F2);
        expect(KEY_PRESS_EVENT);
        expect(KEY_LONG_PRESS_EVENT);
        expect(KEY_LONG_RELEASE_EVENT);
        expect(KEY_RELEASE_EVENT);
    }

    void click() {
        operatorPressesButton(1);
        operatorReleasesButton(1);
        expect(MOUSE_PRESS_EVENT);
        expect(MOUSE_RELEASE_EVENT);
    }

    // Steps are bundled, so only their number is known.
    void turnKnob() {
        const int direction = random.oneOf({Qt::Key_Up, Qt::Key_Down});
        const std::uint32_t steps = 1 + random.below(20);
        for (std::uint32_t step = 0; step < steps; ++step) {
            operatorTaps(direction);
            timePasses(1 + random.below(60));
        }
        expectedSteps += steps;
    }

    void turnWheel() {
        const int detents = random.between(1, 3);
        toolkitReports(TOOLKIT_WHEEL_EVENT, -1, 0, detents);
        expectedSteps += static_cast<std::uint32_t>(detents);
    }

    void expect(int type) { ++expected[translateEventTypeToString(type)]; }

    void takeEvents() {
        while (manager->hasEvents()) {
            const KXInputEvent event = manager->getNextEvent();
            if (event.eventType == ENCODER_MOVE_EVENT)
                takenSteps += static_cast<std::uint32_t>(event.count);
            else
                ++taken[translateEventTypeToString(event.eventType)];
        }
    }

    Random random{1};
};

TEST_F(VirtualMonth, losesAndDoublesNothingAcrossTheWrapAndHoldsNoMoreMemoryAtTheEnd) {
    dayPasses();
    const std::size_t heap = mallinfo2().uordblks;
    for (std::uint32_t day = 1; day < daysOfRun(); ++day)
        dayPasses();
    expectOneMessageFromTheWrap();
    // The C library counts small blocks that it keeps for the next use. A byte left by each gesture would be more.
    EXPECT_LE(mallinfo2().uordblks, heap + minutesOfADay);
    EXPECT_LT(KXTick::getTickCount(), daysOfRun() * dayMs) << "the tick has not wrapped";
    EXPECT_EQ(expected, taken);
    EXPECT_EQ(expectedSteps, takenSteps);
}

} // namespace
} // namespace KX::test
