#include "terminal/window/MainWindow.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"
#include "terminal/actions/ActionPanel.h"
#include "terminal/events/EventModel.h"
#include "terminal/events/EventPage.h"
#include "terminal/keypad/KeypadPanel.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/settings/InputSettings.h"
#include "terminal/timeline/TimeLineControls.h"
#include "terminal/timeline/TimeLineLegend.h"
#include "terminal/timeline/TimeLineView.h"
#include "terminal/window/OperatorScreen.h"
#include "terminal/window/PageArea.h"
#include "terminal/window/SoftKeyBar.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QScrollBar>
#include <QtTest>

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

class MainWindowTest : public testing::Test {
protected:
    MainWindowTest() : settings([](KX::KXInputSetting, int) { return 0; }), window(model, settings) {
        window.show();
        QCoreApplication::processEvents();
    }

    void classified(int type) {
        KX::KXInputEvent event;
        event.eventType = type;
        event.value = type == KX::ENCODER_MOVE_EVENT ? 236 : 0;
        model.append({event});
    }

    SoftKey& softKey(int number) const { return *window.findChild<SoftKeyBar*>()->keys().at(number); }

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
        event.timeStamp = ++tick;
        model.append({event});
        QCoreApplication::processEvents();
    }

    void toolkitKeyPressed(int toolkitKey) {
        KX::KXInputEvent event;
        event.eventType = KX::KEY_PRESS_EVENT;
        event.keyCode = 65535;
        event.osKeyCode = toolkitKey;
        event.timeStamp = ++tick;
        model.append({event});
        QCoreApplication::processEvents();
    }

    void turn(int keyCode) {
        KX::KXInputEvent event;
        event.eventType = KX::ENCODER_MOVE_EVENT;
        event.keyCode = keyCode;
        event.count = 1;
        event.timeStamp = ++tick;
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

    unsigned int tick = 1000;
    EventModel model;
    InputSettings settings;
    MainWindow window;
};

} // namespace

TEST_F(MainWindowTest, AMoveOfTheEncoderIsShownThoughSomethingElseComesWithIt) {
    KX::KXInputEvent move;
    move.eventType = KX::ENCODER_MOVE_EVENT;
    move.value = 236;
    KX::KXInputEvent release;
    release.eventType = KX::MOUSE_RELEASE_EVENT;
    model.append({move});
    model.append({release});
    const QImage oneByOne = window.findChild<OperatorScreen*>()->grab().toImage();

    EventModel otherModel;
    MainWindow other(otherModel, settings);
    other.resize(window.size());
    other.show();
    QCoreApplication::processEvents();
    otherModel.append({move, release});
    EXPECT_EQ(oneByOne, other.findChild<OperatorScreen*>()->grab().toImage());
}

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
    EXPECT_EQ(KX::KXGesture::Press, softKey(3).recognised());
    classified(KX::MOUSE_LONG_PRESS_EVENT);
    EXPECT_EQ(KX::KXGesture::LongPress, softKey(3).recognised());
    release(3);
    classified(KX::MOUSE_LONG_RELEASE_EVENT);
    classified(KX::MOUSE_RELEASE_EVENT);
    EXPECT_EQ(KX::KXGesture::LongPress, softKey(3).recognised());

    press(5);
    classified(KX::MOUSE_DOUBLE_PRESS_EVENT);
    EXPECT_EQ(std::nullopt, softKey(3).recognised());
    EXPECT_EQ(KX::KXGesture::DoublePress, softKey(5).recognised());
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
    for (const int type : {KX::KEY_PRESS_EVENT, KX::KEY_LONG_PRESS_EVENT, KX::KEY_RELEASE_EVENT,
                           KX::KEY_DOUBLE_PRESS_EVENT, KX::ENCODER_MOVE_EVENT}) {
        classified(type);
        const QImage now = screen->grab().toImage();
        EXPECT_NE(last, now) << KX::translateEventTypeToString(type);
        last = now;
    }
}

TEST_F(MainWindowTest, PagesTurnAlsoWhenTheKeyIsPressedQuickly) {
    window.resize(800, 480);
    keyPressed(KeyCodes::nextPage);
    keyPressed(KeyCodes::nextPage, KX::KEY_DOUBLE_PRESS_EVENT);
    expectOnlyPage(Page::Encoder);
}

TEST_F(MainWindowTest, ATouchOnItsButtonShowsEveryPage) {
    window.resize(800, 480);
    for (const Page page :
         {Page::Settings, Page::Keypad, Page::TimeLine, Page::Actions, Page::Encoder, Page::Events}) {
        QTest::mouseClick(&window.pages().bar().button(page), Qt::LeftButton);
        QCoreApplication::processEvents();
        expectOnlyPage(page);
    }
}

TEST_F(MainWindowTest, F12GoesToTheSettingsAndBack) {
    window.resize(800, 480);
    window.showPage(Page::Keypad);
    keyPressed(KeyCodes::settingsPage);
    expectOnlyPage(Page::Settings);
    keyPressed(KeyCodes::settingsPage);
    expectOnlyPage(Page::Keypad);
}

