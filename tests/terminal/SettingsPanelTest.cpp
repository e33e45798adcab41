#include "terminal/settings/SettingsPanel.h"

#include "events/KXEventType.h"
#include "terminal/settings/SettingRows.h"
#include "terminal/window/KeyCodes.h"
#include "terminal/window/ScreenButton.h"

#include <QtTest>

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

// Refuses values like the library.
int judge(InputSettings& settings, InputSettings::Setting setting, int value) {
    switch (setting) {
    case InputSettings::DoublePressMs: return value < settings.value(InputSettings::LongPressMs) ? 0 : 20;
    case InputSettings::LongPressMs: return value > settings.value(InputSettings::DoublePressMs) ? 0 : 20;
    case InputSettings::UserFactor: return value > 0 ? 0 : 24;
    case InputSettings::LowPassFactor: return value > 0 && value <= 1000 ? 0 : 24;
    default: return 0;
    }
}

class SettingsPanelTest : public testing::Test {
protected:
    SettingsPanelTest()
        : settings([this](InputSettings::Setting setting, int value) { return judge(settings, setting, value); }),
          panel(settings) {
        panel.resize(780, 220);
        panel.show();
        QCoreApplication::processEvents();
    }

    void key(int keyCode) {
        event(KX::KEY_PRESS_EVENT, keyCode);
        event(KX::KEY_RELEASE_EVENT, keyCode);
    }

    void turn(int keyCode, int count) { event(KX::ENCODER_MOVE_EVENT, keyCode, count); }

    void event(int type, int keyCode, int count = -1) {
        KX::KXInputEvent input;
        input.eventType = type;
        input.keyCode = keyCode;
        input.count = count;
        panel.takeInput(input);
    }

    void choose(const SettingRow& row) {
        for (int i = 0; i < panel.rows().size() && panel.rows()[panel.chosenRow()] != &row; ++i)
            key(KX::KX_KEY_TAB);
        ASSERT_EQ(&row, panel.rows()[panel.chosenRow()]);
    }

    static void touch(QWidget& target) { QTest::mouseClick(&target, Qt::LeftButton); }

    int value(InputSettings::Setting setting) const { return settings.value(setting); }

    InputSettings settings;
    SettingsPanel panel;
};

} // namespace

TEST_F(SettingsPanelTest, EveryControlIsLargeEnoughForAFinger) {
    panel.resize(panel.minimumSizeHint());
    for (const QAbstractButton* button : panel.findChildren<QAbstractButton*>()) {
        EXPECT_GE(button->width(), ScreenButton::touchSize) << qPrintable(button->text());
        EXPECT_GE(button->height(), ScreenButton::touchSize) << qPrintable(button->text());
    }
    EXPECT_EQ(4 * 2 + 2, panel.findChildren<QAbstractButton*>().size());
    EXPECT_LE(panel.minimumSizeHint().width(), 780);
    EXPECT_LE(panel.minimumSizeHint().height(), 220);
}

TEST_F(SettingsPanelTest, TabGoesThroughAllRowsAndRoundTheEndAndOneIsMarked) {
    for (int turn = 0; turn <= panel.rows().size(); ++turn) {
        for (int row = 0; row < panel.rows().size(); ++row)
            EXPECT_EQ(row == turn % panel.rows().size(), panel.rows()[row]->isChosen()) << turn << ' ' << row;
        const QImage before = panel.grab().toImage();
        // Two quick presses are a double press.
        event(turn % 2 == 0 ? KX::KEY_DOUBLE_PRESS_EVENT : KX::KEY_PRESS_EVENT, KX::KX_KEY_TAB);
        event(KX::KEY_RELEASE_EVENT, KX::KX_KEY_TAB);
        EXPECT_NE(before, panel.grab().toImage());
    }
}

TEST_F(SettingsPanelTest, TheEncoderChangesTheChosenRowByItsCount) {
    turn(KX::KX_KEY_UP, 1);
    EXPECT_EQ(310, value(InputSettings::DoublePressMs));
    turn(KX::KX_KEY_DOWN, 21);
    EXPECT_EQ(100, value(InputSettings::DoublePressMs));
    choose(panel.numberRow(InputSettings::LongPressMs));
    turn(KX::KX_KEY_DOWN, 2);
    EXPECT_EQ(1900, value(InputSettings::LongPressMs));
    EXPECT_EQ(100, value(InputSettings::DoublePressMs));
}

TEST_F(SettingsPanelTest, ButtonsChangeTheirRowAndChooseIt) {
    NumberRow& row = panel.numberRow(InputSettings::UserFactor);
    touch(row.plusButton());
    EXPECT_EQ(1050, value(InputSettings::UserFactor));
    EXPECT_TRUE(row.isChosen());
    touch(row.minusButton());
    touch(row.minusButton());
    EXPECT_EQ(950, value(InputSettings::UserFactor));
}

