#include "terminal/MainWindow.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"
#include "terminal/ActionPanel.h"
#include "terminal/EventListView.h"
#include "terminal/EventModel.h"
#include "terminal/KeyCodes.h"
#include "terminal/KeypadPanel.h"
#include "terminal/OperatorScreen.h"
#include "terminal/SoftKey.h"
#include "terminal/SoftKeyBar.h"

#include <QImage>
#include <QPixmap>
#include <QtTest>

#include <gtest/gtest.h>

namespace {

class MainWindowTest : public testing::Test {
protected:
    MainWindowTest() : window(model) {
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

    EventModel model;
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

TEST_F(MainWindowTest, OnASmallScreenKeysTurnThePages) {
    window.resize(800, 480);
    const QWidget* const pages[] = {window.findChild<EventListView*>(), &window.keypad(), &window.actions()};
    for (const int shown : {1, 2, 0}) {
        KX::KXInputEvent event;
        event.eventType = KX::KEY_PRESS_EVENT;
        event.keyCode = KeyCodes::firstPage + shown;
        model.append({event});
        QCoreApplication::processEvents();
        for (int page = 0; page < MainWindow::PageCount; ++page)
            EXPECT_EQ(page == shown, pages[page]->isVisible()) << page << " of " << shown;
        EXPECT_GE(pages[shown]->width(), 700) << shown;
        EXPECT_GE(pages[shown]->height(), 180) << shown;
        EXPECT_EQ(QSize(800, 480), window.size());
    }
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
