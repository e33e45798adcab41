#include "toolkit/KXToolkitLayer.h"

#include "tests/support/OffscreenKeys.h"
#include "tests/support/OperatorTest.h"

#include <QMouseEvent>
#include <QWheelEvent>
#include <QWindow>
#include <QtTest>

#include <gmock/gmock.h>

#include <memory>
#include <vector>

namespace KX {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const auto* const environment = testing::AddGlobalTestEnvironment(new test::OffscreenApplication);

/// A window with a layer, in virtual time.
class ToolkitLayerTest : public test::OperatorTest {
protected:
    void SetUp() override {
        OperatorTest::SetUp();
        window.resize(400, 300);
        panel.setGeometry(100, 100, 100, 100);
        window.show();
        window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        while (manager->hasEvents())
            manager->getNextEvent();
    }

    QWindow* native() const { return window.windowHandle(); }

    void sendMouse(QEvent::Type type) {
        QMouseEvent event(type, QPoint(150, 150), window.mapToGlobal(QPoint(150, 150)), Qt::LeftButton,
                          Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(native(), &event);
    }

    void turnWheel() {
        const QPoint position(150, 150);
        QWheelEvent turn(position, window.mapToGlobal(position), QPoint(), QPoint(0, 120), Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(native(), &turn);
    }

    QWidget window;
    QWidget panel{&window};
    KXToolkitLayer layer{window};
};

TEST_F(ToolkitLayerTest, ReportsToTheManager) {
    timePasses(4711);
    QTest::keyClick(native(), Qt::Key_End);
    const KXInputEvent press = expectPosted(KEY_PRESS_EVENT);
    EXPECT_EQ(6, press.keyCode);
    EXPECT_EQ(4711U, press.timeStamp) << "Qt stamps the input of this platform itself";
    expectPosted(KEY_RELEASE_EVENT);
    sendMouse(QEvent::MouseButtonPress);
    EXPECT_EQ(1U, expectPosted(MOUSE_PRESS_EVENT).eventData[1]);
    sendMouse(QEvent::MouseButtonRelease);
    expectPosted(MOUSE_RELEASE_EVENT);
    turnWheel();
    EXPECT_EQ(4, expectPosted(ENCODER_MOVE_EVENT).keyCode);
    expectNothingMore();
}

TEST_F(ToolkitLayerTest, ReportsToTheManagerOfTheMomentAndWithoutOneToNobody) {
    KXInputEventManager::deleteInstance();
    QTest::keyClick(native(), Qt::Key_End);
    manager = KXInputEventManager::createInstance();
    expectNothingMore();
    QTest::keyClick(native(), Qt::Key_End);
    expectPosted(KEY_PRESS_EVENT);
    expectPosted(KEY_RELEASE_EVENT);
}

TEST_F(ToolkitLayerTest, AReportFunctionTakesThePlaceOfTheManagerUntilItIsTakenBack) {
    std::vector<int> types;
    layer.setReport([&](KXToolkitEvent& event) { types.push_back(event.eventType); });
    QTest::keyClick(native(), Qt::Key_End);
    EXPECT_THAT(types, ElementsAre(TOOLKIT_KEY_PRESS_EVENT, TOOLKIT_KEY_RELEASE_EVENT));
    expectNothingMore();
    layer.setReport(nullptr);
    QTest::keyPress(native(), Qt::Key_End);
    expectPosted(KEY_PRESS_EVENT);
}

TEST_F(ToolkitLayerTest, PressesAndWheelAreLeftToTheWidgetThatWantsThem) {
    KXToolkitLayer::leavePressesTo(panel);
    sendMouse(QEvent::MouseButtonPress);
    sendMouse(QEvent::MouseButtonRelease);
    expectNothingMore();
    turnWheel();
    expectPosted(ENCODER_MOVE_EVENT);
    KXToolkitLayer::leaveWheelTo(panel);
    turnWheel();
    expectNothingMore();
    KXToolkitLayer::leavePressesTo(panel, false);
    KXToolkitLayer::leaveWheelTo(panel, false);
    sendMouse(QEvent::MouseButtonPress);
    expectPosted(MOUSE_PRESS_EVENT);
    turnWheel();
    expectPosted(ENCODER_MOVE_EVENT);
}

TEST_F(ToolkitLayerTest, KeysAreLeftToTheWidgetThatWantsThemWhileItHasTheFocus) {
    panel.setFocusPolicy(Qt::StrongFocus);
    panel.setFocus();
    KXToolkitLayer::leaveKeysTo(panel);
    QTest::keyClick(native(), Qt::Key_End);
    expectNothingMore();
    KXToolkitLayer::leaveKeysTo(panel, false);
    QTest::keyClick(native(), Qt::Key_End);
    expectPosted(KEY_PRESS_EVENT);
}

TEST_F(ToolkitLayerTest, OfTwoWindowsEachReportsItsOwnInputAndAKeyOfTheLibraryIsReportedOnce) {
    QWidget second;
    second.resize(200, 200);
    KXToolkitLayer secondLayer(second);
    second.show();
    QCoreApplication::processEvents();
    QTest::keyClick(second.windowHandle(), Qt::Key_Home);
    EXPECT_EQ(1, expectPosted(KEY_PRESS_EVENT).keyCode);
    expectPosted(KEY_RELEASE_EVENT);
    QTest::keyClick(native(), Qt::Key_End);
    EXPECT_EQ(6, expectPosted(KEY_PRESS_EVENT).keyCode);
    expectPosted(KEY_RELEASE_EVENT);
    timePasses(1000);
    QApplication::setActiveWindow(&window);
    KXInputEvent generated;
    generated.eventType = KEY_PRESS_EVENT;
    generated.keyCode = 6;
    manager->generateKeyEvent(generated);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(6, expectPosted(KEY_PRESS_EVENT).keyCode);
    expectNothingMore();
}

TEST_F(ToolkitLayerTest, ALayerThatIsDestroyedReportsNothingMore) {
    auto second = std::make_unique<QWidget>();
    auto secondLayer = std::make_unique<KXToolkitLayer>(*second);
    second->show();
    QCoreApplication::processEvents();
    secondLayer.reset();
    QTest::keyClick(second->windowHandle(), Qt::Key_Home);
    expectNothingMore();
}

} // namespace
} // namespace KX
