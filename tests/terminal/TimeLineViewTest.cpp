#include "terminal/TimeLineView.h"

#include "events/KXEventType.h"
#include "platform/simulated/KXSimulation.h"
#include "terminal/DisplayPace.h"
#include "terminal/EventText.h"
#include "terminal/KeyLanesItem.h"
#include "terminal/Theme.h"

#include <QImage>
#include <QtTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace {

using Time = KeyTimeLine::Time;

constexpr int keyA = 7;
constexpr int keyB = 8;

KX::KXInputEvent keyEvent(int eventType, unsigned int tick, int keyCode = keyA) {
    KX::KXInputEvent event;
    event.eventType = eventType;
    event.timeStamp = tick;
    event.keyCode = keyCode;
    return event;
}

// Taps of 50 ms, 100 ms apart, of two keys in turn.
ClassifiedEvents taps(unsigned int firstTick, unsigned int count) {
    ClassifiedEvents events;
    for (unsigned int number = 0; number < count; ++number) {
        const int key = number % 2 == 0 ? keyA : keyB;
        events.push_back(keyEvent(KX::KEY_PRESS_EVENT, firstTick + number * 100, key));
        events.push_back(keyEvent(KX::KEY_RELEASE_EVENT, firstTick + number * 100 + 50, key));
    }
    return events;
}

// Colours of shapes with soft edges are hit in their middle only, so near is good enough.
bool isNear(const QColor& one, const QColor& other) {
    constexpr int tolerance = 12;
    return std::abs(one.red() - other.red()) <= tolerance && std::abs(one.green() - other.green()) <= tolerance &&
           std::abs(one.blue() - other.blue()) <= tolerance;
}

class TimeLineViewTest : public testing::Test {
protected:
    TimeLineViewTest() {
        KX::KXSimulation::reset();
        KX::KXSimulation::setTick(1000000);
        showAt(QSize(780, 240));
    }

    ~TimeLineViewTest() override {
        KX::KXSimulation::reset();
    }

    void showAt(const QSize& size) {
        view.resize(size);
        view.show();
        QCoreApplication::processEvents();
    }

    void append(const ClassifiedEvents& events) {
        view.append(events);
        waitForPace();
    }

    static void waitForPace() {
        QTest::qWait(2 * DisplayPace::shortestIntervalMs);
    }

    QImage picture() {
        return view.grab().toImage();
    }

    int xAt(Time time) const {
        const QRect area = view.timeArea();
        const double share = static_cast<double>(time - view.rightmostTime() + view.visibleMs()) /
                             static_cast<double>(view.visibleMs());
        return area.left() + static_cast<int>(share * area.width());
    }

    // How many pixels of the column at that time are of that colour.
    int pixelsAt(const QImage& image, Time time, const QColor& colour) const {
        const QRect area = view.timeArea();
        int found = 0;
        for (int y = area.top(); y <= area.bottom(); ++y)
            found += isNear(image.pixelColor(xAt(time), y), colour) ? 1 : 0;
        return found;
    }

    int pixelsIn(const QImage& image, const QColor& colour) const {
        const QRect area = view.timeArea();
        int found = 0;
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x)
                found += isNear(image.pixelColor(x, y), colour) ? 1 : 0;
        return found;
    }

    std::chrono::nanoseconds timeToPaint() {
        QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
        auto best = std::chrono::nanoseconds::max();
        for (int attempt = 0; attempt < 15; ++attempt) {
            const auto begin = std::chrono::steady_clock::now();
            view.render(&image);
            best = std::min<std::chrono::nanoseconds>(best, std::chrono::steady_clock::now() - begin);
        }
        return best;
    }

    void drag(int fromX, int toX) {
        const int y = view.timeArea().center().y();
        QTest::mousePress(&view, Qt::LeftButton, Qt::NoModifier, QPoint(fromX, y));
        QMouseEvent move(QEvent::MouseMove, QPoint(toX, y), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&view, &move);
        QTest::mouseRelease(&view, Qt::LeftButton, Qt::NoModifier, QPoint(toX, y));
    }

    const QColor press = Theme::colourOf(EventKind::Press);
    const QColor doublePress = Theme::colourOf(EventKind::DoublePress);
    const QColor longPress = Theme::colourOf(EventKind::LongPress);
    TimeLineView view;
};

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
    EXPECT_EQ(0, pixelsAt(image, 999900, doublePress));
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
    EXPECT_EQ(0, pixelsIn(picture(), Theme::colourOf(EventKind::Escape)));
    append({escape});
    EXPECT_GT(pixelsIn(picture(), Theme::colourOf(EventKind::Escape)), 10);
    EXPECT_EQ(QStringList{QStringLiteral("Left button")}, view.laneNames());
}