TEST_F(SettingsPanelTest, AHeldButtonGoesOn) {
    NumberRow& row = panel.numberRow(InputSettings::DoublePressMs);
    QTest::mousePress(&row.minusButton(), Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor([this] { return value(InputSettings::DoublePressMs) <= 250; }, 20000))
        << value(InputSettings::DoublePressMs);
    QTest::mouseRelease(&row.minusButton(), Qt::LeftButton);
}

TEST_F(SettingsPanelTest, ARefusalIsToldInItsRowAndChangesNothing) {
    NumberRow& row = panel.numberRow(InputSettings::DoublePressMs);
    settings.set(InputSettings::LongPressMs, 310);
    const QString range = row.infoText();
    EXPECT_EQ(QStringLiteral("0 to 309 ms"), range);
    touch(row.plusButton());
    EXPECT_EQ(300, value(InputSettings::DoublePressMs));
    EXPECT_TRUE(row.saysRefusal());
    EXPECT_EQ(QStringLiteral("Not below the long press of 310 ms"), row.infoText());
    EXPECT_FALSE(panel.numberRow(InputSettings::LongPressMs).saysRefusal());
    touch(row.minusButton());
    EXPECT_EQ(290, value(InputSettings::DoublePressMs));
    EXPECT_FALSE(row.saysRefusal());
    EXPECT_EQ(range, row.infoText());
}

TEST_F(SettingsPanelTest, ReturnSwitchesAndPressesWhenItIsReleased) {
    choose(panel.acceptRow());
    event(KX::KEY_PRESS_EVENT, KX::KX_KEY_RETURN);
    EXPECT_EQ(1, value(InputSettings::AcceptInput)) << "the release of the key would be lost";
    event(KX::KEY_RELEASE_EVENT, KX::KX_KEY_RETURN);
    EXPECT_EQ(0, value(InputSettings::AcceptInput));
    EXPECT_FALSE(panel.acceptRow().switchButton().isChecked());
    key(KX::KX_KEY_RETURN);
    EXPECT_EQ(1, value(InputSettings::AcceptInput));

    settings.set(InputSettings::DoublePressMs, 111);
    choose(panel.defaultsRow());
    key(KX::KX_KEY_RETURN);
    EXPECT_EQ(300, value(InputSettings::DoublePressMs));
}

TEST_F(SettingsPanelTest, AReleaseOfReturnThatWasPressedElsewhereDoesNothing) {
    choose(panel.acceptRow());
    event(KX::KEY_RELEASE_EVENT, KX::KX_KEY_RETURN);
    event(KX::KEY_PRESS_EVENT, KX::KX_KEY_RETURN);
    panel.hide();
    panel.show();
    event(KX::KEY_RELEASE_EVENT, KX::KX_KEY_RETURN);
    EXPECT_EQ(1, value(InputSettings::AcceptInput));
}

TEST_F(SettingsPanelTest, TheEncoderDoesNotSwitchAndReturnDoesNotChangeNumbers) {
    key(KX::KX_KEY_RETURN);
    choose(panel.acceptRow());
    turn(KX::KX_KEY_DOWN, 3);
    EXPECT_EQ(1, value(InputSettings::AcceptInput));
    EXPECT_EQ(300, value(InputSettings::DoublePressMs));
}

TEST_F(SettingsPanelTest, TheSwitchAndTheButtonWorkByTouch) {
    touch(panel.acceptRow().switchButton());
    EXPECT_EQ(0, value(InputSettings::AcceptInput));
    EXPECT_FALSE(panel.acceptRow().switchButton().isChecked());
    touch(panel.acceptRow().switchButton());
    EXPECT_EQ(1, value(InputSettings::AcceptInput));
    EXPECT_TRUE(panel.acceptRow().switchButton().isChecked());
    settings.set(InputSettings::LowPassFactor, 1);
    touch(panel.defaultsRow().pressButton());
    EXPECT_EQ(900, value(InputSettings::LowPassFactor));
}

TEST_F(SettingsPanelTest, WhatIsSetElsewhereIsShown) {
    const QImage before = panel.grab().toImage();
    settings.set(InputSettings::LowPassFactor, 500);
    EXPECT_NE(before, panel.grab().toImage());
    settings.set(InputSettings::AcceptInput, 0);
    EXPECT_FALSE(panel.acceptRow().switchButton().isChecked());
}

TEST_F(SettingsPanelTest, ValuesBecomeMultiplesOfTheStep) {
    settings.set(InputSettings::DoublePressMs, 5);
    turn(KX::KX_KEY_UP, 1);
    EXPECT_EQ(10, value(InputSettings::DoublePressMs));
    settings.set(InputSettings::DoublePressMs, 5);
    turn(KX::KX_KEY_DOWN, 1);
    EXPECT_EQ(0, value(InputSettings::DoublePressMs));
}
