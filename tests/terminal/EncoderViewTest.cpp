#include "terminal/encoder/EncoderView.h"

#include "events/KXEventType.h"
#include "terminal/look/DisplayPace.h"
#include "terminal/look/Theme.h"

#include <QImage>
#include <QtTest>

#include <gtest/gtest.h>

#include <algorithm>

using namespace Terminal;

namespace {

constexpr int up = 4;
constexpr int down = 5;

KX::KXInputEvent move(unsigned int tick, int value, int keyCode = up, int count = 1) {
    KX::KXInputEvent event;
    event.eventType = KX::ENCODER_MOVE_EVENT;
    event.timeStamp = tick;
    event.keyCode = keyCode;
    event.value = value;
    event.count = count;
    return event;
}

// A move of a step key belongs to a bundle, whose value grows.
KX::KXInputEvent keyMade(unsigned int tick, int value, int count) {
    KX::KXInputEvent event = move(tick, value, up, count);
    event.osKeyCode = Qt::Key_Up;
    return event;
}

class EncoderViewTest : public testing::Test {
protected:
    EncoderViewTest() {
        view.resize(780, 240);
        view.show();
        QCoreApplication::processEvents();
    }

    static void waitForPace() {
        QTest::qWait(2 * RefreshPace::shortestIntervalMs);
        QCoreApplication::processEvents(); // timers that were due during the wait
    }

    int pixelsOf(const QColor& colour, const QRect& area) {
        const QImage image = view.grab().toImage();
        int found = 0;
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x)
                found += image.pixelColor(x, y) == colour ? 1 : 0;
        return found;
    }

    const QRect leftHalf{0, 0, 330, 240};
    EncoderView view;
};

} // namespace

TEST_F(EncoderViewTest, TheCurveHasACornerForEachRowOfTheTable) {
    view.setSpeedTable({{5, 100}, {40, 10}}, 1000);
    const std::vector<QPointF> expected = {{1, 100}, {5, 100}, {5, 10}, {40, 10}, {40, 1}, {80, 1}};
    EXPECT_EQ(expected, view.curveCorners());
}

TEST_F(EncoderViewTest, TheUserFactorScalesTheCurveButNeverBelowOne) {
    view.setSpeedTable({{5, 100}, {40, 10}}, 50);
    const std::vector<QPointF> expected = {{1, 5}, {5, 5}, {5, 1}, {40, 1}, {40, 1}, {80, 1}};
    EXPECT_EQ(expected, view.curveCorners());
}

TEST_F(EncoderViewTest, StartsWithTheDefaultTable) {
    const std::vector<QPointF> corners = view.curveCorners();
    ASSERT_EQ(16U, corners.size());
    EXPECT_EQ(QPointF(1, 4096), corners[0]);
    EXPECT_EQ(QPointF(2, 1024), corners[2]);
    EXPECT_EQ(QPointF(200, 1), corners[15]);
}

TEST_F(EncoderViewTest, TablesWithoutRowsOrWithOneAreDrawn) {
    view.setSpeedTable({}, 1000);
    EXPECT_EQ((std::vector<QPointF>{{1, 1}, {500, 1}}), view.curveCorners());
    view.setSpeedTable({{0, 0}}, 1000);
    EXPECT_EQ(QPointF(500, 1), view.curveCorners().back());
    EXPECT_GT(pixelsOf(Theme::encoder(), leftHalf), 50);
}

TEST_F(EncoderViewTest, ShowsAMoveAsNumbersAndAsAPointOnTheCurve) {
    EXPECT_EQ(QStringLiteral("\u2013"), view.turnText());
    EXPECT_EQ(0, pixelsOf(Theme::accent(), leftHalf));
    view.showMove(move(1000, 1234567), 12);
    waitForPace();
    EXPECT_EQ(QStringLiteral("12 ms"), view.stepTimeText());
    EXPECT_EQ(QStringLiteral("1\u2009234\u2009567"), view.stepText());
    view.showMove(move(1010, 64), 15);
    waitForPace();
    EXPECT_EQ(QPointF(15, 64), view.trail().back());
    EXPECT_GT(pixelsOf(Theme::accent(), leftHalf), 50);
}

TEST_F(EncoderViewTest, AStepThatTakesNoTimeStandsAtTheLeftBorder) {
    view.showMove(move(1000, 4096), 0);
    waitForPace();
    EXPECT_EQ(QPointF(1, 4096), view.trail().back());
    EXPECT_EQ(QStringLiteral("0 ms"), view.stepTimeText());
}

TEST_F(EncoderViewTest, TheTrailHasTheLastFewMoves) {
    for (unsigned int number = 0; number < 20; ++number)
        view.showMove(move(1000 + number * 30, 1), static_cast<int>(number));
    waitForPace();
    ASSERT_EQ(static_cast<std::size_t>(EncoderView::trailLength), view.trail().size());
    EXPECT_EQ(19, view.trail().back().x());
    EXPECT_EQ(20 - EncoderView::trailLength, view.trail().front().x());
}