TEST_F(TimeLineViewTest, MovesOfTheEncoderStandOnALaneOfTheirOwnHigherTheMoreTheyCount) {
    const QColor colour = Theme::colourOf(EventKind::Encoder);
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
    EXPECT_EQ(QStringLiteral("31"), newest.back());
    EXPECT_TRUE(view.otherLanesText().startsWith(QStringLiteral("+%1 lanes").arg(12 - newest.size())));

    QStringList seen = newest;
    QTest::mouseClick(&view, Qt::LeftButton, Qt::NoModifier, QPoint(20, view.timeArea().center().y()));
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

TEST_F(TimeLineViewTest, AKeyThatIsDownGrowsWhileTimePasses) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000)});
    EXPECT_TRUE(view.isTicking());
    const Time before = view.rightmostTime();
    KX::KXSimulation::advance(700);
    EXPECT_EQ(before + 700, view.rightmostTime());
    waitForPace();
    EXPECT_GE(pixelsAt(picture(), 1000600, press), 8);
    append({keyEvent(KX::KEY_RELEASE_EVENT, 1000700)});
    EXPECT_FALSE(view.isTicking()) << "nothing moves any more";
    KX::KXSimulation::advance(500);
    EXPECT_EQ(before + 700, view.rightmostTime());
}

TEST_F(TimeLineViewTest, NothingRunsWhenNothingMovesOrNobodyLooks) {
    EXPECT_FALSE(view.isTicking());
    append(taps(1000000, 5));
    EXPECT_FALSE(view.isTicking());
    append({keyEvent(KX::KEY_PRESS_EVENT, 1001000)});
    EXPECT_TRUE(view.isTicking());
    view.hide();
    EXPECT_FALSE(view.isTicking());
    view.append({keyEvent(KX::KEY_PRESS_EVENT, 1001000, keyB)});
    EXPECT_FALSE(view.isTicking());
    view.show();
    EXPECT_TRUE(view.isTicking());
    view.scrollBack();
    waitForPace();
    EXPECT_FALSE(view.isTicking()) << "the past does not change";
}

TEST_F(TimeLineViewTest, TimeOfARecordingIsCountedFromItsNewestEvent) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 77)}); // far from this machine's tick
    KX::KXSimulation::advance(100);
    EXPECT_NEAR(177, static_cast<double>(view.rightmostTime()), static_cast<double>(view.visibleMs()) / 20);
}

TEST_F(TimeLineViewTest, ZoomsInStepsUpToItsEnds) {
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

TEST_F(TimeLineViewTest, ScrolledBackItStandsStillUntilItFollowsAgain) {
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

TEST_F(TimeLineViewTest, ScrollingForwardEndsAtTheNewestTimeAndBackAtTheOldest) {
    append(taps(1000000, 100));
    view.scrollBack();
    view.scrollForward();
    EXPECT_TRUE(view.isFollowing());
    for (int step = 0; step < 50; ++step)
        view.scrollBack();
    EXPECT_EQ(1000000 + view.visibleMs() / 10, view.rightmostTime());
}

TEST_F(TimeLineViewTest, AFingerDragsTime) {
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

TEST_F(TimeLineViewTest, DraggingMovesWhatIsUnderTheFinger) {
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000), keyEvent(KX::KEY_RELEASE_EVENT, 1000300)});
    append({keyEvent(KX::KEY_PRESS_EVENT, 1004000), keyEvent(KX::KEY_RELEASE_EVENT, 1004300)});
    const int before = xAt(1000100);
    drag(300, 400);
    EXPECT_NEAR(before + 100, xAt(1000100), 1);
    EXPECT_GE(pixelsAt(picture(), 1000100, press), 8);
}

TEST_F(TimeLineViewTest, TakesNoFocus) {
    for (const QWidget* widget : view.findChildren<QWidget*>())
        EXPECT_EQ(Qt::NoFocus, widget->focusPolicy()) << widget->metaObject()->className();
    EXPECT_EQ(Qt::NoFocus, view.focusPolicy());
}

TEST_F(TimeLineViewTest, FitsASmallScreenAndALargeOne) {
    for (const QSize size : {QSize(780, 240), QSize(1000, 310)}) {
        showAt(size);
        EXPECT_EQ(size, view.size());
        EXPECT_GE(view.timeArea().height(), 7 * KeyLanesItem::rowHeightLeast) << size.width() << " pixels wide";
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
    const auto few = timeToPaint();
    append(taps(1000000 + 25000, 4750));
    const auto many = timeToPaint();
    EXPECT_LE(many.count(), 2 * few.count());
}

TEST_F(TimeLineViewTest, RepaintsAreFarApartWhileEventsRushIn) {
    class Repaints : public QObject {
    public:
        int count = 0;

    protected:
        bool eventFilter(QObject* /*watched*/, QEvent* event) override {
            count += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
    } repaints;
    view.installEventFilter(&repaints);
    append({keyEvent(KX::KEY_PRESS_EVENT, 1000000)});
    QElapsedTimer elapsed;
    elapsed.start();
    repaints.count = 0;
    while (elapsed.elapsed() < 400) {
        view.append({keyEvent(KX::KEY_LONG_PRESS_EVENT, 1000000)});
        QTest::qWait(1);
    }
    EXPECT_GT(repaints.count, 2);
    EXPECT_LE(repaints.count, 2 + elapsed.elapsed() / DisplayPace::shortestIntervalMs);
}
