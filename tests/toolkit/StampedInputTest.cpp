#include "tests/toolkit/InputFilterFixture.h"

namespace KX {
namespace {

using testing::ElementsAre;

// A window system that says when an input was made, as X11 does.
class StampedInputTest : public InputFilterTest {
protected:
    StampedInputTest() : InputFilterTest({true, true}) {
        KXSimulation::setTick(10000);
        reports.clear();
    }

    void sendStamped(QInputEvent& event, unsigned long stamp) {
        event.setTimestamp(stamp);
        QCoreApplication::sendEvent(native(), &event);
    }

    void sendMouseAt(unsigned long stamp, QEvent::Type type, const QPoint& position = inside,
                     Qt::MouseButtons buttons = Qt::NoButton) {
        const bool move = type == QEvent::MouseMove;
        QMouseEvent event(type, position, window.mapToGlobal(position), move ? Qt::NoButton : Qt::LeftButton,
                          buttons, Qt::NoModifier);
        sendStamped(event, stamp);
    }

    std::vector<unsigned int> ticks() const {
        std::vector<unsigned int> all;
        for (const Reported& report : reports)
            all.push_back(report.tick);
        return all;
    }
};

TEST_F(StampedInputTest, EachKindOfInputHasItsOwnTime) {
    sendKey(QEvent::KeyPress, 9000, Qt::Key_Home);
    sendKey(QEvent::KeyRelease, 9050, Qt::Key_Home);
    sendMouseAt(9100, QEvent::MouseButtonPress);
    sendMouseAt(9200, QEvent::MouseMove, inside + QPoint(50, 0), Qt::LeftButton);
    sendMouseAt(9300, QEvent::MouseButtonRelease);
    sendMouseAt(9400, QEvent::MouseButtonDblClick);
    sendMouseAt(9450, QEvent::MouseButtonRelease, outside);
    QWheelEvent turn(inside, window.mapToGlobal(inside), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                     Qt::NoScrollPhase, false);
    sendStamped(turn, 9500);
    EXPECT_THAT(ticks(), ElementsAre(9000U, 9050U, 9100U, 9200U, 9300U, 9400U, 9450U, 9500U));
    EXPECT_EQ(TOOLKIT_MOUSE_ESCAPE_EVENT, reports[6].type);
}

// The Menu key brings such an event, without a time, before its press.
TEST_F(StampedInputTest, AnEventThatIsNotReportedDoesNotMoveTheClock) {
    sendKey(QEvent::KeyPress, 9000, Qt::Key_Home);
    QContextMenuEvent menu(QContextMenuEvent::Keyboard, inside, window.mapToGlobal(inside));
    sendStamped(menu, 0);
    sendKey(QEvent::KeyRelease, 9050, Qt::Key_Home);
    EXPECT_THAT(ticks(), ElementsAre(9000U, 9050U));
}

TEST_F(StampedInputTest, ASuspectedReleaseKeepsItsTime) {
    sendKey(QEvent::KeyPress, 9000);
    sendKey(QEvent::KeyRelease, 9500);
    KXSimulation::setTick(10040);
    EXPECT_TRUE(QTest::qWaitFor([this] { return reports.size() == 2; }));
    EXPECT_EQ(TOOLKIT_KEY_RELEASE_EVENT, lastReport.eventType);
    EXPECT_EQ(9500U, lastReport.timeStamp);
}

TEST_F(StampedInputTest, AutoRepeatHasItsOwnTimes) {
    sendKey(QEvent::KeyPress, 9000);
    sendKey(QEvent::KeyRelease, 9500);
    sendKey(QEvent::KeyPress, 9500);
    sendKey(QEvent::KeyRelease, 9540);
    turnWheel(120);
    EXPECT_THAT(ticks(), ElementsAre(9000U, 9500U, 9500U, 9540U, 10000U));
    EXPECT_EQ(TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, reports[2].type);
    EXPECT_EQ(TOOLKIT_KEY_RELEASE_EVENT, reports[3].type);
}

TEST_F(StampedInputTest, ATouchHasItsOwnTime) {
    // Qt makes the mouse events of a touch. They must have its time.
    class Stamps : public QObject {
    public:
        bool eventFilter(QObject* /*receiver*/, QEvent* event) override {
            if (event->type() == QEvent::TouchBegin)
                ofTouch = static_cast<QInputEvent*>(event)->timestamp();
            if (event->type() == QEvent::MouseButtonPress)
                ofPress = static_cast<QInputEvent*>(event)->timestamp();
            return false;
        }
        quint64 ofTouch = 0;
        quint64 ofPress = 0;
    } stamps;
    native()->installEventFilter(&stamps);
    const QPoint farFromOtherClicks(300, 50); // else Qt may take it for the second half of a double click
    auto* const screen = QTest::createTouchDevice();
    KXSimulation::setTick(50000); // Qt counts from the start of the program
    QTest::touchEvent(native(), screen).press(0, farFromOtherClicks, native());
    QTest::touchEvent(native(), screen).release(0, farFromOtherClicks, native());
    EXPECT_NE(0U, stamps.ofTouch);
    EXPECT_EQ(stamps.ofTouch, stamps.ofPress);
    ASSERT_EQ(2U, reports.size());
    EXPECT_EQ(stamps.ofTouch, reports[0].tick);
}

TEST_F(StampedInputTest, WhatNoInputCausedIsMadeWhenItIsReported) {
    sendKey(QEvent::KeyPress, 9000);
    sendMouseAt(9100, QEvent::MouseButtonPress);
    send(&window, QEvent::WindowDeactivate);
    EXPECT_THAT(ticks(), ElementsAre(9000U, 9100U, 10000U, 10000U));
}

TEST_F(StampedInputTest, AKeyOfTheLibraryIsMadeWhenItIsReported) {
    QCoreApplication::postEvent(&window, new QKeyEvent(QEvent::KeyPress, Qt::Key_Home, Qt::NoModifier));
    QCoreApplication::processEvents();
    EXPECT_THAT(ticks(), ElementsAre(10000U));
}

TEST_F(StampedInputTest, NoTimeIsBeforeThatOfAnEarlierReport) {
    QCoreApplication::postEvent(&window, new QKeyEvent(QEvent::KeyPress, Qt::Key_Home, Qt::NoModifier));
    QCoreApplication::processEvents();
    sendKey(QEvent::KeyPress, 9000);
    EXPECT_THAT(ticks(), ElementsAre(10000U, 10000U));
}

TEST_F(StampedInputTest, APointerThatEntersTakesNoPressItsTime) {
    QEnterEvent enter(inside, inside, inside);
    QCoreApplication::sendEvent(native(), &enter);
    EXPECT_EQ(10000U, lastReport.timeStamp);
    sendMouseAt(9100, QEvent::MouseButtonPress);
    EXPECT_EQ(9100U, lastReport.timeStamp);
    send(native(), QEvent::Leave);
    EXPECT_EQ(10000U, lastReport.timeStamp);
    sendMouseAt(9500, QEvent::MouseButtonRelease);
    EXPECT_EQ(9500U, lastReport.timeStamp);
}

TEST_F(StampedInputTest, AWindowThatLosesNothingTakesNoPressItsTime) {
    send(&window, QEvent::WindowBlocked);
    sendMouseAt(9100, QEvent::MouseButtonPress);
    EXPECT_THAT(ticks(), ElementsAre(9100U));
}

} // namespace
} // namespace KX
