#include "terminal/session/ToolkitLayer.h"

#include "events/KXEventType.h"
#include "platform/simulated/KXSimulation.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>
#include <QtTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <vector>

using namespace Terminal;

using KX::KXSimulation;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Reported {
    int type;
    long long what; // key of the toolkit, or button
};

bool operator==(const Reported& left, const Reported& right) {
    return left.type == right.type && left.what == right.what;
}

std::ostream& operator<<(std::ostream& stream, const Reported& reported) {
    return stream << KX::translateEventTypeToString(reported.type) << " of " << reported.what;
}

constexpr int width = 400;
constexpr int height = 300;
const QPoint inside(200, 200);
const QPoint outside(width + 5, 200);

// A window with a button and a text field on a display without a screen. The operator's input goes to the native
// window, where the window system would deliver it.
class ToolkitLayerTest : public testing::Test {
protected:
    explicit ToolkitLayerTest(ToolkitLayer::Repeats repeats = ToolkitLayer::Repeats::MayLookTyped)
        : layer(
              window, [this](KX::KXToolkitEvent& event) { take(event); }, repeats) {
        KXSimulation::reset();
        window.resize(width, height);
        button.setGeometry(10, 10, 100, 50);
        button.setFocusPolicy(Qt::NoFocus);
        field.setGeometry(10, 100, 100, 30);
        field.clearFocus();
        window.show();
        window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        window.setFocus();
        reports.clear();
    }

    QWindow* native() const { return window.windowHandle(); }

    void take(const KX::KXToolkitEvent& event) {
        EXPECT_EQ(2, event.eventClass);
        lastReport = event;
        // The pointer may be anywhere on this display.
        if (event.eventType == KX::TOOLKIT_MOUSE_ENTER_EVENT || event.eventType == KX::TOOLKIT_MOUSE_EXIT_EVENT)
            return;
        const bool key = event.osKeyCode != -1;
        reports.push_back({event.eventType, key ? event.osKeyCode : static_cast<long long>(event.eventData[1])});
    }

    void turnWheel(int angle) {
        QWheelEvent turn(inside, window.mapToGlobal(inside), QPoint(), QPoint(0, angle), Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(native(), &turn);
    }

    void sendKey(QEvent::Type type, unsigned long windowSystemTime, Qt::Key key = Qt::Key_End) {
        QKeyEvent event(type, key, Qt::NoModifier);
        event.setTimestamp(windowSystemTime);
        QCoreApplication::sendEvent(native(), &event);
    }

    // Bypasses the window system, which would add double clicks and moves.
    void sendMouse(QEvent::Type type, const QPoint& position, Qt::MouseButton mouseButton = Qt::LeftButton) {
        QMouseEvent event(type, position, mouseButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(native(), &event);
    }

    void moveTo(const QPoint& position, Qt::MouseButtons buttons) {
        QMouseEvent move(QEvent::MouseMove, position, Qt::NoButton, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(native(), &move);
    }

    void send(QObject* receiver, QEvent::Type type) {
        QEvent event(type);
        QCoreApplication::sendEvent(receiver, &event);
    }

    QWidget window;
    QPushButton button{&window};
    QLineEdit field{&window};
    std::vector<Reported> reports;
    KX::KXToolkitEvent lastReport;
    ToolkitLayer layer;
};

class MarkedRepeatsTest : public ToolkitLayerTest {
protected:
    MarkedRepeatsTest() : ToolkitLayerTest(ToolkitLayer::Repeats::AreMarked) {}
};

} // namespace

TEST_F(ToolkitLayerTest, ReportsAKeyWithTheToolkitsCodeAndTheTick) {
    KXSimulation::setTick(4711);
    QTest::keyPress(native(), Qt::Key_Up);
    EXPECT_EQ(4711U, lastReport.timeStamp);
    QTest::keyRelease(native(), Qt::Key_Up);
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Up},
                                     Reported{KX::TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Up}));
    EXPECT_EQ(-1, lastReport.keyCode);
    EXPECT_EQ(-1, lastReport.count);
}

TEST_F(ToolkitLayerTest, ReportsAutoRepeatAsSuch) {
    for (const QEvent::Type type : {QEvent::KeyRelease, QEvent::KeyPress}) {
        QKeyEvent repeat(type, Qt::Key_End, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(native(), &repeat);
    }
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, Qt::Key_End},
                                     Reported{KX::TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, Qt::Key_End}));
}

