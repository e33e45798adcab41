#include "tests/toolkit/InputFilterFixture.h"
#include "toolkit/InputOwners.h"

#include <QApplication>

#include <memory>
#include <vector>

namespace KX {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MarkedRepeatsTest : public InputFilterTest {
protected:
    MarkedRepeatsTest() : InputFilterTest({false, false}) {}
};

TEST_F(InputFilterTest, ReportsAKeyWithTheToolkitsCodeAndTheTick) {
    KXSimulation::setTick(4711);
    QTest::keyPress(native(), Qt::Key_Up);
    EXPECT_EQ(4711U, lastReport.timeStamp);
    QTest::keyRelease(native(), Qt::Key_Up);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Up},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Up}));
    EXPECT_EQ(-1, lastReport.keyCode);
    EXPECT_EQ(-1, lastReport.count);
}

TEST_F(InputFilterTest, ReportsAutoRepeatAsSuch) {
    for (const QEvent::Type type : {QEvent::KeyRelease, QEvent::KeyPress}) {
        QKeyEvent repeat(type, Qt::Key_End, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(native(), &repeat);
    }
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, Qt::Key_End},
                                     Reported{TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, Qt::Key_End}));
}

// Shift is let go before the key.
TEST_F(InputFilterTest, AReleaseWithAnotherModifierEndsThePressOfTheSameKey) {
    constexpr quint32 scanCode = 10;
    const auto send = [this](QEvent::Type type, int key, unsigned long time) {
        QKeyEvent event(type, key, Qt::NoModifier, scanCode, 0, 0);
        event.setTimestamp(time);
        QCoreApplication::sendEvent(native(), &event);
    };
    send(QEvent::KeyPress, Qt::Key_Exclam, 1000);
    send(QEvent::KeyRelease, Qt::Key_1, 1050);
    send(QEvent::KeyPress, Qt::Key_1, 2000);
    send(QEvent::KeyRelease, Qt::Key_1, 2050);
    const Reported repeatRelease{TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, Qt::Key_Exclam};
    const Reported repeatPress{TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, Qt::Key_Exclam};
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Exclam},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Exclam},
                                     Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_1},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_1}));
    reports.clear();
    send(QEvent::KeyPress, Qt::Key_Exclam, 3000);
    send(QEvent::KeyRelease, Qt::Key_1, 3500);
    send(QEvent::KeyPress, Qt::Key_1, 3500);
    send(QEvent::KeyRelease, Qt::Key_1, 3540);
    turnWheel(120); // whatever is held back comes first
    ASSERT_EQ(5U, reports.size());
    EXPECT_EQ(repeatRelease, reports[1]);
    EXPECT_EQ(repeatPress, reports[2]);
    EXPECT_EQ((Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Exclam}), reports[3]);
}

TEST_F(InputFilterTest, AReleaseAndAPressOfTheSameTimeAreAutoRepeat) {
    sendKey(QEvent::KeyPress, 1000);
    for (const unsigned long repeated : {1500UL, 1540UL}) {
        sendKey(QEvent::KeyRelease, repeated);
        sendKey(QEvent::KeyPress, repeated);
    }
    const Reported repeatRelease{TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, Qt::Key_End};
    const Reported repeatPress{TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, Qt::Key_End};
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End}, repeatRelease, repeatPress,
                                     repeatRelease, repeatPress));
}

TEST_F(MarkedRepeatsTest, TwoTapsThatWereReadLateStayTaps) {
    for (const unsigned long time : {1000UL, 1100UL}) {
        sendKey(QEvent::KeyPress, time);
        sendKey(QEvent::KeyRelease, 1100);
    }
    const Reported press{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End};
    const Reported release{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End};
    EXPECT_THAT(reports, ElementsAre(press, release, press, release));
}

TEST_F(InputFilterTest, AReleaseThatNoPressFollowsIsReportedWithItsOwnTime) {
    sendKey(QEvent::KeyPress, 1000);
    KXSimulation::setTick(77);
    sendKey(QEvent::KeyRelease, 3300);
    KXSimulation::setTick(77 + InputFilter::lateMs - 1);
    EXPECT_EQ(1U, reports.size());
    EXPECT_TRUE(QTest::qWaitFor([this] { return reports.size() == 2; }));
    EXPECT_EQ(TOOLKIT_KEY_RELEASE_EVENT, lastReport.eventType);
    EXPECT_EQ(77U, lastReport.timeStamp);
}

