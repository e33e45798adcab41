#include "terminal/window/DisplayPace.h"

#include <QtTest>

#include <gtest/gtest.h>

#include <vector>

using namespace Terminal;

namespace {

class DisplayPaceTest : public testing::Test {
protected:
    DisplayPaceTest() {
        QObject::connect(
            &pace, &DisplayPace::due, [this](const ClassifiedEvents& events) { batches.push_back(events); });
    }

    void take(unsigned int tick) {
        ClassifiedEvents events(1);
        events[0].timeStamp = tick;
        pace.take(events);
    }

    DisplayPace pace;
    std::vector<ClassifiedEvents> batches;
};

} // namespace

TEST_F(DisplayPaceTest, TheFirstEventAfterAPauseGoesOnAtOnce) {
    take(1);
    ASSERT_EQ(1U, batches.size());
    QTest::qWait(RefreshPace::shortestIntervalMs + 1);
    take(2);
    EXPECT_EQ(2U, batches.size());
}

TEST_F(DisplayPaceTest, EventsInQuickSuccessionAreHandedOnTogetherAndInOrder) {
    take(1);
    for (unsigned int tick = 2; tick < 100; ++tick)
        take(tick);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !batches.empty() && batches.back().back().timeStamp == 99; }));
    unsigned int next = 1;
    for (const ClassifiedEvents& batch : batches)
        for (const KX::KXInputEvent& event : batch)
            EXPECT_EQ(next++, event.timeStamp);
    EXPECT_EQ(100U, next);
    EXPECT_LT(batches.size(), 10U) << "98 events in no time need not be drawn one by one";
}

TEST_F(DisplayPaceTest, FlushingHandsOnWhatIsHeldBackOnce) {
    take(1);
    take(2);
    pace.flush();
    pace.flush();
    ASSERT_EQ(2U, batches.size());
    EXPECT_EQ(2U, batches[1].front().timeStamp);
}
