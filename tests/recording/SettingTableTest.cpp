#include "recording/KXSettingTable.h"

#include "input/KXInputEventManager.h"
#include "platform/KXStatus.h"
#include "platform/simulated/KXSimulation.h"
#include "recording/KXRecordedCalls.h"

#include <gtest/gtest.h>

#include <map>

using namespace KX;

namespace {

// The settings of a new manager, as it tells them to an observer.
class SettingsSeen : public KXInputObserver {
public:
    SettingsSeen() { KXInputEventManager::setObserver(this); }
    ~SettingsSeen() override { KXInputEventManager::setObserver(nullptr); }

    void onSetting(KXInputSetting setting, std::int64_t value) override { values[setting] = value; }

    std::map<KXInputSetting, std::int64_t> values;
};

class SettingTableTest : public testing::Test {
protected:
    SettingTableTest() {
        KXSimulation::reset();
        manager = KXInputEventManager::createInstance();
    }
    ~SettingTableTest() override { KXInputEventManager::deleteInstance(); }

    int set(KXInputSetting name, std::int64_t value) {
        return Recording::repeatCall(Recording::NumberSetting{name, value}, *manager);
    }

    // Values of a factor just outside the range, if the argument can hold them, and its ends.
    void expectRangeOfFactor(const KXSettingRow& row) {
        EXPECT_EQ(STATUS_OUT_OF_RANGE, set(row.name, row.range.least - 1)) << row.word;
        EXPECT_EQ(STATUS_OK, set(row.name, row.range.least)) << row.word;
        EXPECT_EQ(STATUS_OK, set(row.name, row.range.least + 1)) << row.word;
        EXPECT_EQ(STATUS_OK, set(row.name, row.range.greatest - 1)) << row.word;
        EXPECT_EQ(STATUS_OK, set(row.name, row.range.greatest)) << row.word;
        if (row.argument.contains(row.range.greatest + 1))
            EXPECT_EQ(STATUS_OUT_OF_RANGE, set(row.name, row.range.greatest + 1)) << row.word;
    }

    KXInputEventManager* manager;
};

constexpr std::int64_t longestMs = settingRow(KXInputSetting::LongKeyPressDuration).range.greatest;

} // namespace

TEST_F(SettingTableTest, TheDefaultsAreThoseOfANewManager) {
    const SettingsSeen seen;
    for (const KXSettingRow& row : settingTable) {
        ASSERT_EQ(1U, seen.values.count(row.name)) << row.word;
        EXPECT_EQ(row.defaultValue, seen.values.at(row.name)) << row.word;
    }
    EXPECT_EQ(1U, seen.values.count(KXInputSetting::KeyboardLayout));
    EXPECT_EQ(settingTable.size() + 1, seen.values.size()) << "a setting without a row";
}

TEST_F(SettingTableTest, FactorsOutsideTheirRangeAreRefused) {
    expectRangeOfFactor(settingRow(KXInputSetting::EncoderUserFactor));
    expectRangeOfFactor(settingRow(KXInputSetting::EncoderLowPassFactor));
}

TEST_F(SettingTableTest, NoDurationIsOutOfRangeButADoublePressIsShorterThanALongPress) {
    EXPECT_EQ(longestMs, settingRow(KXInputSetting::DoubleKeyPressDuration).range.greatest);
    EXPECT_EQ(STATUS_OK, set(KXInputSetting::LongKeyPressDuration, longestMs));
    EXPECT_EQ(STATUS_OK, set(KXInputSetting::DoubleKeyPressDuration, longestMs - 1));
    EXPECT_EQ(STATUS_REFUSED, set(KXInputSetting::DoubleKeyPressDuration, longestMs));
    EXPECT_EQ(STATUS_OK, set(KXInputSetting::DoubleKeyPressDuration, 0));
    EXPECT_EQ(STATUS_REFUSED, set(KXInputSetting::LongKeyPressDuration, 0));
    EXPECT_EQ(STATUS_OK, set(KXInputSetting::LongKeyPressDuration, 1));
}

TEST_F(SettingTableTest, TheSwitchTakesOffAndOn) {
    const KXSettingRow& row = settingRow(KXInputSetting::AcceptInput);
    EXPECT_TRUE(row.isSwitch());
    SettingsSeen seen;
    for (const std::int64_t value : {row.range.least, row.range.greatest}) {
        EXPECT_EQ(STATUS_OK, set(row.name, value));
        EXPECT_EQ(value, seen.values.at(row.name));
    }
}

TEST_F(SettingTableTest, EachSettingHasItsUnitAndTheStepOfItsButtons) {
    const struct {
        KXInputSetting name;
        std::string_view unit;
        std::int64_t step;
        bool isDuration;
    } rows[] = {{KXInputSetting::DoubleKeyPressDuration, "ms", 10, true},
                {KXInputSetting::LongKeyPressDuration, "ms", 50, true},
                {KXInputSetting::EncoderUserFactor, "\u2030", 50, false},
                {KXInputSetting::EncoderLowPassFactor, "\u2030", 50, false},
                {KXInputSetting::AcceptInput, "", 0, false}};
    for (const auto& row : rows) {
        const KXSettingRow& found = settingRow(row.name);
        EXPECT_EQ(row.unit, found.unit) << found.word;
        EXPECT_EQ(row.step, found.step) << found.word;
        EXPECT_EQ(row.step == 0, found.isSwitch()) << found.word;
        EXPECT_EQ(row.isDuration, found.isDuration()) << found.word;
    }
}

TEST_F(SettingTableTest, WhatCanBeHandedToASetterIsWhatItsArgumentHolds) {
    const auto expect = [](KXInputSetting name, std::int64_t least, std::int64_t greatest) {
        EXPECT_EQ(least, settingRow(name).argument.least) << settingRow(name).word;
        EXPECT_EQ(greatest, settingRow(name).argument.greatest) << settingRow(name).word;
    };
    expect(KXInputSetting::DoubleKeyPressDuration, 0, 0xFFFFFFFF);
    expect(KXInputSetting::LongKeyPressDuration, 0, 0xFFFFFFFF);
    expect(KXInputSetting::EncoderUserFactor, -0x80000000LL, 0x7FFFFFFF);
    expect(KXInputSetting::EncoderLowPassFactor, -0x80000000LL, 0x7FFFFFFF);
    expect(KXInputSetting::AcceptInput, 0, 1);
}

TEST_F(SettingTableTest, ASettingIsFoundByItsNameOnlyIfItHasARow) {
    for (const KXSettingRow& row : settingTable)
        EXPECT_EQ(row.word, settingRow(row.name).word);
    EXPECT_THROW(settingRow(KXInputSetting::KeyboardLayout), std::out_of_range);
}

TEST_F(SettingTableTest, EachSettingHasTheWordOfRecordingsAndOptions) {
    EXPECT_EQ("double-press", settingRow(KXInputSetting::DoubleKeyPressDuration).word);
    EXPECT_EQ("long-press", settingRow(KXInputSetting::LongKeyPressDuration).word);
    EXPECT_EQ("user-factor", settingRow(KXInputSetting::EncoderUserFactor).word);
    EXPECT_EQ("low-pass", settingRow(KXInputSetting::EncoderLowPassFactor).word);
    EXPECT_EQ("accept-input", settingRow(KXInputSetting::AcceptInput).word);
}