// The machine is so busy that every timer is late by its ticks. Then a press of the same time may still come.
TEST_F(InputFilterTest, AReleaseIsNotJudgedByATimerThatWasLate) {
    sendKey(QEvent::KeyPress, 1000);
    sendKey(QEvent::KeyRelease, 1500);
    QTimer busyMachine;
    QObject::connect(&busyMachine, &QTimer::timeout, &window, [] { KXSimulation::advance(InputFilter::lateMs); });
    busyMachine.start(1);
    QTest::qWait(4 * InputFilter::suspicionMs);
    busyMachine.stop();
    sendKey(QEvent::KeyPress, 1500);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End},
                                     Reported{TOOLKIT_KEY_AUTO_REPEAT_RELEASE_EVENT, Qt::Key_End},
                                     Reported{TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, Qt::Key_End}));
}

// Counts how often the timer of a release that may be auto-repeat has ended.
class SuspicionEnds : public QObject {
public:
    SuspicionEnds() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject* receiver, QEvent* event) override {
        const auto* const timer = event->type() == QEvent::Timer ? qobject_cast<QTimer*>(receiver) : nullptr;
        if (timer && timer->interval() == InputFilter::suspicionMs)
            ++count;
        return false;
    }

    int count = 0;
};

TEST_F(InputFilterTest, AReleaseWaitsOnceMoreForATimerThatWasLateAndIsThenReported) {
    for (const int tookMs : {InputFilter::lateMs - 1, InputFilter::lateMs, InputFilter::lateMs + 1}) {
        SCOPED_TRACE(tookMs);
        reports.clear();
        sendKey(QEvent::KeyPress, 1000);
        KXSimulation::setTick(77);
        sendKey(QEvent::KeyRelease, 3300);
        KXSimulation::setTick(77 + static_cast<unsigned int>(tookMs));
        SuspicionEnds ends;
        EXPECT_TRUE(QTest::qWaitFor([this] { return reports.size() == 2; }, 30000));
        EXPECT_EQ(TOOLKIT_KEY_RELEASE_EVENT, lastReport.eventType);
        EXPECT_EQ(tookMs < InputFilter::lateMs ? 1 : 2, ends.count);
    }
}

TEST_F(InputFilterTest, TheTimesOfAutoRepeatAreThosePromised) {
    EXPECT_EQ(100, InputFilter::shortestRepeatDelayMs);
    EXPECT_EQ(50, InputFilter::suspicionMs);
    EXPECT_EQ(150, InputFilter::lateMs + InputFilter::suspicionMs) << "on a busy machine";
}

TEST_F(InputFilterTest, AReleaseThatAPressOfAnotherTimeFollowsIsReportedBeforeIt) {
    sendKey(QEvent::KeyPress, 1000);
    sendKey(QEvent::KeyRelease, 3300);
    sendKey(QEvent::KeyPress, 3301);
    const Reported press{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End};
    EXPECT_THAT(reports, ElementsAre(press, Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}, press));
}

TEST_F(InputFilterTest, AKeyThatIsPressedAgainBehindAReleaseThatWaitsIsHeld) {
    sendKey(QEvent::KeyPress, 1000);
    sendKey(QEvent::KeyRelease, 3300);
    sendKey(QEvent::KeyPress, 3301);
    reports.clear();
    send(&window, QEvent::WindowDeactivate);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}));
}

TEST_F(InputFilterTest, AReleaseThatWaitsIsReportedBeforeThatOfAnotherKey) {
    sendKey(QEvent::KeyPress, 1000, Qt::Key_Home);
    sendKey(QEvent::KeyPress, 1010, Qt::Key_End);
    reports.clear();
    sendKey(QEvent::KeyRelease, 3300, Qt::Key_Home);
    sendKey(QEvent::KeyRelease, 3310, Qt::Key_End);
    turnWheel(120); // whatever is held back comes first
    ASSERT_EQ(3U, reports.size());
    EXPECT_EQ((Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Home}), reports[0]);
    EXPECT_EQ((Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}), reports[1]);
}

TEST_F(InputFilterTest, AReleaseThatWaitsIsReportedOnceWhenTheWindowStopsBeingActive) {
    sendKey(QEvent::KeyPress, 1000);
    KXSimulation::setTick(77);
    sendKey(QEvent::KeyRelease, 3300);
    KXSimulation::setTick(99);
    send(&window, QEvent::WindowDeactivate);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}));
    EXPECT_EQ(77U, lastReport.timeStamp);
}

