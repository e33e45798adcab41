#include "terminal/settings/SettingsPanel.h"

#include "events/KXEventType.h"
#include "terminal/look/KeyCodes.h"
#include "terminal/look/ScreenButton.h"
#include "terminal/look/Sizes.h"
#include "terminal/settings/SettingRows.h"

#include <QtTest>

#include <gtest/gtest.h>

using namespace Terminal;

namespace {

// Refuses values like the library.
int judge(InputSettings& settings, KX::KXInputSetting setting, int value) {
    switch (setting) {
    case KX::KXInputSetting::DoubleKeyPressDuration:
        return value < settings.value(KX::KXInputSetting::LongKeyPressDuration) ? 0 : 20;
    case KX::KXInputSetting::LongKeyPressDuration:
        return value > settings.value(KX::KXInputSetting::DoubleKeyPressDuration) ? 0 : 20;
    case KX::KXInputSetting::EncoderUserFactor: return value > 0 ? 0 : 24;
    case KX::KXInputSetting::EncoderLowPassFactor: return value > 0 && value <= 1000 ? 0 : 24;
    default: return 0;
    }
}

class SettingsPanelTest : public testing::Test {
protected:
    SettingsPanelTest()
        : settings([this](KX::KXInputSetting setting, int value) { return judge(settings, setting, value); }),
          panel(settings) {
        panel.resize(780, 320);
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

    int value(KX::KXInputSetting setting) const { return settings.value(setting); }

    InputSettings settings;
    SettingsPanel panel;
};

} // namespace

TEST_F(SettingsPanelTest, EveryControlIsLargeEnoughForAFinger) {
    panel.resize(panel.minimumSizeHint());
    for (const QAbstractButton* button : panel.findChildren<QAbstractButton*>()) {
        EXPECT_GE(button->width(), Sizes::touchLeast) << qPrintable(button->text());
        EXPECT_GE(button->height(), Sizes::touchLeast) << qPrintable(button->text());
    }
    EXPECT_EQ(4 * 2 + 2, panel.findChildren<QAbstractButton*>().size());
    EXPECT_LE(panel.minimumSizeHint().width(), 780);
    EXPECT_LE(panel.minimumSizeHint().height(), 236);
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
    EXPECT_EQ(310, value(KX::KXInputSetting::DoubleKeyPressDuration));
    turn(KX::KX_KEY_DOWN, 21);
    EXPECT_EQ(100, value(KX::KXInputSetting::DoubleKeyPressDuration));
    choose(panel.numberRow(KX::KXInputSetting::LongKeyPressDuration));
    turn(KX::KX_KEY_DOWN, 2);
    EXPECT_EQ(1900, value(KX::KXInputSetting::LongKeyPressDuration));
    EXPECT_EQ(100, value(KX::KXInputSetting::DoubleKeyPressDuration));
}

TEST_F(SettingsPanelTest, ButtonsChangeTheirRowAndChooseIt) {
    NumberRow& row = panel.numberRow(KX::KXInputSetting::EncoderUserFactor);
    touch(row.plusButton());
    EXPECT_EQ(1050, value(KX::KXInputSetting::EncoderUserFactor));
    EXPECT_TRUE(row.isChosen());
    touch(row.minusButton());
    touch(row.minusButton());
    EXPECT_EQ(950, value(KX::KXInputSetting::EncoderUserFactor));
}

TEST_F(SettingsPanelTest, AHeldButtonGoesOn) {
    NumberRow& row = panel.numberRow(KX::KXInputSetting::DoubleKeyPressDuration);
    QTest::mousePress(&row.minusButton(), Qt::LeftButton);
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return value(KX::KXInputSetting::DoubleKeyPressDuration) <= 250; }, 20000))
        << value(KX::KXInputSetting::DoubleKeyPressDuration);
    QTest::mouseRelease(&row.minusButton(), Qt::LeftButton);
}

