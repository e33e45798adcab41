#include "TimeLineViewFixture.h"

#include <qwt_plot_canvas.h>

#include <gtest/gtest.h>

using namespace Terminal;

using namespace TimeLineViewTesting;

namespace {

class TimeLineMotionTest : public TimeLineViewFixture {};

} // namespace

TEST_F(TimeLineMotionTest, InALiveViewNowIsNow) {
    TimeLineView live;
    live.resize(780, 320);
    live.show();
    EXPECT_EQ(QStringLiteral("now"), live.wordForZero());
    live.append({keyEvent(KX::KEY_PRESS_EVENT, 999000), keyEvent(KX::KEY_RELEASE_EVENT, 999100)});
    const Time margin = live.visibleMs() / 25;
    EXPECT_EQ(1000000 + margin, live.rightmostTime()) << "not the time of the newest event";
    KX::KXSimulation::advance(700);
    EXPECT_EQ(1000700 + margin, live.rightmostTime());
    live.scrollBack();
    ASSERT_FALSE(live.isFollowing());
    const Time held = live.rightmostTime();
    KX::KXSimulation::advance(700);
    EXPECT_EQ(held, live.rightmostTime());
    EXPECT_EQ(QStringLiteral("stopped"), live.wordForZero()) << "it is the past that is shown";
    live.follow();
    EXPECT_EQ(1001400 + margin, live.rightmostTime());
    EXPECT_EQ(QStringLiteral("now"), live.wordForZero());
}

TEST_F(TimeLineMotionTest, ALiveViewMovesUntilTheLastEventHasLeftIt) {
    TimeLineView live;
    live.resize(780, 320);
    live.show();
    EXPECT_FALSE(live.isTicking()) << "there is nothing to move";
    live.append({keyEvent(KX::KEY_PRESS_EVENT, 1000000), keyEvent(KX::KEY_RELEASE_EVENT, 1000000)});
    EXPECT_TRUE(QTest::qWaitFor([&live] { return live.isTicking(); }));
    KX::KXSimulation::advance(static_cast<unsigned int>(live.visibleMs()));
    EXPECT_TRUE(QTest::qWaitFor([&live] { return !live.isTicking(); }));
}

TEST_F(TimeLineMotionTest, InARecordingTheNewestEventIsTheEndOfTime) {
    EXPECT_EQ(QStringLiteral("newest"), view.wordForZero());
    EXPECT_FALSE(view.isLocked()) << "nobody tests keys";
}

TEST_F(TimeLineMotionTest, AKeyThatIsDownGrowsWhileTimePasses) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000)});
    EXPECT_TRUE(view.isTicking());
    const Time before = view.rightmostTime();
    KX::KXSimulation::advance(700);
    EXPECT_EQ(before + 700, view.rightmostTime());
    waitForPace();
    EXPECT_GE(pixelsAt(picture(), 1000600, press), 8);
    append({keyEvent(KX::KEY_RELEASE_EVENT, 1000700)});
    EXPECT_TRUE(comesToRest()) << "nothing moves any more";
    KX::KXSimulation::advance(500);
    EXPECT_EQ(before + 700, view.rightmostTime());
}

TEST_F(TimeLineMotionTest, AKeyThatIsDownGoesOnGrowingWhateverElseComesIn) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000)});
    const Time before = view.rightmostTime();
    KX::KXSimulation::advance(300);
    view.append({});
    EXPECT_EQ(before + 300, view.rightmostTime());
    view.append({keyEvent(KX::KEY_RELEASE_EVENT, 999990, keyB)}); // late
    EXPECT_EQ(before + 300, view.rightmostTime());
    view.append({keyEvent(KX::MOUSE_MOVE_EVENT, 1000300)});
    EXPECT_EQ(before + 300, view.rightmostTime());
    KX::KXSimulation::advance(200);
    EXPECT_EQ(before + 500, view.rightmostTime());
}

TEST_F(TimeLineMotionTest, WhereThereIsNoPastItCannotBeScrolledTo) {
    view.scrollBack();
    EXPECT_TRUE(view.isFollowing());
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000), keyEvent(KX::KEY_RELEASE_EVENT, 1000100)});
    view.scrollBack();
    EXPECT_TRUE(view.isFollowing());
}

TEST_F(TimeLineMotionTest, AKeyWithoutTickIsHeldSinceItCame) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000), keyEvent(KX::KEY_RELEASE_EVENT, 1000100)});
    const Time before = view.rightmostTime();
    KX::KXSimulation::advance(9000);
    append({keyEvent(KX::KEY_PRESS_EVENT, 0, 0)});
    EXPECT_EQ(before, view.rightmostTime());
    KX::KXSimulation::advance(50);
    EXPECT_EQ(before + 50, view.rightmostTime());
}