TEST_F(InputFilterTest, AReleaseIsReportedBeforeWhateverComesNext) {
    sendKey(QEvent::KeyPress, 1000);
    sendKey(QEvent::KeyRelease, 3300);
    turnWheel(120);
    ASSERT_EQ(3U, reports.size());
    EXPECT_EQ(TOOLKIT_KEY_RELEASE_EVENT, reports[1].type);
    EXPECT_EQ(TOOLKIT_WHEEL_EVENT, reports[2].type);
}

TEST_F(InputFilterTest, TheReleaseOfATapIsReportedAtOnce) {
    for (const int heldMs : {InputFilter::shortestRepeatDelayMs - 1, InputFilter::shortestRepeatDelayMs}) {
        reports.clear();
        sendKey(QEvent::KeyPress, 5000);
        sendKey(QEvent::KeyRelease, 5000UL + static_cast<unsigned long>(heldMs));
        EXPECT_EQ(heldMs < InputFilter::shortestRepeatDelayMs ? 2U : 1U, reports.size()) << "held for " << heldMs;
    }
}

TEST_F(InputFilterTest, ReportsAKeyThatTheLibraryPostsToTheWindow) {
    QCoreApplication::postEvent(&window, new QKeyEvent(QEvent::KeyPress, Qt::Key_Home, Qt::NoModifier));
    QCoreApplication::postEvent(&window, new QKeyEvent(QEvent::KeyRelease, Qt::Key_Home, Qt::NoModifier));
    QCoreApplication::processEvents();
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Home}));
}

TEST_F(InputFilterTest, AKeyThatTheLibraryPostsStopsAtTheWindow) {
    ReceivedTypes received(window);
    postKeyOfLibrary(QEvent::KeyPress, Qt::Key_Home);
    EXPECT_EQ(1U, reports.size());
    EXPECT_EQ(0, received.count(QEvent::KeyPress));
}

// It has no time, so nobody can tell how long the key was held.
TEST_F(InputFilterTest, AReleaseThatTheLibraryPostsIsReportedAtOnce) {
    sendKey(QEvent::KeyPress, 1000, Qt::Key_Home);
    postKeyOfLibrary(QEvent::KeyRelease, Qt::Key_Home);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Home}));
}

TEST_F(InputFilterTest, KeysReachNoWidget) {
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

TEST_F(InputFilterTest, KeysAreThoseOfAFieldForTextWhileItHasTheFocus) {
    field.setFocus();
    QTest::keyClick(native(), Qt::Key_7, Qt::NoModifier);
    QTest::keyClick(native(), Qt::Key_Escape);
    EXPECT_EQ("7", field.text().toStdString());
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(InputFilterTest, KeysAreThoseOfAPopupWhileItIsOpen) {
    QWidget popup(&window, Qt::Popup);
    popup.show();
    ASSERT_EQ(&popup, QApplication::activePopupWidget());
    reports.clear();
    QTest::keyClick(native(), Qt::Key_Down);
    EXPECT_THAT(reports, IsEmpty());
    popup.hide();
    ASSERT_EQ(nullptr, QApplication::activePopupWidget());
    QTest::keyClick(native(), Qt::Key_Down);
    EXPECT_EQ(2U, reports.size());
}

TEST_F(InputFilterTest, AKeyThatWasReportedIsReportedAsReleasedInAFieldForTextToo) {
    QTest::keyPress(native(), Qt::Key_End);
    field.setFocus();
    QTest::keyRelease(native(), Qt::Key_End);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}));
}

TEST_F(InputFilterTest, KeysHeldWhenTheWindowStopsBeingActiveAreReleased) {
    QTest::keyPress(native(), Qt::Key_End);
    send(&window, QEvent::WindowDeactivate);
    send(&window, QEvent::WindowDeactivate);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}));
}

TEST_F(InputFilterTest, ButtonsAndThenKeysAreTakenAwayWithTheWindow) {
    sendKey(QEvent::KeyPress, 1000);
    sendMouse(QEvent::MouseButtonPress, inside);
    reports.clear();
    send(&window, QEvent::WindowDeactivate);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_MOUSE_ESCAPE_EVENT, Qt::LeftButton},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End}));
}