TEST_F(SettingsPanelTest, ARefusalIsToldInItsRowAndChangesNothing) {
    NumberRow& row = panel.numberRow(KX::KXInputSetting::DoubleKeyPressDuration);
    settings.set(KX::KXInputSetting::LongKeyPressDuration, 310);
    const QString range = row.infoText();
    EXPECT_EQ(QStringLiteral("off to 309\u00a0ms"), range);
    touch(row.plusButton());
    EXPECT_EQ(300, value(KX::KXInputSetting::DoubleKeyPressDuration));
    EXPECT_TRUE(row.saysRefusal());
    EXPECT_EQ(QStringLiteral("Must be below the long press of 310\u00a0ms"), row.infoText());
    EXPECT_FALSE(panel.numberRow(KX::KXInputSetting::LongKeyPressDuration).saysRefusal());
    touch(row.minusButton());
    EXPECT_EQ(290, value(KX::KXInputSetting::DoubleKeyPressDuration));
    EXPECT_FALSE(row.saysRefusal());
    EXPECT_EQ(range, row.infoText());
}

TEST_F(SettingsPanelTest, ReturnSwitchesAndPressesWhenItIsReleased) {
    choose(panel.acceptRow());
    event(KX::KEY_PRESS_EVENT, KX::KX_KEY_RETURN);
    EXPECT_EQ(1, value(KX::KXInputSetting::AcceptInput)) << "the release of the key would be lost";
    event(KX::KEY_RELEASE_EVENT, KX::KX_KEY_RETURN);
    EXPECT_EQ(0, value(KX::KXInputSetting::AcceptInput));
    EXPECT_FALSE(panel.acceptRow().switchButton().isChecked());
    key(KX::KX_KEY_RETURN);
    EXPECT_EQ(1, value(KX::KXInputSetting::AcceptInput));

    settings.set(KX::KXInputSetting::DoubleKeyPressDuration, 111);
    choose(panel.defaultsRow());
    key(KX::KX_KEY_RETURN);
    EXPECT_EQ(300, value(KX::KXInputSetting::DoubleKeyPressDuration));
}

TEST_F(SettingsPanelTest, AReleaseOfReturnThatWasPressedElsewhereDoesNothing) {
    choose(panel.acceptRow());
    event(KX::KEY_RELEASE_EVENT, KX::KX_KEY_RETURN);
    event(KX::KEY_PRESS_EVENT, KX::KX_KEY_RETURN);
    panel.hide();
    panel.show();
    event(KX::KEY_RELEASE_EVENT, KX::KX_KEY_RETURN);
    EXPECT_EQ(1, value(KX::KXInputSetting::AcceptInput));
}

TEST_F(SettingsPanelTest, TheEncoderDoesNotSwitchAndReturnDoesNotChangeNumbers) {
    key(KX::KX_KEY_RETURN);
    choose(panel.acceptRow());
    turn(KX::KX_KEY_DOWN, 3);
    EXPECT_EQ(1, value(KX::KXInputSetting::AcceptInput));
    EXPECT_EQ(300, value(KX::KXInputSetting::DoubleKeyPressDuration));
}

TEST_F(SettingsPanelTest, TheSwitchAndTheButtonWorkByTouch) {
    touch(panel.acceptRow().switchButton());
    EXPECT_EQ(0, value(KX::KXInputSetting::AcceptInput));
    EXPECT_FALSE(panel.acceptRow().switchButton().isChecked());
    touch(panel.acceptRow().switchButton());
    EXPECT_EQ(1, value(KX::KXInputSetting::AcceptInput));
    EXPECT_TRUE(panel.acceptRow().switchButton().isChecked());
    settings.set(KX::KXInputSetting::EncoderLowPassFactor, 1);
    touch(panel.defaultsRow().pressButton());
    EXPECT_EQ(900, value(KX::KXInputSetting::EncoderLowPassFactor));
}

TEST_F(SettingsPanelTest, WhatIsSetElsewhereIsShown) {
    const QImage before = panel.grab().toImage();
    settings.set(KX::KXInputSetting::EncoderLowPassFactor, 500);
    EXPECT_NE(before, panel.grab().toImage());
    settings.set(KX::KXInputSetting::AcceptInput, 0);
    EXPECT_FALSE(panel.acceptRow().switchButton().isChecked());
}

TEST_F(SettingsPanelTest, ValuesBecomeMultiplesOfTheStep) {
    settings.set(KX::KXInputSetting::DoubleKeyPressDuration, 5);
    turn(KX::KX_KEY_UP, 1);
    EXPECT_EQ(10, value(KX::KXInputSetting::DoubleKeyPressDuration));
    settings.set(KX::KXInputSetting::DoubleKeyPressDuration, 5);
    turn(KX::KX_KEY_DOWN, 1);
    EXPECT_EQ(0, value(KX::KXInputSetting::DoubleKeyPressDuration));
}
