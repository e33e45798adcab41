#include "terminal/settings/InputSettings.h"

#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <QSignalSpy>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

using namespace Terminal;

using testing::ElementsAre;

namespace {

int applyToLibrary(KX::KXInputSetting setting, int value) {
    KX::KXInputEventManager& manager = *KX::KXInputEventManager::getInstance();
    switch (setting) {
    case KX::KXInputSetting::DoubleKeyPressDuration:
        return manager.setDoubleKeyPressDuration(static_cast<unsigned int>(value));
    case KX::KXInputSetting::LongKeyPressDuration:
        return manager.setLongKeyPressDuration(static_cast<unsigned int>(value));
    case KX::KXInputSetting::EncoderUserFactor: return KX::KXEncoderDynamic::instance()->setUserFactor(value);
    case KX::KXInputSetting::EncoderLowPassFactor:
        return KX::KXEncoderDynamic::instance()->setLowPassFactor(value);
    default: return manager.acceptInput(value != 0);
    }
}

// The settings, connected to the library.
class InputSettingsTest : public testing::Test {
protected:
    InputSettingsTest() : settings(applyToLibrary) {
        qRegisterMetaType<KX::KXInputSetting>();
        KX::KXSimulation::reset();
        manager = KX::KXInputEventManager::createInstance();
    }

    ~InputSettingsTest() override { KX::KXInputEventManager::deleteInstance(); }

    std::vector<int> values() const {
        std::vector<int> all;
        for (const KX::KXSettingRow& row : KX::settingTable)
            all.push_back(settings.value(row.name));
        return all;
    }

    // The event type of a press \p gapMs after another press.
    int secondPressAfter(unsigned int gapMs) {
        static unsigned int now = 100000;
        now += 50000;
        press(now);
        return press(now + gapMs);
    }

    int press(unsigned int tick) {
        KX::KXInputEvent event;
        event.eventType = KX::KEY_PRESS_EVENT;
        event.keyCode = 1;
        event.timeStamp = tick;
        manager->inputEventOccurred(event);
        return event.eventType;
    }

    InputSettings settings;
    KX::KXInputEventManager* manager;
};

void expectRefused(InputSettings& settings, KX::KXInputSetting setting, int value, int status) {
    const int before = settings.value(setting);
    QSignalSpy changed(&settings, &InputSettings::changed);
    QSignalSpy refused(&settings, &InputSettings::refused);
    EXPECT_EQ(status, settings.set(setting, value)) << value;
    EXPECT_EQ(before, settings.value(setting)) << value;
    EXPECT_EQ(0, changed.size()) << value;
    ASSERT_EQ(1, refused.size()) << value;
    EXPECT_EQ(value, refused[0][1].toInt());
    EXPECT_EQ(status, refused[0][2].toInt());
}

} // namespace

TEST_F(InputSettingsTest, TheyBeginAsTheLibraryDoes) {
    EXPECT_THAT(values(), ElementsAre(300, 2000, 1000, 900, 1));
    EXPECT_EQ(KX::KXEncoderDynamic::instance()->getUserFactor(),
              settings.value(KX::KXInputSetting::EncoderUserFactor));
    EXPECT_EQ(KX::KXEncoderDynamic::instance()->getLowPassFactor(),
              settings.value(KX::KXInputSetting::EncoderLowPassFactor));
    EXPECT_EQ(KX::KEY_DOUBLE_PRESS_EVENT, secondPressAfter(300));
    EXPECT_EQ(KX::KEY_PRESS_EVENT, secondPressAfter(301));
}

TEST_F(InputSettingsTest, AChangeTakesEffectAtOnceAndIsTold) {
    QSignalSpy changed(&settings, &InputSettings::changed);
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::DoubleKeyPressDuration, 100));
    EXPECT_EQ(KX::KEY_DOUBLE_PRESS_EVENT, secondPressAfter(100));
    EXPECT_EQ(KX::KEY_PRESS_EVENT, secondPressAfter(101));
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::EncoderUserFactor, 2500));
    EXPECT_EQ(2500, KX::KXEncoderDynamic::instance()->getUserFactor());
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::EncoderLowPassFactor, 1));
    EXPECT_EQ(1, KX::KXEncoderDynamic::instance()->getLowPassFactor());
    ASSERT_EQ(3, changed.size());
    EXPECT_EQ(100, changed[0][1].toInt());
    EXPECT_EQ(2500, changed[1][1].toInt());
    EXPECT_EQ(1, changed[2][1].toInt());
}

