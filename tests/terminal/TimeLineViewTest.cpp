#include "TimeLineViewFixture.h"

#include "terminal/events/EventText.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/timeline/SpanPainter.h"
#include "terminal/timeline/TimeLineControls.h"
#include "terminal/timeline/TimeLineLegend.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace Terminal;

using namespace TimeLineViewTesting;

namespace {

class TimeLineViewTest : public TimeLineViewFixture {};

} // namespace

TEST_F(TimeLineViewTest, AKeyIsGreenWhileItIsDownAndNowhereElse) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000), keyEvent(KX::KEY_RELEASE_EVENT, 1001000)});
    const QImage image = picture();
    EXPECT_EQ(0, pixelsAt(image, 1000000 - 50, press));
    EXPECT_GE(pixelsAt(image, 1000000 + 50, press), 8);
    EXPECT_GE(pixelsAt(image, 1001000 - 50, press), 8);
    EXPECT_EQ(0, pixelsAt(image, 1001000 + 50, press));
}

TEST_F(TimeLineViewTest, ADoublePressIsBlueAndItsGapIsDimensioned) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000), keyEvent(KX::KEY_RELEASE_EVENT, 1000100),
            keyEvent(KX::KEY_DOUBLE_PRESS_EVENT, 1000290), keyEvent(KX::KEY_RELEASE_EVENT, 1000490)});
    const QImage image = picture();
    EXPECT_GE(pixelsAt(image, 1000050, press), 8);
    EXPECT_GE(pixelsAt(image, 1000400, doublePress), 8);
    EXPECT_GT(pixelsAt(image, 1000150, doublePress), 0) << "the dimension line between the presses";
    EXPECT_EQ(0, pixelsAt(image, 998900, doublePress)) << "before the text of the line";
}

TEST_F(TimeLineViewTest, AMissedDoublePressIsDimensionedInGrey) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000), keyEvent(KX::KEY_RELEASE_EVENT, 1000100),
            keyEvent(KX::KEY_PRESS_EVENT, 1000310), keyEvent(KX::KEY_RELEASE_EVENT, 1000400)});
    const QImage image = picture();
    EXPECT_EQ(0, pixelsIn(image, doublePress));
    EXPECT_GT(pixelsAt(image, 1000150, Theme::quietText()), 0);
}

TEST_F(TimeLineViewTest, FromTheLongPressOnAKeyIsOrange) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000), keyEvent(KX::KEY_LONG_PRESS_EVENT, 1002000),
            keyEvent(KX::KEY_LONG_RELEASE_EVENT, 1002000), keyEvent(KX::KEY_RELEASE_EVENT, 1003000)});
    const QImage image = picture();
    EXPECT_GE(pixelsAt(image, 1000300, press), 8);
    EXPECT_EQ(0, pixelsAt(image, 1000300, longPress));
    EXPECT_GE(pixelsAt(image, 1002200, longPress), 8);
    EXPECT_EQ(0, pixelsAt(image, 1002200, press));
}

TEST_F(TimeLineViewTest, AnEscapeBearsARedCross) {
    KX::KXInputEvent mouse;
    mouse.eventData[1] = 1;
    mouse.eventType = KX::MOUSE_PRESS_EVENT;
    mouse.timeStamp = 1000000;
    KX::KXInputEvent escape = mouse;
    escape.eventType = KX::MOUSE_ESCAPE_EVENT;
    escape.timeStamp = 1000500;
    append({mouse});
    EXPECT_EQ(0, pixelsIn(picture(), Theme::colourOf(KX::KXGesture::Escape)));
    append({escape});
    EXPECT_GT(pixelsIn(picture(), Theme::colourOf(KX::KXGesture::Escape)), 10);
    EXPECT_EQ(QStringList{QStringLiteral("Left button")}, view.laneNames());
}

TEST_F(TimeLineViewTest, MovesOfTheEncoderStandOnALaneOfTheirOwnHigherTheMoreTheyCount) {
    const QColor colour = Theme::encoder();
    KX::KXInputEvent slow = keyEvent(KX::ENCODER_MOVE_EVENT, 1000000, 4);
    slow.value = 1;
    KX::KXInputEvent fast = keyEvent(KX::ENCODER_MOVE_EVENT, 1001000, 4);
    fast.value = 1024;
    append({slow, fast});
    const QImage image = picture();
    EXPECT_EQ(QStringList{QStringLiteral("Encoder")}, view.laneNames());
    EXPECT_GT(pixelsAt(image, 1000000, colour), 0);
    EXPECT_GT(pixelsAt(image, 1001000, colour), 3 * pixelsAt(image, 1000000, colour));
}

