#include "terminal/actions/ActionDesk.h"

#include "actions/KXActionQueue.h"
#include "events/KXEventType.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "terminal/actions/ActionPanel.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/ScreenButton.h"

#include <QCoreApplication>
#include <QtTest>

#include <gtest/gtest.h>

#include <string>

using namespace Terminal;

using KX::KXActionQueue;
using KX::KXSimulation;

namespace {

KX::KXInputEvent press(int keyCode) {
    KX::KXInputEvent event;
    event.eventType = KX::KEY_PRESS_EVENT;
    event.keyCode = keyCode;
    return event;
}

KX::KXInputEvent softKey(ActionDesk::SoftKeyNumber number) {
    return press(KeyCodes::firstSoftKey + number);
}

class ActionDeskTest : public testing::Test {
protected:
    ActionDeskTest() {
        KXSimulation::reset();
        KXActionQueue::create();
    }

    ~ActionDeskTest() override { KXActionQueue::release(); }

    // The numbers of the panel: posted, executed, not ready, loops.
    std::string shown() {
        panel.showState(desk);
        QString text;
        for (const auto tile :
             {ActionPanel::Posted, ActionPanel::Executed, ActionPanel::NotReady, ActionPanel::Loops})
            text += panel.numberText(tile) + QLatin1Char(' ');
        return text.trimmed().toStdString();
    }

    std::string recent() {
        panel.showState(desk);
        return panel.recentTexts().join(QStringLiteral("; ")).toStdString();
    }

    ActionDesk desk;
    ActionPanel panel;
};

// Runs for longer than the budget.
class SlowAction : public KX::KXAction {
public:
    bool isReady() override { return true; }

    void execute(void* /*argument*/) override {
        ++executed;
        KXSimulation::setTick(KX::KXTick::getTickCount() + ActionDesk::budgetMs + 1);
    }

    int executed = 0;
};

} // namespace

TEST_F(ActionDeskTest, BeginsWithNothingCounted) {
    EXPECT_EQ("0 0 0 0", shown());
    EXPECT_EQ("", recent());
}

TEST_F(ActionDeskTest, EachEventPostsAnActionAndASoftKeyOneMore) {
    desk.takeEvent(press(0));
    desk.takeEvent(press(6));
    EXPECT_EQ("2 2 0 0", shown());
    desk.takeEvent(softKey(ActionDesk::Fold));
    EXPECT_EQ("4 4 0 0", shown());
    EXPECT_EQ("unfolded, lifted, at rest", desk.implementState().toStdString());
}

TEST_F(ActionDeskTest, AFoldedImplementIsNotReadyToBeLowered) {
    desk.takeEvent(softKey(ActionDesk::Lower));
    EXPECT_EQ("2 1 1 0", shown());
    EXPECT_EQ("Lower: not ready: it is folded; Note the event: executed", recent());
    EXPECT_EQ("folded", desk.implementState().toStdString());

    desk.takeEvent(softKey(ActionDesk::Fold));
    desk.takeEvent(softKey(ActionDesk::Lower));
    EXPECT_EQ("6 5 1 0", shown());
    EXPECT_EQ("unfolded, lowered, at rest", desk.implementState().toStdString());

    desk.takeEvent(softKey(ActionDesk::Fold));
    EXPECT_EQ("8 6 2 0", shown());
    EXPECT_EQ("Fold: not ready: it is in use; Note the event: executed \u00d74; Lower: executed; Fold: executed; "
              "Lower: not ready: it is folded",
              recent());
}

TEST_F(ActionDeskTest, ASoftKeyOnTheScreenActsWithTheNextPressOfTheMouseOnly) {
    KX::KXInputEvent mouse;
    mouse.eventType = KX::MOUSE_PRESS_EVENT;
    desk.softKeyWentDown(ActionDesk::Fold);
    EXPECT_EQ("folded", desk.implementState().toStdString());
    desk.takeEvent(mouse);
    EXPECT_EQ("unfolded, lifted, at rest", desk.implementState().toStdString());
    desk.takeEvent(mouse);
    EXPECT_EQ("3 3 0 0", shown());
}

TEST_F(ActionDeskTest, ALoopIsStoppedAndSaidOnceForEachChain) {
    desk.startLoop();
    // Two actions run in turns. The second is refused when it should run again.
    EXPECT_EQ("4 3 0 1", shown());
    EXPECT_EQ("Adjust valve: stopped, a loop; Check pressure: executed \u00d72; Adjust valve: executed", recent());
    desk.takeEvent(press(KeyCodes::startLoop));
    EXPECT_EQ("9 7 0 2", shown());
    EXPECT_EQ(0U, KXActionQueue::instance()->pendingItems.size());
}

TEST_F(ActionDeskTest, TheButtonOfThePanelStartsTheLoop) {
    QObject::connect(&panel, &ActionPanel::loopRequested, &desk, &ActionDesk::startLoop);
    panel.watch(desk);
    panel.loopButton().click();
    EXPECT_TRUE(QTest::qWaitFor([this] { return panel.numberText(ActionPanel::Loops) == QLatin1String("1"); }));
}

TEST_F(ActionDeskTest, WhatDoesNotFitIntoTheBudgetRunsWhenTheMainLoopHadItsTurn) {
    SlowAction slow;
    KX::KXEvent event;
    for (int i = 0; i < 3; ++i)
        KXActionQueue::instance()->postAction(&slow, &event, nullptr);
    desk.takeEvent(press(0));
    EXPECT_EQ(1, slow.executed);
    EXPECT_EQ("1 0 0 0", shown());
    EXPECT_TRUE(QTest::qWaitFor([this] { return shown() == "1 1 0 0"; })) << shown();
    EXPECT_EQ(3, slow.executed);
}