TEST_F(EncoderViewTest, TheValueOfATurnIsTheSumOfItsMovesDownwardsNegative) {
    view.append({move(1000, 1), move(1050, 16), move(1100, 64)});
    EXPECT_EQ(QStringLiteral("+81"), view.turnText());
    view.append({move(1150, 100, down)});
    EXPECT_EQ(QStringLiteral("\u221219"), view.turnText());
}

TEST_F(EncoderViewTest, ATurnEndsAfterARest) {
    constexpr auto rest = static_cast<unsigned int>(EncoderTrace::restMs);
    view.append({move(1000, 5), move(1000 + rest - 1, 5)});
    EXPECT_EQ(QStringLiteral("+10"), view.turnText());
    view.append({move(1000 + 2 * rest - 1, 5)});
    EXPECT_EQ(QStringLiteral("+5"), view.turnText());
    EXPECT_TRUE(view.trace().steps().back().beginsTurn);
}

TEST_F(EncoderViewTest, ATurnGoesOnAcrossTheWrapOfTheTick) {
    view.append({move(0xFFFFFFF0U, 5), move(0x10U, 5)});
    EXPECT_EQ(QStringLiteral("+10"), view.turnText());
    EXPECT_EQ(0x20, view.trace().steps()[1].time - view.trace().steps()[0].time);
}

TEST_F(EncoderViewTest, SeveralRawStepsInOneMoveShareItsValue) {
    view.append({move(1000, 48, up, 3)});
    EXPECT_EQ(QStringLiteral("16"), view.stepText());
    EXPECT_EQ(QStringLiteral("+48"), view.turnText());
}

TEST_F(EncoderViewTest, AMoveMadeByKeysCountsWhatItsBundleGrewBy) {
    view.append({keyMade(1000, 1, 1), keyMade(1050, 9, 2), keyMade(1100, 73, 4)});
    EXPECT_EQ(QStringLiteral("16"), view.stepText());
    EXPECT_EQ(QStringLiteral("+73"), view.turnText());
    view.append({keyMade(1300, 1, 1)}); // a new bundle
    EXPECT_EQ(QStringLiteral("+74"), view.turnText());
}

TEST_F(EncoderViewTest, TheStepTimeIsReckonedAsTheEncoderDoes) {
    KX::KXEncoderDynamic encoder;
    encoder.initialize();
    view.append({move(10000, 1)});
    KX::KXInputEvent first = move(10000, 0);
    encoder.calculateIncrement(first, first);
    unsigned int tick = 10000;
    for (const unsigned int gap : {150U, 90U, 40U, 12U, 3U, 2U, 1U, 200U, 201U, 7U, 30U}) {
        tick += gap;
        KX::KXInputEvent step = move(tick, 0);
        ASSERT_EQ(0, encoder.calculateIncrement(step, step));
        view.append({step});
        EXPECT_EQ(encoder.getTimeGap(), view.trace().steps().back().stepTimeMs) << "after " << gap << " ms";
    }
}

TEST_F(EncoderViewTest, TheStepTimeOfTheLastMoveIsReadWhereThereIsASource) {
    int reads = 0;
    view.setStepTimeSource([&reads] {
        ++reads;
        return 33;
    });
    KX::KXInputEvent key;
    key.eventType = KX::KEY_PRESS_EVENT;
    view.append({key});
    EXPECT_EQ(0, reads);
    view.append({move(1000, 1), move(1020, 1), key});
    EXPECT_EQ(1, reads);
    ASSERT_EQ(2U, view.trace().steps().size()) << "a key press is no move";
    EXPECT_NE(33, view.trace().steps()[0].stepTimeMs);
    EXPECT_EQ(33, view.trace().steps()[1].stepTimeMs);
}

TEST_F(EncoderViewTest, TheAccelerationOfTheLastSecondsIsDrawn) {
    const QRect middle(350, 30, 240, 180);
    EXPECT_EQ(0, pixelsOf(Theme::accent(), middle));
    for (unsigned int number = 0; number < 40; ++number)
        view.showMove(move(1000 + number * 40, static_cast<int>(number * number)), 40);
    waitForPace();
    EXPECT_GT(pixelsOf(Theme::accent(), middle), 50);
}

TEST_F(EncoderViewTest, KeepsABoundedPast) {
    for (unsigned int number = 0; number < EncoderTrace::capacity + 5; ++number)
        view.showMove(move(1000 + number, 1), 1);
    EXPECT_EQ(EncoderTrace::capacity, view.trace().steps().size());
    EXPECT_EQ(static_cast<std::int64_t>(EncoderTrace::capacity + 5), view.trace().steps().back().value);
}

TEST_F(EncoderViewTest, TakesNoFocus) {
    for (const QWidget* widget : view.findChildren<QWidget*>())
        EXPECT_EQ(Qt::NoFocus, widget->focusPolicy()) << widget->metaObject()->className();
    EXPECT_EQ(Qt::NoFocus, view.focusPolicy());
}