TEST_F(InputFilterTest, AKeyThatWasReleasedIsNotReleasedWithTheWindow) {
    for (const unsigned long heldMs : {10UL, 3000UL}) {
        sendKey(QEvent::KeyPress, 10000);
        sendKey(QEvent::KeyRelease, 10000 + heldMs);
        turnWheel(120); // whatever is held back comes first
        reports.clear();
        send(&window, QEvent::WindowDeactivate);
        EXPECT_THAT(reports, IsEmpty()) << "held for " << heldMs;
    }
}

TEST_F(InputFilterTest, AKeyThatTheWindowHasReleasedIsNotReleasedAgain) {
    const Reported press{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End};
    const Reported release{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_End};
    for (const unsigned long heldMs : {10UL, 3000UL}) {
        reports.clear();
        sendKey(QEvent::KeyPress, 10000);
        send(&window, QEvent::WindowBlocked);
        sendKey(QEvent::KeyRelease, 10000 + heldMs);
        turnWheel(120); // whatever is held back comes first
        ASSERT_EQ(3U, reports.size()) << "held for " << heldMs;
        EXPECT_EQ(release, reports[1]);
        reports.clear();
        sendKey(QEvent::KeyPress, 20000);
        sendKey(QEvent::KeyRelease, 20010);
        EXPECT_THAT(reports, ElementsAre(press, release)) << "the next press of the key";
    }
}

TEST_F(InputFilterTest, AKeyOfTheLibraryThatTheWindowHasReleasedIsNotReleasedAgain) {
    const auto post = [this](QEvent::Type type) {
        QCoreApplication::postEvent(&window, new QKeyEvent(type, Qt::Key_Home, Qt::NoModifier));
        QCoreApplication::processEvents();
    };
    post(QEvent::KeyPress);
    send(&window, QEvent::WindowDeactivate);
    post(QEvent::KeyRelease);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Home}));
}

TEST_F(InputFilterTest, AKeyThatTheWindowHasReleasedIsNotReleasedAgainByAnotherCode) {
    const auto send = [this](QEvent::Type type, int key) {
        QKeyEvent event(type, key, Qt::NoModifier, 10, 0, 0);
        QCoreApplication::sendEvent(native(), &event);
    };
    send(QEvent::KeyPress, Qt::Key_Exclam);
    InputFilterTest::send(&window, QEvent::WindowBlocked);
    send(QEvent::KeyRelease, Qt::Key_1);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Exclam},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Exclam}));
    send(QEvent::KeyPress, Qt::Key_Exclam);
    InputFilterTest::send(&window, QEvent::WindowBlocked); // and the release goes to the dialog
    reports.clear();
    send(QEvent::KeyPress, Qt::Key_1);
    send(QEvent::KeyRelease, Qt::Key_1);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_PRESS_EVENT, Qt::Key_1},
                                     Reported{TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_1}));
}

TEST_F(InputFilterTest, AFieldForTextGetsTheReleaseOfItsOwnPress) {
    QTest::keyPress(native(), Qt::Key_End);
    send(&window, QEvent::WindowBlocked); // and the release goes to the dialog
    field.setFocus();
    class ReleaseCount : public QObject {
    public:
        bool eventFilter(QObject*, QEvent* event) override {
            releases += event->type() == QEvent::KeyRelease;
            return false;
        }
        int releases = 0;
    } counter;
    field.installEventFilter(&counter);
    QTest::keyClick(native(), Qt::Key_End);
    EXPECT_EQ(1, counter.releases);
    EXPECT_EQ(2U, reports.size());
}

TEST_F(InputFilterTest, AFieldForTextGetsNoReleaseOfTheKeyThatRepeatsInIt) {
    QTest::keyPress(native(), Qt::Key_End);
    send(&window, QEvent::WindowBlocked); // and the dialog is gone before the key is let go
    field.setFocus();
    ReceivedTypes received(field);
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_End, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(native(), &repeat);
    EXPECT_EQ(1, received.count(QEvent::KeyPress));
    QTest::keyRelease(native(), Qt::Key_End);
    EXPECT_EQ(0, received.count(QEvent::KeyRelease)) << "it is that of the press that was reported";
    EXPECT_EQ(2U, reports.size());
}

