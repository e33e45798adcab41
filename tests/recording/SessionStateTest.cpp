// The settings that a session has at one moment, and the calls that bring a new manager there.

#include "recording/format/SessionState.h"

#include "recording/KXCANIdentifier.h"
#include "recording/KXKeyLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace KX::Recording {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string describe(const Input& input) {
    if (const auto* const number = std::get_if<NumberSetting>(&input))
        return std::to_string(static_cast<int>(number->name)) + "=" + std::to_string(number->value);
    if (const auto* const table = std::get_if<SpeedTable>(&input))
        return "table from " + std::to_string(table->rows.empty() ? 0 : table->rows.front().timeGap);
    if (const auto* const mapping = std::get_if<KeyMapping>(&input)) {
        std::string text = "keys";
        for (const auto& [toolkitKey, keyCode] : mapping->keyCodeOfToolkitKey)
            text += " " + std::to_string(toolkitKey) + ":" + std::to_string(keyCode);
        return text;
    }
    if (const auto* const frame = std::get_if<Frame>(&input))
        return "frame " + std::to_string(frame->message.canId) + " of " +
               std::to_string(frame->message.canData[0]);
    return std::holds_alternative<Keypad>(input) ? "keypad" : "pass";
}

std::vector<std::string> inputsAfter(const std::vector<Input>& inputs) {
    SessionState state;
    for (const Input& input : inputs)
        state.apply(input);
    std::vector<std::string> told;
    for (const Input& input : state.asInputs())
        told.push_back(describe(input));
    return told;
}

NumberSetting doublePress(std::int64_t ms) {
    return {KXInputSetting::DoubleKeyPressDuration, ms};
}

NumberSetting longPress(std::int64_t ms) {
    return {KXInputSetting::LongKeyPressDuration, ms};
}

Frame frameOf(std::uint32_t identifier, int firstByte) {
    Frame frame{"can0", {}};
    frame.message.canId = identifier;
    frame.message.canData[0] = static_cast<unsigned char>(firstByte);
    return frame;
}

Keypad keypadWithKeyAt(int identifier) {
    CANRemoteOptions layout = KeyLayout::empty();
    layout.encoderCANId = 0x18FF0003;
    layout.keys[15] = {16, 1, 0, 0, identifier, 0};
    return {std::make_shared<const CANRemoteOptions>(layout)};
}

TEST(SessionStateTest, OfANewManagerNeedsNoCall) {
    EXPECT_THAT(inputsAfter({}), IsEmpty());
    EXPECT_THAT(inputsAfter({Pass(), KXToolkitEvent(), NumberSetting{KXInputSetting::KeyboardLayout, 3}}),
                IsEmpty());
}

TEST(SessionStateTest, HasNoDurationThatTheManagerRefuses) {
    EXPECT_THAT(inputsAfter({doublePress(1999)}), ElementsAre("0=1999"));
    EXPECT_THAT(inputsAfter({doublePress(2000)}), IsEmpty());
    EXPECT_THAT(inputsAfter({longPress(301)}), ElementsAre("1=301"));
    EXPECT_THAT(inputsAfter({longPress(300)}), IsEmpty());
    EXPECT_THAT(inputsAfter({longPress(1000), doublePress(1000)}), ElementsAre("1=1000"));
    EXPECT_THAT(inputsAfter({doublePress(500), longPress(500)}), ElementsAre("0=500"));
}

// A new manager takes a double-press time below 2000 only, and a long-press time above 300.
TEST(SessionStateTest, BringsDurationsInAnOrderThatANewManagerTakes) {
    EXPECT_THAT(inputsAfter({longPress(4000), doublePress(1999)}), ElementsAre("0=1999", "1=4000"));
    EXPECT_THAT(inputsAfter({longPress(4000), doublePress(2000)}), ElementsAre("1=4000", "0=2000"));
    EXPECT_THAT(inputsAfter({doublePress(100), longPress(200)}), ElementsAre("0=100", "1=200"));
}

TEST(SessionStateTest, HasTheLastFactorThatWasInRange) {
    const auto factor = [](KXInputSetting name, std::int64_t value) { return NumberSetting{name, value}; };
    EXPECT_THAT(
        inputsAfter({factor(KXInputSetting::EncoderUserFactor, 1), factor(KXInputSetting::EncoderUserFactor, 0),
                     factor(KXInputSetting::EncoderLowPassFactor, 1000),
                     factor(KXInputSetting::EncoderLowPassFactor, 1001), factor(KXInputSetting::AcceptInput, 0)}),
        ElementsAre("2=1", "3=1000", "4=0"));
}