TEST_F(ToolkitLayerTest, AReleaseAndAPressOfTheSameTimeAreAutoRepeat) {
    sendKey(QEvent::KeyPress, 1000);
    for (const unsigned long repeated : {1500UL, 1540UL}) {
        sendKey(QEvent::KeyRelease, repeated);
        sendKey(QEvent::KeyPress, repeated);
    }
    const Reported repeatRelease{KX::TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, Qt::Key_End};
    const Reported repeatPress{KX::TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, Qt::Key_End};
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End}, repeatRelease,
                                     repeatPress, repeatRelease, repeatPress));
}

TEST_F(MarkedRepeatsTest, TwoTapsThatWereReadLateStayTaps) {
    for (const unsigned long time : {1000UL, 1100UL}) {
        sendKey(QEvent::KeyPress, time);
        sendKey(QEvent::KeyRelease, 1100);
    }
    const Reported press{KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End};
    const Reported release{KX::TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End};
    EXPECT_THAT(reports, ElementsAre(press, release, press, release));
}

TEST_F(ToolkitLayerTest, AReleaseThatNoPressFollowsIsReportedWithItsOwnTime) {
    sendKey(QEvent::KeyPress, 1000);
    KXSimulation::setTick(77);
    sendKey(QEvent::KeyRelease, 3300);
    KXSimulation::setTick(99);
    EXPECT_EQ(1U, reports.size());
    EXPECT_TRUE(QTest::qWaitFor([this] { return reports.size() == 2; }));
    EXPECT_EQ(KX::TOOLKIT_KEY_RELEASE_EVENT, lastReport.eventType);
    EXPECT_EQ(77U, lastReport.timeStamp);
}

TEST_F(ToolkitLayerTest, AReleaseThatAPressOfAnotherTimeFollowsIsReportedBeforeIt) {
    sendKey(QEvent::KeyPress, 1000);
    sendKey(QEvent::KeyRelease, 3300);
    sendKey(QEvent::KeyPress, 3301);
    const Reported press{KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End};
    EXPECT_THAT(reports, ElementsAre(press, Reported{KX::TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}, press));
}

TEST_F(ToolkitLayerTest, AReleaseIsReportedBeforeWhateverComesNext) {
    sendKey(QEvent::KeyPress, 1000);
    sendKey(QEvent::KeyRelease, 3300);
    turnWheel(120);
    ASSERT_EQ(3U, reports.size());
    EXPECT_EQ(KX::TOOLKIT_KEY_RELEASE_EVENT, reports[1].type);
    EXPECT_EQ(KX::TOOLKIT_WHEEL_EVENT, reports[2].type);
}

TEST_F(ToolkitLayerTest, TheReleaseOfATapIsReportedAtOnce) {
    for (const int heldMs : {ToolkitLayer::shortestRepeatDelayMs - 1, ToolkitLayer::shortestRepeatDelayMs}) {
        reports.clear();
        sendKey(QEvent::KeyPress, 5000);
        sendKey(QEvent::KeyRelease, 5000UL + static_cast<unsigned long>(heldMs));
        EXPECT_EQ(heldMs < ToolkitLayer::shortestRepeatDelayMs ? 2U : 1U, reports.size()) << "held for " << heldMs;
    }
}

TEST_F(ToolkitLayerTest, ReportsAKeyThatTheLibraryPostsToTheWindow) {
    QCoreApplication::postEvent(&window, new QKeyEvent(QEvent::KeyPress, Qt::Key_Home, Qt::NoModifier));
    QCoreApplication::postEvent(&window, new QKeyEvent(QEvent::KeyRelease, Qt::Key_Home, Qt::NoModifier));
    QCoreApplication::processEvents();
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home},
                                     Reported{KX::TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Home}));
}

TEST_F(ToolkitLayerTest, KeysReachNoWidget) {
    button.setFocusPolicy(Qt::StrongFocus);
    button.setFocus();
    bool clicked = false;
    QObject::connect(&button, &QPushButton::clicked, [&] { clicked = true; });
    QTest::keyClick(native(), Qt::Key_Space);
    QTest::keyClick(native(), Qt::Key_Tab);
    EXPECT_EQ(4U, reports.size());
    EXPECT_FALSE(clicked);
    EXPECT_TRUE(button.hasFocus());
}