TEST_F(MainWindowTest, InALargeWindowTheKeypadAndTheActionsAreNoPages) {
    window.resize(1024, 768);
    QCoreApplication::processEvents();
    for (const Page page : {Page::TimeLine, Page::Encoder, Page::Settings, Page::Events}) {
        keyPressed(KeyCodes::nextPage);
        EXPECT_EQ(page, window.pages().shownPage());
        EXPECT_TRUE(window.pages().pageWidget(page).isVisible()) << static_cast<int>(page);
        EXPECT_TRUE(window.keypad().isVisible()) << static_cast<int>(page);
        EXPECT_TRUE(window.actions().isVisible()) << static_cast<int>(page);
    }
    window.showPage(Page::Keypad);
    EXPECT_EQ(Page::Events, window.pages().shownPage());
}

TEST_F(MainWindowTest, KeysGoToTheShownPageOnly) {
    keyPressed(KeyCodes::settingsPage);
    turn(KX::KX_KEY_DOWN);
    EXPECT_EQ(290, settings.value(KX::KXInputSetting::DoubleKeyPressDuration));
    keyPressed(KeyCodes::settingsPage);
    turn(KX::KX_KEY_DOWN);
    EXPECT_EQ(290, settings.value(KX::KXInputSetting::DoubleKeyPressDuration));
}

TEST_F(MainWindowTest, KeysZoomAndScrollTheTimeLine) {
    window.showPage(Page::TimeLine);
    keyPressed(KeyCodes::firstSoftKey);
    tick += 60000; // so that there is something to scroll back to
    keyPressed(KeyCodes::firstSoftKey);
    TimeLineView& timeLine = window.pages().timeLine();
    const auto before = timeLine.visibleMs();
    turn(KX::KX_KEY_UP);
    keyPressed(KX::KX_KEY_HOME);
    toolkitKeyPressed(Qt::Key_PageUp);
    EXPECT_EQ(before, timeLine.visibleMs()) << "the keys are tested, so they do not move the view";
    EXPECT_TRUE(timeLine.isFollowing());
    toolkitKeyPressed(Qt::Key_L);
    EXPECT_FALSE(timeLine.isLocked());
    turn(KX::KX_KEY_UP);
    EXPECT_LT(timeLine.visibleMs(), before);
    turn(KX::KX_KEY_DOWN);
    EXPECT_EQ(before, timeLine.visibleMs());
    EXPECT_TRUE(timeLine.isFollowing());
    keyPressed(KX::KX_KEY_HOME);
    EXPECT_FALSE(timeLine.isFollowing());
    keyPressed(KX::KX_KEY_END);
    EXPECT_TRUE(timeLine.isFollowing());
    toolkitKeyPressed(Qt::Key_PageUp);
    EXPECT_FALSE(timeLine.isFollowing());
    for (int i = 0; i < 20 && !timeLine.isFollowing(); ++i)
        toolkitKeyPressed(Qt::Key_PageDown);
    EXPECT_TRUE(timeLine.isFollowing());
    toolkitKeyPressed(Qt::Key_L);
    keyPressed(KX::KX_KEY_HOME);
    EXPECT_TRUE(timeLine.isFollowing()) << "it is locked again";
}

TEST_F(MainWindowTest, TheQuestionMarkExplainsTheTimeLine) {
    window.showPage(Page::TimeLine);
    TimeLineView& timeLine = window.pages().timeLine();
    EXPECT_FALSE(timeLine.legend().isVisible());
    toolkitKeyPressed(Qt::Key_Question);
    EXPECT_TRUE(timeLine.legend().isVisible());
    EXPECT_TRUE(timeLine.rect().contains(timeLine.legend().geometry()));
    QTest::mouseClick(&timeLine.controls().legendButton(), Qt::LeftButton);
    EXPECT_FALSE(timeLine.legend().isVisible());
}

TEST_F(MainWindowTest, SoftKeysGiveTheirRoomToThePagesThatNeedIt) {
    window.resize(800, 480);
    for (const Page page : window.pages().bar().pages()) {
        window.showPage(page);
        QCoreApplication::processEvents();
        const bool needsRoom = page == Page::TimeLine || page == Page::Encoder || page == Page::Settings;
        EXPECT_EQ(!needsRoom, window.softKeyBar().isVisible()) << static_cast<int>(page);
        EXPECT_GE(window.pages().pageWidget(page).height(), needsRoom ? 320 : 240) << static_cast<int>(page);
    }
    window.resize(1024, 768);
    for (const Page page : {Page::TimeLine, Page::Settings}) {
        window.showPage(page);
        EXPECT_TRUE(window.softKeyBar().isVisible()) << static_cast<int>(page);
    }
}

TEST_F(MainWindowTest, TheNumbersOfTheEncoderAppearWhenItIsUsed) {
    const auto& screen = window.operatorScreen();
    keyPressed(KX::KX_KEY_HOME);
    EXPECT_FALSE(screen.showsEncoder());
    turn(KX::KX_KEY_UP);
    EXPECT_TRUE(screen.showsEncoder());
    keyPressed(KX::KX_KEY_HOME);
    EXPECT_TRUE(screen.showsEncoder());
}