TEST_F(InputFilterTest, OfTwoHeldKeysWithoutAScanCodeEachIsReleased) {
    for (const Qt::Key first : {Qt::Key_Home, Qt::Key_End}) {
        const Qt::Key second = first == Qt::Key_Home ? Qt::Key_End : Qt::Key_Home;
        sendKey(QEvent::KeyPress, 1000, Qt::Key_Home);
        sendKey(QEvent::KeyPress, 1010, Qt::Key_End);
        reports.clear();
        sendKey(QEvent::KeyRelease, 1020, first);
        sendKey(QEvent::KeyRelease, 1030, second);
        EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_KEY_RELEASE_EVENT, first},
                                         Reported{TOOLKIT_KEY_RELEASE_EVENT, second}));
    }
}

TEST_F(InputFilterTest, MouseAndTouchArePassedOn) {
    ReceivedTypes received(*native());
    sendMouse(QEvent::MouseButtonPress, inside);
    moveTo(inside + QPoint(20, 0), Qt::LeftButton);
    sendMouse(QEvent::MouseButtonRelease, inside);
    sendMouse(QEvent::MouseButtonDblClick, inside);
    sendMouse(QEvent::MouseButtonRelease, inside);
    QEnterEvent enter(inside, inside, inside);
    QCoreApplication::sendEvent(native(), &enter);
    send(native(), QEvent::Leave);
    QTouchEvent cancel(QEvent::TouchCancel, QTest::createTouchDevice());
    QCoreApplication::sendEvent(native(), &cancel);
    EXPECT_THAT(received.types,
                ElementsAre(QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseButtonRelease,
                            QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease, QEvent::Enter, QEvent::Leave,
                            QEvent::TouchCancel));
}

TEST_F(InputFilterTest, ReportsAMouseButtonOnceAndLetsTheWidgetReact) {
    KXSimulation::setTick(99);
    bool clicked = false;
    QObject::connect(&button, &QPushButton::clicked, [&] { clicked = true; });
    QTest::mouseClick(native(), Qt::LeftButton, Qt::NoModifier, button.geometry().center());
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{TOOLKIT_MOUSE_RELEASE_EVENT, Qt::LeftButton}));
    EXPECT_EQ(99U, lastReport.timeStamp);
    EXPECT_EQ(-1, lastReport.osKeyCode);
    EXPECT_TRUE(clicked);
}

TEST_F(InputFilterTest, ADoubleClickIsTwoPresses) {
    QTest::mouseDClick(native(), Qt::LeftButton, Qt::NoModifier, inside);
    std::vector<Reported> counted;
    for (const Reported& report : reports)
        if (report.type != TOOLKIT_MOUSE_DOUBLE_PRESS_EVENT) // the manager ignores it
            counted.push_back(report);
    const Reported press{TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton};
    const Reported release{TOOLKIT_MOUSE_RELEASE_EVENT, Qt::LeftButton};
    EXPECT_THAT(counted, ElementsAre(press, release, press, release));
}

TEST_F(InputFilterTest, ADoubleClickInsteadOfTheSecondPressIsAPress) {
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                    QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease})
        sendMouse(type, inside, Qt::RightButton);
    const Reported press{TOOLKIT_MOUSE_PRESS_EVENT, Qt::RightButton};
    const Reported release{TOOLKIT_MOUSE_RELEASE_EVENT, Qt::RightButton};
    EXPECT_THAT(reports, ElementsAre(press, release, press, release));
}

// As Qt hands it to a native window. The manager ignores the report, but other receivers see it.
TEST_F(InputFilterTest, ADoubleClickBehindTheSecondPressIsReportedAsSuch) {
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease, QEvent::MouseButtonPress,
                                    QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease})
        sendMouse(type, inside, Qt::RightButton);
    const Reported press{TOOLKIT_MOUSE_PRESS_EVENT, Qt::RightButton};
    const Reported release{TOOLKIT_MOUSE_RELEASE_EVENT, Qt::RightButton};
    EXPECT_THAT(reports, ElementsAre(press, release, press,
                                     Reported{TOOLKIT_MOUSE_DOUBLE_PRESS_EVENT, Qt::RightButton}, release));
}

TEST_F(InputFilterTest, APressOutsideTheWindowIsNotReported) {
    sendMouse(QEvent::MouseButtonPress, outside);
    sendMouse(QEvent::MouseButtonRelease, inside);
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(InputFilterTest, AReleaseOutsideTheWindowIsAnEscape) {
    sendMouse(QEvent::MouseButtonPress, inside);
    sendMouse(QEvent::MouseButtonRelease, outside);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{TOOLKIT_MOUSE_ESCAPE_EVENT, Qt::LeftButton}));
}