TEST_F(TimeLineMotionTest, NothingRunsWhenNothingMovesOrNobodyLooks) {
    EXPECT_TRUE(comesToRest());
    append(taps(1000000, 5));
    EXPECT_TRUE(comesToRest());
    append({keyEvent(KX::KEY_PRESS_EVENT, 1001000)});
    EXPECT_TRUE(view.isTicking());
    view.hide();
    EXPECT_FALSE(view.isTicking());
    view.append({keyEvent(KX::KEY_PRESS_EVENT, 1001000, keyB)});
    EXPECT_FALSE(view.isTicking());
    view.show();
    EXPECT_TRUE(view.isTicking());
    view.scrollBack();
    EXPECT_TRUE(comesToRest()) << "the past does not change";
}

TEST_F(TimeLineMotionTest, TimeOfARecordingIsCountedFromItsNewestEvent) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 77)}); // far from this machine's tick
    KX::KXSimulation::advance(100);
    EXPECT_NEAR(177, static_cast<double>(view.rightmostTime()), static_cast<double>(view.visibleMs()) / 20);
}

TEST_F(TimeLineMotionTest, ZoomsInStepsUpToItsEnds) {
    EXPECT_EQ(5000, view.visibleMs());
    view.zoomIn();
    EXPECT_EQ(2000, view.visibleMs());
    for (int step = 0; step < 20; ++step)
        view.zoomIn();
    EXPECT_EQ(500, view.visibleMs());
    for (int step = 0; step < 20; ++step)
        view.zoomOut();
    EXPECT_EQ(3600000, view.visibleMs());
}

TEST_F(TimeLineMotionTest, ScrolledBackItStandsStillUntilItFollowsAgain) {
    append(taps(1000000, 500));
    EXPECT_TRUE(view.isFollowing());
    const Time newest = view.rightmostTime();
    view.scrollBack();
    view.scrollBack();
    EXPECT_FALSE(view.isFollowing());
    const Time held = view.rightmostTime();
    EXPECT_EQ(newest - view.visibleMs(), held);
    append(taps(1050000, 5));
    EXPECT_EQ(held, view.rightmostTime());
    view.zoomIn();
    EXPECT_EQ(held - 1500, view.rightmostTime()) << "the middle stays";
    view.zoomOut();
    EXPECT_EQ(held, view.rightmostTime());
    view.follow();
    EXPECT_TRUE(view.isFollowing());
    EXPECT_GT(view.rightmostTime(), newest);
}

TEST_F(TimeLineMotionTest, ScrollingForwardEndsAtTheNewestTimeAndBackAtTheOldest) {
    append(taps(1000000, 100));
    view.scrollBack();
    view.scrollForward();
    EXPECT_TRUE(view.isFollowing());
    for (int step = 0; step < 50; ++step)
        view.scrollBack();
    EXPECT_EQ(1000000 + view.visibleMs() / 10, view.rightmostTime());
}

TEST_F(TimeLineMotionTest, AFingerDragsTime) {
    append(taps(1000000, 500));
    const QRect area = view.timeArea();
    const Time newest = view.rightmostTime();
    drag(area.left() + 100, area.left() + 104);
    EXPECT_TRUE(view.isFollowing()) << "a finger is never quite still";
    drag(area.left() + 100, area.left() + 100 + area.width() / 2);
    EXPECT_FALSE(view.isFollowing());
    EXPECT_NEAR(static_cast<double>(newest - view.visibleMs() / 2), static_cast<double>(view.rightmostTime()), 20);
    drag(area.right() - 10, area.left());
    EXPECT_TRUE(view.isFollowing()) << "beyond the newest time there is nothing";
}

TEST_F(TimeLineMotionTest, DraggingMovesWhatIsUnderTheFinger) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000), keyEvent(KX::KEY_RELEASE_EVENT, 1000300)});
    append({keyEvent(KX::KEY_PRESS_EVENT, 1004000), keyEvent(KX::KEY_RELEASE_EVENT, 1004300)});
    const int before = xAt(1000100);
    drag(300, 400);
    EXPECT_NEAR(before + 100, xAt(1000100), 1);
    EXPECT_GE(pixelsAt(picture(), 1000100, press), 8);
}

TEST_F(TimeLineMotionTest, RepaintsAreFarApartWhileEventsRushIn) {
    class Repaints : public QObject {
    public:
        int count = 0;

    protected:
        bool eventFilter(QObject* /*watched*/, QEvent* event) override {
            count += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
    } repaints;
    view.findChild<QwtPlotCanvas*>()->installEventFilter(&repaints);
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000)});
    QElapsedTimer elapsed;
    elapsed.start();
    repaints.count = 0;
    while (elapsed.elapsed() < 400) {
        view.append({keyEvent(KX::KEY_LONG_PRESS_EVENT, 1000000)});
        QTest::qWait(1);
    }
    EXPECT_GT(repaints.count, 2);
    EXPECT_LE(repaints.count, 2 + elapsed.elapsed() / RefreshPace::shortestIntervalMs);
}