TEST_F(TimeLineViewTest, ALaneIsNamedAsInTheListAndStaysInItsPlace) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000, 0), keyEvent(KX::KEY_RELEASE_EVENT, 1000100, 0)});
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000200, 3), keyEvent(KX::KEY_RELEASE_EVENT, 1000300, 3)});
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000400, 0), keyEvent(KX::KEY_RELEASE_EVENT, 1000500, 0)});
    const QString first = EventText::key(keyEvent(KX::KEY_PRESS_EVENT, 0, 0));
    const QString second = EventText::key(keyEvent(KX::KEY_PRESS_EVENT, 0, 3));
    EXPECT_EQ((QStringList{first, second}), view.laneNames());
    EXPECT_EQ(QString(), view.otherLanesText());
}

TEST_F(TimeLineViewTest, WhereThereIsNoRoomTheLanesUsedLastAreShownAndTheOthersCanBe) {
    for (int key = 0; key < 12; ++key) {
        const auto tick = 1000000U + 100U * static_cast<unsigned int>(key);
        view.append(
            {keyEvent(KX::KEY_PRESS_EVENT, tick, 20 + key), keyEvent(KX::KEY_RELEASE_EVENT, tick + 50, 20 + key)});
    }
    waitForPace();
    const QStringList newest = view.laneNames();
    ASSERT_LT(newest.size(), 12);
    EXPECT_EQ(QStringLiteral("Key 31"), newest.back());
    EXPECT_TRUE(view.otherLanesText().startsWith(QStringLiteral("+%1 lanes").arg(12 - newest.size())));

    QStringList seen = newest;
    QTest::mouseClick(&view.controls().lanesButton(), Qt::LeftButton);
    EXPECT_EQ(0, std::count(newest.begin(), newest.end(), view.laneNames().front()));
    while (view.laneNames() != newest) {
        seen << view.laneNames();
        view.showOtherLanes();
        ASSERT_LE(seen.size(), 12) << "the pages begin anew after the last one";
    }
    seen.sort();
    EXPECT_EQ(12, seen.size());
    EXPECT_EQ(0, seen.removeDuplicates());
}

TEST_F(TimeLineViewTest, TakesNoFocus) {
    for (const QWidget* widget : view.findChildren<QWidget*>())
        EXPECT_EQ(Qt::NoFocus, widget->focusPolicy()) << widget->metaObject()->className();
    EXPECT_EQ(Qt::NoFocus, view.focusPolicy());
}

TEST_F(TimeLineViewTest, FitsASmallScreenAndALargeOne) {
    for (const QSize size : {QSize(780, 320), QSize(1000, 330)}) {
        showAt(size);
        EXPECT_EQ(size, view.size());
        EXPECT_GE(view.timeArea().height(), 6 * SpanPainter::leastRowHeight(Sizes(Sizes::unitOfDesign)))
            << size.width() << " pixels wide";
        EXPECT_GE(view.timeArea().width(), size.width() * 8 / 10) << size.width() << " pixels wide";
    }
}

TEST_F(TimeLineViewTest, WhatIsNotVisibleIsNotDrawn) {
    append(taps(1000000, 250));
    picture();
    const int few = view.drawnCount();
    EXPECT_GT(few, 0);
    append(taps(1000000 + 25000, 4750)); // 10,000 events in all
    ASSERT_EQ(KeyTimeLine::capacity, view.timeLine().eventCount());
    picture();
    EXPECT_EQ(few, view.drawnCount());
}

TEST_F(TimeLineViewTest, OfWhatFallsOnOnePixelOneIsDrawn) {
    append(taps(1000000, 5000));
    for (int step = 0; step < 20; ++step)
        view.zoomOut();
    picture();
    EXPECT_GT(view.drawnCount(), 0);
    EXPECT_LE(view.drawnCount(), 2 * view.timeArea().width());
}

TEST_F(TimeLineViewTest, ARepaintWithTenThousandEventsCostsNoMoreThanTwiceOneWithFiveHundred) {
    append(taps(1000000, 250));
    const double few = usedMsToPaint();
    append(taps(1000000 + 25000, 4750));
    const double many = usedMsToPaint();
    EXPECT_LE(many, 2 * few) << "ms";
}