TEST_F(InputFilterTest, APressThatIsTakenAwayIsAnEscapeAndItsReleaseIsNothing) {
    struct Case {
        const char* name;
        QObject* receiver;
        QEvent::Type type;
    };
    auto* const screen = QTest::createTouchDevice();
    for (const Case& taken :
         {Case{"touch cancelled", native(), QEvent::TouchCancel},
          Case{"window not active", &window, QEvent::WindowDeactivate},
          Case{"window blocked", &window, QEvent::WindowBlocked}, Case{"window hidden", &window, QEvent::Hide}}) {
        SCOPED_TRACE(taken.name);
        reports.clear();
        sendMouse(QEvent::MouseButtonPress, inside);
        if (taken.type == QEvent::TouchCancel) {
            QTouchEvent cancel(QEvent::TouchCancel, screen);
            QCoreApplication::sendEvent(taken.receiver, &cancel);
        } else {
            send(taken.receiver, taken.type);
        }
        sendMouse(QEvent::MouseButtonRelease, inside);
        EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                         Reported{TOOLKIT_MOUSE_ESCAPE_EVENT, Qt::LeftButton}));
    }
}

TEST_F(InputFilterTest, EachButtonThatIsTakenAwayIsAnEscape) {
    const auto buttons = {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton, Qt::BackButton, Qt::MaxMouseButton};
    for (const Qt::MouseButton held : buttons)
        sendMouse(QEvent::MouseButtonPress, inside, held);
    reports.clear();
    send(&window, QEvent::WindowDeactivate);
    std::vector<Reported> escapes;
    for (const Qt::MouseButton held : buttons)
        escapes.push_back({TOOLKIT_MOUSE_ESCAPE_EVENT, held});
    EXPECT_EQ(reports, escapes);
}

TEST_F(InputFilterTest, ALostReleaseIsAnEscapeAsSoonAsAMoveTells) {
    sendMouse(QEvent::MouseButtonPress, inside);
    moveTo(inside + QPoint(50, 0), Qt::NoButton);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{TOOLKIT_MOUSE_ESCAPE_EVENT, Qt::LeftButton}));
}

TEST_F(InputFilterTest, ATouchIsTheLeftButton) {
    auto* const screen = QTest::createTouchDevice();
    QTest::touchEvent(native(), screen).press(0, inside, native());
    QTest::touchEvent(native(), screen).release(0, inside, native());
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{TOOLKIT_MOUSE_RELEASE_EVENT, Qt::LeftButton}));
}

TEST_F(InputFilterTest, MovesAreReportedWhileAButtonIsDown) {
    moveTo(inside, Qt::NoButton);
    moveTo(inside + QPoint(50, 0), Qt::NoButton);
    EXPECT_THAT(reports, IsEmpty());
    sendMouse(QEvent::MouseButtonPress, inside, Qt::RightButton);
    moveTo(inside + QPoint(50, 0), Qt::RightButton);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_MOUSE_PRESS_EVENT, Qt::RightButton},
                                     Reported{TOOLKIT_MOUSE_MOVE_EVENT, Qt::RightButton}));
}

TEST_F(InputFilterTest, AFingerAtRestIsSilentUpToTenPixels) {
    sendMouse(QEvent::MouseButtonPress, inside);
    reports.clear();
    moveTo(inside + QPoint(9, 0), Qt::LeftButton);
    moveTo(inside - QPoint(0, 9), Qt::LeftButton);
    EXPECT_THAT(reports, IsEmpty());
    moveTo(inside + QPoint(0, 10), Qt::LeftButton);
    EXPECT_EQ(1U, reports.size());
    moveTo(inside + QPoint(1, 10), Qt::LeftButton);
    EXPECT_EQ(1U, reports.size()) << "the distance counts from the last report";
    moveTo(inside + QPoint(2, 20), Qt::LeftButton);
    EXPECT_EQ(2U, reports.size());
}