TEST_F(InputSettingsTest, TheSameValueAgainIsNoChange) {
    QSignalSpy changed(&settings, &InputSettings::changed);
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::LongKeyPressDuration, 2000));
    EXPECT_EQ(0, changed.size());
}

TEST_F(InputSettingsTest, TheDoublePressStaysBelowTheLongPress) {
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::DoubleKeyPressDuration, 1999));
    expectRefused(settings, KX::KXInputSetting::DoubleKeyPressDuration, 2000, 20);
    expectRefused(settings, KX::KXInputSetting::DoubleKeyPressDuration, 2001, 20);
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::LongKeyPressDuration, 2001));
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::LongKeyPressDuration, 2000));
    expectRefused(settings, KX::KXInputSetting::LongKeyPressDuration, 1999, 20);
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::DoubleKeyPressDuration, 0));
    expectRefused(settings, KX::KXInputSetting::DoubleKeyPressDuration, -1, 20);
    expectRefused(settings, KX::KXInputSetting::LongKeyPressDuration, -1, 20);
}

TEST_F(InputSettingsTest, FactorsOutOfRangeAreRefused) {
    expectRefused(settings, KX::KXInputSetting::EncoderUserFactor, 0, 24);
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::EncoderUserFactor, 1));
    expectRefused(settings, KX::KXInputSetting::EncoderLowPassFactor, 0, 24);
    expectRefused(settings, KX::KXInputSetting::EncoderLowPassFactor, 1001, 24);
    EXPECT_EQ(0, settings.set(KX::KXInputSetting::EncoderLowPassFactor, 1000));
}

TEST_F(InputSettingsTest, InputIsLostWhileItIsNotAccepted) {
    settings.set(KX::KXInputSetting::AcceptInput, 0);
    press(1000);
    EXPECT_FALSE(manager->hasEvents());
    settings.set(KX::KXInputSetting::AcceptInput, 1);
    press(3000);
    EXPECT_TRUE(manager->hasEvents());
}

TEST_F(InputSettingsTest, DefaultsComeBackFromAnywhere) {
    struct Durations {
        int doublePressMs;
        int longPressMs;
    };
    for (const Durations from :
         {Durations{0, 1}, {299, 300}, {300, 301}, {1999, 2000}, {2000, 2001}, {5000, 9000}}) {
        settings.set(KX::KXInputSetting::LongKeyPressDuration, 10000);
        settings.set(KX::KXInputSetting::DoubleKeyPressDuration, from.doublePressMs);
        settings.set(KX::KXInputSetting::LongKeyPressDuration, from.longPressMs);
        ASSERT_EQ(from.doublePressMs, settings.value(KX::KXInputSetting::DoubleKeyPressDuration));
        ASSERT_EQ(from.longPressMs, settings.value(KX::KXInputSetting::LongKeyPressDuration));
        settings.set(KX::KXInputSetting::EncoderUserFactor, 5);
        settings.set(KX::KXInputSetting::EncoderLowPassFactor, 5);
        settings.set(KX::KXInputSetting::AcceptInput, 0);
        settings.restoreDefaults();
        EXPECT_THAT(values(), ElementsAre(300, 2000, 1000, 900, 0))
            << from.doublePressMs << ' ' << from.longPressMs;
    }
}

TEST_F(InputSettingsTest, ARefusalIsPutIntoWords) {
    const auto words = [this](KX::KXInputSetting setting, int value, int status) {
        return SettingText::refusal(setting, value, status, settings).toStdString();
    };
    EXPECT_EQ("Must be below the long press of 2000\u00a0ms",
              words(KX::KXInputSetting::DoubleKeyPressDuration, 2000, 20));
    EXPECT_EQ("Must be 0\u00a0ms or more", words(KX::KXInputSetting::DoubleKeyPressDuration, -10, 20));
    EXPECT_EQ("Must be above the double press of 300\u00a0ms",
              words(KX::KXInputSetting::LongKeyPressDuration, 300, 20));
    EXPECT_EQ("Must be \u00d7\u00a00.001 or more", words(KX::KXInputSetting::EncoderUserFactor, 0, 24));
    EXPECT_EQ("Must be 0.1\u00a0% or more", words(KX::KXInputSetting::EncoderLowPassFactor, 0, 24));
    EXPECT_EQ("Must be 100\u00a0% or less", words(KX::KXInputSetting::EncoderLowPassFactor, 1050, 24));
    EXPECT_EQ("Refused with status 99", words(KX::KXInputSetting::EncoderLowPassFactor, 1, 99));
}