TEST_F(ToolkitLayerTest, KeysAreThoseOfAFieldForTextWhileItHasTheFocus) {
    field.setFocus();
    QTest::keyClick(native(), Qt::Key_7, Qt::NoModifier);
    QTest::keyClick(native(), Qt::Key_Escape);
    EXPECT_EQ("7", field.text().toStdString());
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ToolkitLayerTest, AKeyThatWasReportedIsReportedAsReleasedInAFieldForTextToo) {
    QTest::keyPress(native(), Qt::Key_End);
    field.setFocus();
    QTest::keyRelease(native(), Qt::Key_End);
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End},
                                     Reported{KX::TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}));
}

TEST_F(ToolkitLayerTest, KeysHeldWhenTheWindowStopsBeingActiveAreReleased) {
    QTest::keyPress(native(), Qt::Key_End);
    send(&window, QEvent::WindowDeactivate);
    send(&window, QEvent::WindowDeactivate);
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End},
                                     Reported{KX::TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}));
}

TEST_F(ToolkitLayerTest, ReportsAMouseButtonOnceAndLetsTheWidgetReact) {
    KXSimulation::setTick(99);
    bool clicked = false;
    QObject::connect(&button, &QPushButton::clicked, [&] { clicked = true; });
    QTest::mouseClick(native(), Qt::LeftButton, Qt::NoModifier, button.geometry().center());
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{KX::TOOLKIT_MOUSE_RELEASE_EVENT, Qt::LeftButton}));
    EXPECT_EQ(99U, lastReport.timeStamp);
    EXPECT_EQ(-1, lastReport.osKeyCode);
    EXPECT_TRUE(clicked);
}

TEST_F(ToolkitLayerTest, ADoubleClickIsTwoPresses) {
    QTest::mouseDClick(native(), Qt::LeftButton, Qt::NoModifier, inside);
    std::vector<Reported> counted;
    for (const Reported& report : reports)
        if (report.type != KX::TOOLKIT_MOUSE_DOUBLE_PRESS_EVENT) // the manager ignores it
            counted.push_back(report);
    const Reported press{KX::TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton};
    const Reported release{KX::TOOLKIT_MOUSE_RELEASE_EVENT, Qt::LeftButton};
    EXPECT_THAT(counted, ElementsAre(press, release, press, release));
}

TEST_F(ToolkitLayerTest, ADoubleClickInsteadOfTheSecondPressIsAPress) {
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                    QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease})
        sendMouse(type, inside, Qt::RightButton);
    const Reported press{KX::TOOLKIT_MOUSE_PRESS_EVENT, Qt::RightButton};
    const Reported release{KX::TOOLKIT_MOUSE_RELEASE_EVENT, Qt::RightButton};
    EXPECT_THAT(reports, ElementsAre(press, release, press, release));
}

TEST_F(ToolkitLayerTest, APressOutsideTheWindowIsNotReported) {
    sendMouse(QEvent::MouseButtonPress, outside);
    sendMouse(QEvent::MouseButtonRelease, inside);
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ToolkitLayerTest, AReleaseOutsideTheWindowIsAnEscape) {
    sendMouse(QEvent::MouseButtonPress, inside);
    sendMouse(QEvent::MouseButtonRelease, outside);
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{KX::TOOLKIT_MOUSE_ESCAPE_EVENT, Qt::LeftButton}));
}

TEST_F(ToolkitLayerTest, APressThatIsTakenAwayIsAnEscapeAndItsReleaseIsNothing) {
    struct Case {
        const char* name;
        QObject* receiver;
        QEvent::Type type;
    };
    for (const Case& taken :
         {Case{"touch cancelled", native(), QEvent::TouchCancel},
          Case{"window not active", &window, QEvent::WindowDeactivate},
          Case{"window blocked", &window, QEvent::WindowBlocked}, Case{"window hidden", &window, QEvent::Hide}}) {
        SCOPED_TRACE(taken.name);
        reports.clear();
        sendMouse(QEvent::MouseButtonPress, inside);
        if (taken.type == QEvent::TouchCancel) {
            QTouchEvent cancel(QEvent::TouchCancel);
            QCoreApplication::sendEvent(taken.receiver, &cancel);
        } else {
            send(taken.receiver, taken.type);
        }
        sendMouse(QEvent::MouseButtonRelease, inside);
        EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                         Reported{KX::TOOLKIT_MOUSE_ESCAPE_EVENT, Qt::LeftButton}));
    }
}