TEST_F(InputFilterTest, AWheelTurnCarriesItsStepsAndTheStepKeyOfItsDirection) {
    turnWheel(120);
    EXPECT_EQ(TOOLKIT_WHEEL_EVENT, lastReport.eventType);
    EXPECT_EQ(1, lastReport.count);
    EXPECT_EQ(4, lastReport.keyCode);
    turnWheel(-360);
    EXPECT_EQ(3, lastReport.count);
    EXPECT_EQ(5, lastReport.keyCode);
    EXPECT_EQ(2U, reports.size());
}

TEST_F(InputFilterTest, AFineWheelIsReportedByWholeDetents) {
    for (int turn = 0; turn < 7; ++turn)
        turnWheel(15);
    EXPECT_THAT(reports, IsEmpty());
    turnWheel(15);
    EXPECT_EQ(1U, reports.size());
    EXPECT_EQ(1, lastReport.count);
}

TEST_F(InputFilterTest, EnteringAndLeavingTheWindowIsReported) {
    send(native(), QEvent::Leave);
    EXPECT_EQ(TOOLKIT_MOUSE_EXIT_EVENT, lastReport.eventType);
    QEnterEvent enter(inside, inside, inside);
    QCoreApplication::sendEvent(native(), &enter);
    EXPECT_EQ(TOOLKIT_MOUSE_ENTER_EVENT, lastReport.eventType);
}

