#include "terminal/look/DisplayPace.h"

#include <QCoreApplication>
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
        KX::KXInputEvent event;
        event.timeStamp = tick;
        pace.take(event);
    }

    DisplayPace pace;
    std::vector<ClassifiedEvents> batches;
};

} // namespace

TEST_F(DisplayPaceTest, AfterAPauseTheEventsOfATurnGoOnTogetherWhenItIsOver) {
    take(1);
    take(2);
    EXPECT_TRUE(batches.empty());
    QCoreApplication::sendPostedEvents();
    ASSERT_EQ(1U, batches.size());
    EXPECT_EQ(2U, batches[0].size());
    QTest::qWait(RefreshPace::shortestIntervalMs + 1);
    take(3);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(2U, batches.size());
}

TEST_F(DisplayPaceTest, EventsInQuickSuccessionAreHandedOnTogetherAndInOrder) {
    for (unsigned int tick = 1; tick < 100; ++tick) {
        take(tick);
        QCoreApplication::sendPostedEvents(); // each has a turn of its own
    }
    ASSERT_TRUE(QTest::qWaitFor([this] { return !batches.empty() && batches.back().back().timeStamp == 99; }));
    unsigned int next = 1;
    for (const ClassifiedEvents& batch : batches)
        for (const KX::KXInputEvent& event : batch)
            EXPECT_EQ(next++, event.timeStamp);
    EXPECT_EQ(100U, next);
    EXPECT_LT(batches.size(), 10U) << "99 events in no time need not be drawn one by one";
}

TEST_F(DisplayPaceTest, FlushingHandsOnWhatIsHeldBackOnce) {
    take(1);
    take(2);
    pace.flush();
    pace.flush();
    QCoreApplication::sendPostedEvents();
    ASSERT_EQ(1U, batches.size());
    EXPECT_EQ(2U, batches[0].back().timeStamp);
}