TEST(SessionStateTest, HasTheLastTableAndARefusedOneBehindIt) {
    const SpeedTable table{{{5, 2}, {40, 1}}};
    const SpeedTable refused{{{7, 1}, {7, 1}}};
    EXPECT_THAT(inputsAfter({table, SpeedTable{{{6, 1}, {7, 1}}}}), ElementsAre("table from 6"));
    EXPECT_THAT(inputsAfter({table, refused}), ElementsAre("table from 5", "table from 7"));
    EXPECT_THAT(inputsAfter({refused, table}), ElementsAre("table from 5"));
}

TEST(SessionStateTest, HasTheKeypadAndItsLastFramesEachWithAPass) {
    const int keyId = 0x18FF0001;
    EXPECT_THAT(inputsAfter({frameOf(keyId, 1), keypadWithKeyAt(keyId), frameOf(77, 1)}), ElementsAre("keypad"))
        << "a frame before it, and one that it ignores";
    EXPECT_THAT(
        inputsAfter({keypadWithKeyAt(keyId), frameOf(keyId, 1), frameOf(0x18FF0003, 2), frameOf(keyId, 3)}),
        ElementsAre("keypad", "frame 419364865 of 3", "pass", "frame 419364867 of 2", "pass"));
}

TEST(SessionStateTest, HasAllMappingsAndThoseFirstThatLostTheirKey) {
    EXPECT_THAT(inputsAfter({KeyMapping{{{100, 9}, {101, 1}}}}), ElementsAre("keys 100:9 101:1"));
    EXPECT_THAT(inputsAfter({KeyMapping{{{100, 9}}}, KeyMapping{{{100, 10}}}}),
                ElementsAre("keys 100:9", "keys 100:10"));
    EXPECT_THAT(inputsAfter({KeyMapping{{{100, 6}}}, KeyMapping{{{100, 10}}}}), ElementsAre("keys 100:10"))
        << "every manager has a key for the code 6";
    EXPECT_THAT(inputsAfter({KeyMapping{{{100, 0}}}, KeyMapping{{{100, 10}}}}), ElementsAre("keys 100:10"))
        << "and for 0";
    EXPECT_THAT(inputsAfter({KeyMapping{{{100, -1}}}, KeyMapping{{{100, 10}}}}),
                ElementsAre("keys 100:-1", "keys 100:10"));
    EXPECT_THAT(inputsAfter({KeyMapping{{{100, 7}}}, KeyMapping{{{100, 0}}}}),
                ElementsAre("keys 100:7", "keys 100:0"));
}

TEST(ToldKeysTest, AreThoseOfEveryManagerAndThoseThatWereMapped) {
    ToldKeys keys;
    EXPECT_EQ(keys.toolkitKeys().size(), 7U);
    EXPECT_EQ(keys.toolkitKeys().count(6), 1U);
    EXPECT_EQ(keys.toolkitKeys().count(7), 0U);
    keys.add({{{100, 7}, {101, 6}}});
    EXPECT_EQ(keys.toolkitKeys().at(7), 100);
    EXPECT_EQ(keys.toolkitKeys().at(6), 101);
    EXPECT_EQ(keys.toolkitKeys().size(), 8U);
}

TEST(RestartGapTest, IsTwiceTheLongestGapOfATableOfTwoRows) {
    EXPECT_EQ(restartGapOf({}), 500U);
    EXPECT_EQ(restartGapOf({{{10, 1}}}), 500U);
    EXPECT_EQ(restartGapOf({{{10, 2}, {40, 1}}}), 80U);
    EXPECT_EQ(restartGapOf({{{10, 3}, {40, 2}, {50, 1}}}), 100U);
}

TEST(ForeignFrameTest, HasAnIdentifierOfNeitherAKeyNorTheEncoder) {
    const CANRemoteOptions layout = *keypadWithKeyAt(0x18FF0001).layout;
    EXPECT_FALSE(isForeign(frameOf(0x18FF0001, 0), layout));
    EXPECT_FALSE(isForeign(frameOf(0x18FF0003, 0), layout));
    EXPECT_FALSE(isForeign(frameOf(0x18FF0001 | CanBus::extendedFlag, 0), layout)) << "the flag is no identifier";
    EXPECT_TRUE(isForeign(frameOf(0x18FF0002, 0), layout));
    EXPECT_TRUE(isForeign(frameOf(0x08FF0001, 0), layout));
}

} // namespace
} // namespace KX::Recording