TEST_F(MainWindowTest, TheGestureOnTheScreenStaysWhileItsReleaseFollows) {
    keyPressed(KX::KX_KEY_HOME);
    const QString words = window.operatorScreen().gesture().words();
    keyPressed(KX::KX_KEY_HOME, KX::KEY_RELEASE_EVENT);
    EXPECT_EQ(words, window.operatorScreen().gesture().words());
    EXPECT_TRUE(window.operatorScreen().gesture().ending());
}

TEST_F(MainWindowTest, TabShowsTheDetailsOfTheEventsAndHidesThem) {
    EventListView& list = window.pages().events().list();
    keyPressed(KX::KX_KEY_TAB);
    EXPECT_TRUE(list.showsDetails());
    QTest::mouseClick(&window.pages().events().detailsButton(), Qt::LeftButton);
    EXPECT_FALSE(list.showsDetails());
}

TEST_F(MainWindowTest, ItCoversTheWholeScreen) {
    MainWindow other(model, settings);
    other.coverScreen();
    other.show();
    QCoreApplication::processEvents();
    EXPECT_EQ(QGuiApplication::primaryScreen()->availableSize(), other.size());
}

TEST_F(MainWindowTest, TabShowsTheKeysThatTheTimeLineHasNoRoomFor) {
    window.resize(800, 480);
    window.showPage(Page::TimeLine);
    window.pages().timeLine().setLocked(false);
    constexpr int keyCount = 30;
    for (int key = 0; key < keyCount; ++key)
        keyPressed(100 + key);
    const TimeLineView& timeLine = window.pages().timeLine();
    // Waits until all keys are drawn. An earlier picture could equal the one after Tab.
    EXPECT_TRUE(QTest::qWaitFor([&] {
        const auto others = keyCount - timeLine.laneNames().size();
        return timeLine.otherLanesText().startsWith(QStringLiteral("+%1 ").arg(others));
    }));
    const QStringList before = timeLine.laneNames();
    keyPressed(KX::KX_KEY_TAB);
    EXPECT_TRUE(QTest::qWaitFor([&] { return timeLine.laneNames() != before; }));
}

TEST_F(MainWindowTest, KeysScrollTheListOfEvents) {
    for (int i = 0; i < 200; ++i)
        classified(KX::KEY_RELEASE_EVENT);
    QCoreApplication::processEvents();
    const QScrollBar& bar = *window.pages().events().list().verticalScrollBar();
    EXPECT_EQ(0, bar.value());
    toolkitKeyPressed(Qt::Key_PageDown);
    toolkitKeyPressed(Qt::Key_PageDown);
    EXPECT_GE(bar.value(), 2 * bar.pageStep());
    const int scrolled = bar.value();
    toolkitKeyPressed(Qt::Key_PageUp);
    EXPECT_LT(bar.value(), scrolled);
    EXPECT_GT(bar.value(), 0);
    keyPressed(KX::KX_KEY_HOME);
    EXPECT_EQ(0, bar.value());
}

TEST_F(MainWindowTest, ABannerSaysThatInputIsOffAndATouchSwitchesItOn) {
    EXPECT_FALSE(window.inputOffBanner().isVisible());
    settings.set(KX::KXInputSetting::AcceptInput, 0);
    QCoreApplication::processEvents();
    for (const QSize size : {QSize(800, 480), QSize(1024, 768)}) {
        window.resize(size);
        QCoreApplication::processEvents();
        EXPECT_TRUE(window.inputOffBanner().isVisible());
        EXPECT_EQ(window.findChild<OperatorScreen*>()->size(), window.inputOffBanner().size());
    }
    QTest::mouseClick(&window.inputOffBanner(), Qt::LeftButton);
    EXPECT_EQ(1, settings.value(KX::KXInputSetting::AcceptInput));
    EXPECT_FALSE(window.inputOffBanner().isVisible());
}

TEST_F(MainWindowTest, OnlyThePressOfF12SwitchesInputOn) {
    settings.set(KX::KXInputSetting::AcceptInput, 0);
    const auto report = [this](int type, int toolkitKey) {
        KX::KXToolkitEvent event;
        event.eventType = type;
        event.osKeyCode = toolkitKey;
        window.takeReport(event);
        return settings.value(KX::KXInputSetting::AcceptInput);
    };
    EXPECT_EQ(0, report(KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_F11));
    EXPECT_EQ(0, report(KX::TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_F12));
    EXPECT_EQ(0, report(KX::TOOLKIT_KEY_AUTO_REPEAT_PRESS_EVENT, Qt::Key_F12));
    EXPECT_EQ(0, report(KX::TOOLKIT_MOUSE_PRESS_EVENT, -1));
    EXPECT_EQ(1, report(KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_F12));
    const Page page = window.pages().shownPage();
    EXPECT_EQ(1, report(KX::TOOLKIT_KEY_PRESS_EVENT, Qt::Key_F12));
    EXPECT_EQ(page, window.pages().shownPage()) << "the classified event turns the page, not the report";
}
