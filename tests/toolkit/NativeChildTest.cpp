#include "tests/toolkit/InputFilterFixture.h"
#include "toolkit/InputOwners.h"

namespace KX {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const QPoint childPlace(200, 100);
const QPoint inChild(5, 7); // in its own coordinates

// A child widget with a native window of its own, inside another one.
class NativeChildTest : public InputFilterTest {
protected:
    NativeChildTest() {
        frame.setGeometry(QRect(childPlace / 2, QSize(190, 190)));
        child.setGeometry(QRect(childPlace - childPlace / 2, QSize(50, 50)));
        child.setAttribute(Qt::WA_NativeWindow);
        frame.show();
        EXPECT_NE(nullptr, child.windowHandle());
        EXPECT_NE(native(), child.windowHandle());
        reports.clear();
    }

    void sendMouseToChild(QEvent::Type type, const QPoint& position, Qt::MouseButtons buttons = Qt::NoButton) {
        const auto changed = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, position, child.mapToGlobal(position), changed, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(child.windowHandle(), &event);
    }

    void turnWheelOverChild() {
        QWheelEvent turn(inChild, child.mapToGlobal(inChild), QPoint(), QPoint(0, 120), Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(child.windowHandle(), &turn);
    }

    QWidget frame{&window};
    QWidget child{&frame};
};

TEST_F(NativeChildTest, ItsMouseButtonsAreReportedOnce) {
    QTest::mouseClick(child.windowHandle(), Qt::LeftButton, Qt::NoModifier, inChild);
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{TOOLKIT_MOUSE_RELEASE_EVENT, Qt::LeftButton}));
}

TEST_F(NativeChildTest, ATouchOnItIsTheLeftButton) {
    const QPoint farFromOtherClicks(40, 40); // else Qt may take it for the second half of a double click
    auto* const screen = QTest::createTouchDevice();
    QTest::touchEvent(child.windowHandle(), screen).press(0, farFromOtherClicks, child.windowHandle());
    QTest::touchEvent(child.windowHandle(), screen).release(0, farFromOtherClicks, child.windowHandle());
    EXPECT_THAT(reports, ElementsAre(Reported{TOOLKIT_MOUSE_PRESS_EVENT, Qt::LeftButton},
                                     Reported{TOOLKIT_MOUSE_RELEASE_EVENT, Qt::LeftButton}));
}

// The button that is pressed in a native window keeps the pointer there.
TEST_F(NativeChildTest, AReleaseBesideItIsOneUntilTheWindowEnds) {
    const QPoint lastInWindow = QPoint(width - 1, height - 1) - childPlace;
    for (const int beyond : {0, 1}) {
        reports.clear();
        sendMouseToChild(QEvent::MouseButtonPress, inChild);
        sendMouseToChild(QEvent::MouseButtonRelease, lastInWindow + QPoint(beyond, 0));
        EXPECT_EQ(beyond == 0 ? TOOLKIT_MOUSE_RELEASE_EVENT : TOOLKIT_MOUSE_ESCAPE_EVENT, lastReport.eventType);
    }
}

TEST_F(NativeChildTest, AMoveOutOfItIsMeasuredInTheWindow) {
    sendMouse(QEvent::MouseButtonPress, childPlace);
    sendMouseToChild(QEvent::MouseMove, QPoint(InputFilter::moveDistance - 1, 0), Qt::LeftButton);
    EXPECT_EQ(1U, reports.size()) << "it has not moved enough";
    sendMouseToChild(QEvent::MouseMove, QPoint(InputFilter::moveDistance, 0), Qt::LeftButton);
    EXPECT_EQ(TOOLKIT_MOUSE_MOVE_EVENT, lastReport.eventType);
}

TEST_F(NativeChildTest, ItsWheelAndKeysAreReported) {
    turnWheelOverChild();
    EXPECT_EQ(TOOLKIT_WHEEL_EVENT, lastReport.eventType);
    QTest::keyPress(child.windowHandle(), Qt::Key_End);
    EXPECT_EQ(TOOLKIT_KEY_PRESS_EVENT, lastReport.eventType);
}

TEST_F(NativeChildTest, ItKeepsTheInputThatItOwns) {
    setOwnsInput(child, InputKind::Presses, true);
    QTest::mouseClick(child.windowHandle(), Qt::LeftButton, Qt::NoModifier, inChild);
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(NativeChildTest, ItKeepsTheWheelThatItOwns) {
    setOwnsInput(child, InputKind::Wheel, true);
    turnWheelOverChild();
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(NativeChildTest, OfAnotherWindowItIsNotReported) {
    QWidget other;
    QWidget childOfOther(&other);
    childOfOther.setAttribute(Qt::WA_NativeWindow);
    other.show();
    ASSERT_NE(nullptr, childOfOther.windowHandle());
    reports.clear();
    QTest::mouseClick(childOfOther.windowHandle(), Qt::LeftButton, Qt::NoModifier, inChild);
    QTest::keyClick(childOfOther.windowHandle(), Qt::Key_End);
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(NativeChildTest, TheWindowIsNotEnteredAndLeftWithIt) {
    lastReport = {};
    send(child.windowHandle(), QEvent::Leave);
    EXPECT_EQ(0, lastReport.eventType);
    send(native(), QEvent::Leave);
    EXPECT_EQ(TOOLKIT_MOUSE_EXIT_EVENT, lastReport.eventType);
}

TEST_F(NativeChildTest, AnEmbeddedWindowWithoutAWidgetKeepsItsInput) {
    auto* const embedded = new QWindow; // the container owns it
    QWidget* const container = QWidget::createWindowContainer(embedded, &window);
    container->setGeometry(250, 250, 40, 40);
    container->show();
    embedded->create();
    reports.clear();
    QTest::mouseClick(embedded, Qt::LeftButton, Qt::NoModifier, inChild);
    QTest::keyClick(embedded, Qt::Key_End);
    EXPECT_THAT(reports, IsEmpty());
}

} // namespace
} // namespace KX