TEST_F(ToolkitLayerTest, ALostReleaseIsAnEscapeAsSoonAsAMoveTells) {
    sendMouse(QEvent::MouseButtonPress, inside);
    moveTo(inside + QPoint(50, 0), Qt::NoButton);
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{KX::TOOLKIT_MOUSE_ESCAPE_EVENT, Qt::LeftButton}));
}

TEST_F(ToolkitLayerTest, ATouchIsTheLeftButton) {
    QTouchDevice* screen = QTest::createTouchDevice();
    QTest::touchEvent(native(), screen).press(0, inside, native());
    QTest::touchEvent(native(), screen).release(0, inside, native());
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{KX::TOOLKIT_MOUSE_RELEASE_EVENT, Qt::LeftButton}));
}

TEST_F(ToolkitLayerTest, MovesAreReportedWhileAButtonIsDown) {
    moveTo(inside, Qt::NoButton);
    moveTo(inside + QPoint(50, 0), Qt::NoButton);
    EXPECT_THAT(reports, IsEmpty());
    sendMouse(QEvent::MouseButtonPress, inside, Qt::RightButton);
    moveTo(inside + QPoint(50, 0), Qt::RightButton);
    EXPECT_THAT(reports, ElementsAre(Reported{KX::TOOLKIT_MOUSE_PRESS_EVENT, Qt::RightButton},
                                     Reported{KX::TOOLKIT_MOUSE_MOVE_EVENT, Qt::RightButton}));
}

TEST_F(ToolkitLayerTest, AFingerAtRestIsSilentUpToTheMoveDistance) {
    sendMouse(QEvent::MouseButtonPress, inside);
    reports.clear();
    moveTo(inside + QPoint(ToolkitLayer::moveDistance - 1, 0), Qt::LeftButton);
    moveTo(inside - QPoint(0, ToolkitLayer::moveDistance - 1), Qt::LeftButton);
    EXPECT_THAT(reports, IsEmpty());
    moveTo(inside + QPoint(0, ToolkitLayer::moveDistance), Qt::LeftButton);
    EXPECT_EQ(1U, reports.size());
    moveTo(inside + QPoint(1, ToolkitLayer::moveDistance), Qt::LeftButton);
    EXPECT_EQ(1U, reports.size()) << "the distance counts from the last report";
    moveTo(inside + QPoint(2, 2 * ToolkitLayer::moveDistance), Qt::LeftButton);
    EXPECT_EQ(2U, reports.size());
}

TEST_F(ToolkitLayerTest, AWheelTurnCarriesItsStepsAndTheStepKeyOfItsDirection) {
    turnWheel(120);
    EXPECT_EQ(KX::TOOLKIT_WHEEL_EVENT, lastReport.eventType);
    EXPECT_EQ(1, lastReport.count);
    EXPECT_EQ(4, lastReport.keyCode);
    turnWheel(-360);
    EXPECT_EQ(3, lastReport.count);
    EXPECT_EQ(5, lastReport.keyCode);
    EXPECT_EQ(2U, reports.size());
}

TEST_F(ToolkitLayerTest, AFineWheelIsReportedByWholeDetents) {
    for (int turn = 0; turn < 7; ++turn)
        turnWheel(15);
    EXPECT_THAT(reports, IsEmpty());
    turnWheel(15);
    EXPECT_EQ(1U, reports.size());
    EXPECT_EQ(1, lastReport.count);
}

TEST_F(ToolkitLayerTest, EnteringAndLeavingTheWindowIsReported) {
    send(native(), QEvent::Leave);
    EXPECT_EQ(KX::TOOLKIT_MOUSE_EXIT_EVENT, lastReport.eventType);
    QEnterEvent enter(inside, inside, inside);
    QCoreApplication::sendEvent(native(), &enter);
    EXPECT_EQ(KX::TOOLKIT_MOUSE_ENTER_EVENT, lastReport.eventType);
}

TEST_F(ToolkitLayerTest, InputOfOtherWindowsIsNotReported) {
    QWidget other;
    other.resize(width, height);
    other.show();
    reports.clear();
    QTest::mouseClick(other.windowHandle(), Qt::LeftButton, Qt::NoModifier, inside);
    QTest::keyClick(other.windowHandle(), Qt::Key_Up);
    EXPECT_THAT(reports, IsEmpty());
}
