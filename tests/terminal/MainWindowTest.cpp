#include "terminal/MainWindow.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"
#include "terminal/ActionPanel.h"
#include "terminal/EventListView.h"
#include "terminal/EventModel.h"
#include "terminal/InputSettings.h"
#include "terminal/KeyCodes.h"
#include "terminal/KeypadPanel.h"
#include "terminal/OperatorScreen.h"
#include "terminal/PageArea.h"
#include "terminal/PageBar.h"
#include "terminal/ScreenButton.h"
#include "terminal/SoftKey.h"
#include "terminal/SoftKeyBar.h"

#include <QImage>
#include <QPixmap>
#include <QtTest>

#include <gtest/gtest.h>

namespace {

class MainWindowTest : public testing::Test {
protected:
    MainWindowTest() : settings([](InputSettings::Setting, int) { return 0; }), window(model, settings) {
        window.show();
        QCoreApplication::processEvents();
    }

    void classified(int type) {
        KX::KXInputEvent event;
        event.eventType = type;
        event.value = type == KX::ENCODER_MOVE_EVENT ? 236 : 0;
        model.append({event});
    }

    SoftKey& softKey(int number) const {
        return *window.findChild<SoftKeyBar*>()->keys().at(number);
    }

    void press(int number) {
        QTest::mousePress(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, window.softKeyPosition(number));
    }

    void release(int number) {
        QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, window.softKeyPosition(number));
    }

    void keyPressed(int keyCode, int type = KX::KEY_PRESS_EVENT) {
        KX::KXInputEvent event;
        event.eventType = type;
        event.keyCode = keyCode;
        model.append({event});
        QCoreApplication::processEvents();
    }

    void expectOnlyPage(Page shown) const {
        EXPECT_EQ(shown, window.pages().shownPage());
        for (const Page page : window.pages().bar().pages()) {
            const QWidget& widget = window.pages().pageWidget(page);
            EXPECT_EQ(page == shown, widget.isVisible()) << static_cast<int>(page);
            EXPECT_EQ(page == shown, window.pages().bar().button(page).isChecked()) << static_cast<int>(page);
        }
        const QWidget& widget = window.pages().pageWidget(shown);
        EXPECT_GE(widget.width(), 700) << static_cast<int>(shown);
        EXPECT_GE(widget.height(), 180) << static_cast<int>(shown);
        EXPECT_EQ(QSize(800, 480), window.size()) << static_cast<int>(shown);
    }

    EventModel model;
    InputSettings settings;
    MainWindow window;
};

} // namespace

TEST_F(MainWindowTest, FitsTheSmallestScreenOfATerminal) {
    window.resize(800, 480);
    EXPECT_EQ(QSize(800, 480), window.size());
    EXPECT_GE(softKey(7).width(), 80);
    EXPECT_GE(softKey(7).height(), 60);
}

TEST_F(MainWindowTest, ShowsEverythingAtOnceWhereThereIsRoom) {
    window.resize(1024, 768);
    EXPECT_FALSE(window.hasPages());
    EXPECT_TRUE(window.findChild<EventListView*>()->isVisible());
    EXPECT_TRUE(window.keypad().isVisible());
    EXPECT_TRUE(window.actions().isVisible());
}

TEST_F(MainWindowTest, OnASmallScreenF11TurnsThroughAllPagesAndRoundTheEnd) {
    window.resize(800, 480);
    const QVector<Page> pages = window.pages().bar().pages();
    expectOnlyPage(pages[0]);
    ASSERT_EQ(pageCount, pages.size());
    for (int turn = 1; turn <= pages.size(); ++turn) {
        keyPressed(KeyCodes::nextPage);
        expectOnlyPage(pages[turn % pages.size()]);
    }
}

TEST_F(MainWindowTest, F10TurnsThePagesTheOtherWay) {
    window.resize(800, 480);
    keyPressed(KeyCodes::previousPage);
    expectOnlyPage(Page::Settings);
    keyPressed(KeyCodes::previousPage);
    expectOnlyPage(Page::Actions);
}

TEST_F(MainWindowTest, ASoftKeyLooksDifferentWhileItIsPressed) {
    const QImage before = softKey(2).grab().toImage();
    press(2);
    EXPECT_NE(before, softKey(2).grab().toImage());
    release(2);
    EXPECT_EQ(before, softKey(2).grab().toImage());
}

TEST_F(MainWindowTest, TheTouchedSoftKeyShowsAsWhatItWasRecognised) {
    press(3);
    classified(KX::MOUSE_PRESS_EVENT);
    EXPECT_EQ(EventKind::Press, softKey(3).recognised());
    classified(KX::MOUSE_LONG_PRESS_EVENT);
    EXPECT_EQ(EventKind::LongPress, softKey(3).recognised());
    release(3);
    classified(KX::MOUSE_LONG_RELEASE_EVENT);
    classified(KX::MOUSE_RELEASE_EVENT);
    EXPECT_EQ(EventKind::LongPress, softKey(3).recognised());

    press(5);
    classified(KX::MOUSE_DOUBLE_PRESS_EVENT);
    EXPECT_EQ(std::nullopt, softKey(3).recognised());
    EXPECT_EQ(EventKind::DoublePress, softKey(5).recognised());
}

TEST_F(MainWindowTest, APressBesideTheSoftKeysBelongsToNone) {
    press(3);
    release(3);
    classified(KX::MOUSE_PRESS_EVENT);
    classified(KX::MOUSE_RELEASE_EVENT);
    classified(KX::MOUSE_PRESS_EVENT);
    classified(KX::MOUSE_LONG_PRESS_EVENT);
    for (int number = 0; number < 8; ++number)
        EXPECT_EQ(std::nullopt, softKey(number).recognised()) << "soft key " << number;
}

TEST_F(MainWindowTest, TheScreenChangesWithEveryKindOfEvent) {
    auto* screen = window.findChild<OperatorScreen*>();
    QImage last = screen->grab().toImage();
    for (const int type :
         {KX::KEY_PRESS_EVENT, KX::KEY_LONG_PRESS_EVENT, KX::ENCODER_MOVE_EVENT, KX::KEY_RELEASE_EVENT}) {
        classified(type);
        const QImage now = screen->grab().toImage();
        EXPECT_NE(last, now) << KX::translateEventTypeToString(type);
        last = now;
    }
}