TEST_F(InputFilterTest, InputOfOtherWindowsIsNotReported) {
    QWidget other;
    other.resize(width, height);
    other.show();
    reports.clear();
    QTest::mouseClick(other.windowHandle(), Qt::LeftButton, Qt::NoModifier, inside);
    QTest::keyClick(other.windowHandle(), Qt::Key_Up);
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(InputFilterTest, OfSeveralHeldKeysEachIsReleasedWhateverModifierComesWithIt) {
    const auto send = [this](QEvent::Type type, int key, quint32 scanCode) {
        QKeyEvent event(type, key, Qt::NoModifier, scanCode, 0, 0);
        QCoreApplication::sendEvent(native(), &event);
    };
    const std::vector<int> pressed = {Qt::Key_Exclam, Qt::Key_QuoteDbl, Qt::Key_Dollar};
    const std::vector<int> released = {Qt::Key_1, Qt::Key_2, Qt::Key_4};
    for (std::size_t i = 0; i < pressed.size(); ++i)
        send(QEvent::KeyPress, pressed[i], static_cast<quint32>(10 + i));
    reports.clear();
    for (std::size_t i = 0; i < pressed.size(); ++i)
        send(QEvent::KeyRelease, released[i], static_cast<quint32>(10 + i));
    turnWheel(120); // whatever is held back comes first
    std::vector<int> keys;
    for (const Reported& report : reports)
        if (report.type == TOOLKIT_KEY_RELEASE_EVENT)
            keys.push_back(static_cast<int>(report.what));
    EXPECT_EQ(pressed, keys);
}

TEST_F(InputFilterTest, InputBelongsToTheWidgetThatOwnsItAndToItsChildren) {
    QWidget panel(&window);
    panel.setGeometry(150, 150, 100, 100);
    QWidget part(&panel);
    part.setGeometry(10, 10, 80, 80);
    panel.show();
    setOwnsInput(panel, InputKind::Presses, true);
    sendMouse(QEvent::MouseButtonPress, inside);
    moveTo(inside + QPoint(100, 0), Qt::LeftButton);
    sendMouse(QEvent::MouseButtonRelease, QPoint(20, 200)); // not on the panel
    EXPECT_THAT(reports, IsEmpty());
    turnWheel(120);
    EXPECT_EQ(1U, reports.size()) << "of the wheel nothing was said";

    setOwnsInput(panel, InputKind::Wheel, true);
    turnWheel(120);
    EXPECT_EQ(1U, reports.size());
    setOwnsInput(panel, InputKind::Presses, false);
    setOwnsInput(panel, InputKind::Wheel, false);
    sendMouse(QEvent::MouseButtonPress, inside);
    turnWheel(120);
    EXPECT_EQ(3U, reports.size());
}

TEST_F(InputFilterTest, TheWheelReachesAWidgetOnlyIfThatOwnsIt) {
    QWidget panel(&window);
    panel.setGeometry(150, 150, 100, 100);
    panel.show();
    ReceivedTypes received(panel);
    turnWheel(120);
    EXPECT_EQ(0, received.count(QEvent::Wheel));
    setOwnsInput(panel, InputKind::Wheel, true);
    turnWheel(120);
    EXPECT_EQ(1, received.count(QEvent::Wheel));
}

TEST_F(InputFilterTest, AWindowThatOwnsItsInputKeepsAllOfIt) {
    setOwnsInput(window, InputKind::Presses, true);
    setOwnsInput(window, InputKind::Wheel, true);
    setOwnsInput(window, InputKind::Keys, true);
    sendMouse(QEvent::MouseButtonPress, inside);
    turnWheel(120);
    QTest::keyClick(native(), Qt::Key_End);
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(InputFilterTest, KeysAreThoseOfAWidgetThatOwnsThemWhileItHasTheFocus) {
    button.setFocusPolicy(Qt::StrongFocus);
    setOwnsInput(button, InputKind::Keys, true);
    QTest::keyClick(native(), Qt::Key_Space);
    EXPECT_EQ(2U, reports.size()) << "the button has not got the focus";
    button.setFocus();
    bool clicked = false;
    QObject::connect(&button, &QPushButton::clicked, [&] { clicked = true; });
    QTest::keyClick(native(), Qt::Key_Space);
    EXPECT_EQ(2U, reports.size());
    EXPECT_TRUE(clicked);
}

TEST_F(InputFilterTest, ADialogDoesNotInheritFromItsParentWhatThatOwns) {
    setOwnsInput(window, InputKind::Keys, true);
    const QWidget dialog(&window, Qt::Dialog);
    const QWidget part(&window);
    EXPECT_FALSE(ownsInput(dialog, InputKind::Keys));
    EXPECT_TRUE(ownsInput(part, InputKind::Keys));
}

TEST_F(InputFilterTest, WithoutTimesOfTheWindowSystemInputIsMadeWhenItIsSeen) {
    KXSimulation::setTick(5000);
    sendKey(QEvent::KeyPress, 4000);
    EXPECT_EQ(5000U, lastReport.timeStamp);
}

TEST(WindowSystemTest, X11AndWaylandStampInputAndOnX11RepeatsLookTyped) {
    struct Case {
        const char* name;
        bool stampsInput;
        bool repeatsLookTyped;
    };
    for (const Case& platform :
         {Case{"xcb", true, true}, Case{"wayland", true, false}, Case{"wayland-egl", true, false},
          Case{"linuxfb", false, false}, Case{"eglfs", false, false}, Case{"offscreen", false, false},
          Case{"minimal", false, false}, Case{"vnc", false, false}}) {
        const WindowSystem system = WindowSystem::ofPlatform(QLatin1String(platform.name));
        EXPECT_EQ(platform.stampsInput, system.stampsInput) << platform.name;
        EXPECT_EQ(platform.repeatsLookTyped, system.repeatsLookTyped) << platform.name;
    }
}

TEST(InputFilterOfAWindowThatIsDestroyed, ReleasesWhatIsDownAndReportsNothingMore) {
    KXSimulation::reset();
    auto window = std::make_unique<QWidget>();
    std::vector<int> types;
    InputClock clock;
    InputFilter filter(
        *window, [&](KXToolkitEvent& event) { types.push_back(event.eventType); }, {false, true}, clock);
    window->resize(width, height);
    window->show();
    QCoreApplication::processEvents();
    types.clear();
    QTest::keyPress(window->windowHandle(), Qt::Key_End);
    window.reset();
    EXPECT_THAT(types, ElementsAre(TOOLKIT_KEY_PRESS_EVENT, TOOLKIT_KEY_RELEASE_EVENT));
    QWidget other;
    other.show();
    QCoreApplication::postEvent(&other, new QKeyEvent(QEvent::KeyPress, Qt::Key_Home, Qt::NoModifier));
    QCoreApplication::processEvents();
    EXPECT_EQ(2U, types.size());
}

TEST(InputFilterOfAWindowThatIsDestroyed, LeavesOtherWindowsTheirEvents) {
    auto window = std::make_unique<QWidget>();
    InputClock clock;
    const InputFilter filter(
        *window, [](KXToolkitEvent& /*event*/) {}, {false, true}, clock);
    window.reset();
    QWidget other;
    ReceivedTypes received(other);
    QCoreApplication::postEvent(&other, new QKeyEvent(QEvent::KeyPress, Qt::Key_Home, Qt::NoModifier));
    QCoreApplication::processEvents();
    EXPECT_EQ(1, received.count(QEvent::KeyPress));
}

} // namespace
} // namespace KX
