#include "CANRemoteKeypadFixture.h"
#include "input/KXInputObserver.h"
#include "platform/KXPipe.h"

#include <gmock/gmock.h>

#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace KX {
namespace {

using test::CANRemoteKeypad;
using test::encoderId;
using test::homePress;
using test::keyId;
using test::ToolkitKey;
using testing::ElementsAre;
using testing::IsEmpty;

const auto* const environment = testing::AddGlobalTestEnvironment(new test::OffscreenApplication);

constexpr const char* enabledLine = "KXInputEventManager::setRask44options: 44 enabled\n";

const ToolkitKey homeRelease{false, Qt::Key_Home};

TEST_F(CANRemoteKeypad, a_key_is_pressed_once_and_released_once) {
    describeKey(0, 12, 2, 5);
    set();
    const KXCANMessage down = frame(keyId, {0xFF, 0xFF, 0x20});
    const KXCANMessage up = frame(keyId, {0xFF, 0xFF, 0xDF});
    EXPECT_EQ(give(up), "");
    EXPECT_EQ(give(down), "Key 12, KeyCode: 1, pressed\n");
    EXPECT_EQ(give(down), "");
    EXPECT_EQ(give(up), "Key 12, KeyCode: 1, released\n");
    EXPECT_EQ(give(up), "");
    EXPECT_THAT(window.take(), ElementsAre(homePress, homeRelease));
}

TEST_F(CANRemoteKeypad, keys_of_one_frame_are_decoded_in_the_order_of_their_entries) {
    describeKey(9, 3, 0, 0).keyCode = 6;
    describeKey(2, 1, 0, 7).keyCode = 2;
    describeKey(5, 2, 7, 3).keyCode = 3;
    set();
    EXPECT_EQ(give(frame(keyId, {0x81, 0, 0, 0, 0, 0, 0, 0x08})), "Key 1, KeyCode: 2, pressed\n"
                                                                  "Key 2, KeyCode: 3, pressed\n"
                                                                  "Key 3, KeyCode: 6, pressed\n");
    EXPECT_THAT(window.take(), ElementsAre(ToolkitKey{true, Qt::Key_Tab}, ToolkitKey{true, Qt::Key_Return},
                                           ToolkitKey{true, Qt::Key_End}));
}

TEST_F(CANRemoteKeypad, a_bit_outside_its_byte_reads_as_0) {
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    for (const int bit : {0, 7, 8, 9, 31, 32, 255, 256, -1, most, least}) {
        describeKey(0, 1, 0, bit);
        set();
        const bool isInside = bit == 0 || bit == 7;
        EXPECT_EQ(give(frame(keyId, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF})),
                  isInside ? "Key 1, KeyCode: 1, pressed\n" : "")
            << "bit " << bit;
    }
}

TEST_F(CANRemoteKeypad, a_byte_outside_the_frame_reads_as_0) {
    const int most = std::numeric_limits<int>::max();
    const int least = std::numeric_limits<int>::min();
    KXCANMessage ones = frame(keyId, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    ones.canAux = 0xFFFFFFFF; // stands behind the bytes
    for (const int byte : {-1, 0, 1, 6, 7, 8, 255, 256, most, least}) {
        describeKey(0, 1, byte, 0);
        set();
        const bool isInside = byte >= 0 && byte <= 7;
        EXPECT_EQ(give(ones), isInside ? "Key 1, KeyCode: 1, pressed\n" : "") << "byte " << byte;
    }
}

TEST_F(CANRemoteKeypad, flag_bits_of_the_identifier_do_not_count_but_its_29_bits_do) {
    for (const std::uint32_t flags : {0x20000000U, 0x40000000U, 0x80000000U, 0xE0000000U}) {
        describeKey(0, 1, 0, 0);
        set();
        EXPECT_EQ(give(frame(keyId | flags, {1})), "Key 1, KeyCode: 1, pressed\n") << std::hex << flags;
    }
    set();
    for (const std::uint32_t otherId : {keyId - 1U, keyId + 1U, keyId ^ 0x10000000U})
        EXPECT_EQ(give(frame(otherId, {1})), "") << std::hex << otherId;
}

TEST_F(CANRemoteKeypad, default_entries_are_bit_0_of_byte_0_in_frame_0_and_key_code_0) {
    options = CANRemoteOptions();
    EXPECT_EQ(options.keys[0].pressed, 0);
    set();
    std::string pressed;
    for (std::size_t key = 0; key < std::size(options.keys); ++key)
        pressed += "Key 0, KeyCode: 0, pressed\n";
    EXPECT_EQ(give(frame(1, {1, 1})), "") << "nor are they in any other frame";
    EXPECT_EQ(give(frame(0, {0xFE, 1})), "");
    EXPECT_EQ(give(frame(0, {1})), pressed);
}

TEST_F(CANRemoteKeypad, the_bus_has_setting_0_by_default) {
    options.enabled = true;
    set(0, enabledLine);
    EXPECT_EQ(KXSimulation::getCANSetting(0), 0);
}

TEST_F(CANRemoteKeypad, the_pressed_states_begin_with_released_whatever_the_caller_says) {
    describeKey(0, 1, 0, 0).pressed = 1;
    set();
    EXPECT_EQ(give(frame(keyId, {0})), "");
    EXPECT_EQ(give(frame(keyId, {1})), "Key 1, KeyCode: 1, pressed\n");
    set();
    EXPECT_EQ(give(frame(keyId, {1})), "Key 1, KeyCode: 1, pressed\n") << "set again, it begins again";
}

TEST_F(CANRemoteKeypad, the_index_that_the_caller_hands_over_does_not_count) {
    describeKey(0, 1, 0, 0);
    KeyOptionsCANRemote own{99, 1, 0, 1, keyId, 0};
    options.keyIndex.emplace(keyId, &own);
    set();
    EXPECT_EQ(give(frame(keyId, {3})), "Key 1, KeyCode: 1, pressed\n");
    EXPECT_EQ(own.pressed, 0);
}

TEST_F(CANRemoteKeypad, set_again_still_finds_the_key_of_the_same_place_by_the_identifier_of_before) {
    describeKey(0, 1, 0, 0);
    set();
    describeKey(0, 2, 0, 1).canId = keyId + 1;
    set();
    EXPECT_EQ(give(frame(keyId, {2})), "Key 2, KeyCode: 1, pressed\n");
    EXPECT_EQ(give(frame(keyId + 1, {0})), "Key 2, KeyCode: 1, released\n");
}

TEST_F(CANRemoteKeypad, hands_an_empty_message_to_the_bus) {
    bus.asked.canId = 77;
    bus.asked.canLength = 1;
    bus.asked.canData[3] = 1;
    bus.asked.canAux = 9;
    readable();
    EXPECT_EQ(bus.asked.canId, 0U);
    EXPECT_EQ(bus.asked.canLength, 8U);
    EXPECT_THAT(bus.asked.canData, testing::Each(0));
    EXPECT_EQ(bus.asked.canAux, 0U);
}

TEST_F(CANRemoteKeypad, a_read_that_fails_changes_nothing) {
    describeKey(0, 1, 0, 0).canId = 0; // an empty message would release it
    set();
    give(frame(0, {1}));
    encoderStandsAt(50);
    window.take();
    EXPECT_EQ(readable(), "");
    EXPECT_THAT(window.take(), IsEmpty());
    EXPECT_EQ(give(encoderFrame(51)), "ENCODER UP: 51 (50)\n");
}

TEST_F(CANRemoteKeypad, takes_one_frame_at_a_time) {
    set();
    encoderStandsAt(0);
    bus.frames = {encoderFrame(1), encoderFrame(2)};
    EXPECT_EQ(readable(), "ENCODER UP: 1 (0)\n");
    EXPECT_EQ(readable(), "ENCODER UP: 2 (1)\n");
}

TEST_F(CANRemoteKeypad, a_bus_that_goes_away_and_comes_back_changes_nothing) {
    describeKey(0, 1, 0, 0);
    set();
    give(frame(keyId, {1}));
    window.take();
    testing::internal::CaptureStdout();
    handler->onEndPointDisconnected(&bus);
    handler->onEndPointReconnected(&bus);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_THAT(window.take(), IsEmpty());
    EXPECT_EQ(give(frame(keyId, {1})), "");
}

TEST_F(CANRemoteKeypad, a_layout_that_is_not_enabled_opens_no_bus) {
    const unsigned int living = KXSimulation::getLivingObjects();
    set(0, "");
    EXPECT_EQ(KXSimulation::getLivingObjects(), living);
    EXPECT_EQ(KXSimulation::getCANSetting(0), -1);
}

TEST_F(CANRemoteKeypad, reads_nothing_but_a_bus) {
    KXPipe pipe;
    testing::internal::CaptureStdout();
    handler->onEndPointReadable(&pipe, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_THAT(window.take(), IsEmpty());
}

/// The keypads that an observer hears of when it is set.
std::vector<CANRemoteOptions> toldToLaterObserver() {
    class Keypads : public KXInputObserver {
    public:
        void onKeypad(const CANRemoteOptions& keypad) override { told.push_back(keypad); }
        std::vector<CANRemoteOptions> told;
    } observer;
    KXInputEventManager::setObserver(&observer);
    KXInputEventManager::setObserver(nullptr);
    return observer.told;
}

TEST_F(CANRemoteKeypad, that_is_on_is_told_to_an_observer_that_comes_later) {
    describeKey(1, 9, 0, 0).pressed = 1;
    KeyOptionsCANRemote own{99, 1, 0, 1, keyId, 0};
    options.keyIndex.emplace(keyId, &own);
    options.enabled = true;
    set(0, enabledLine);
    const std::vector<CANRemoteOptions> told = toldToLaterObserver();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_TRUE(told[0].enabled);
    EXPECT_EQ(told[0].encoderCANId, options.encoderCANId);
    EXPECT_EQ(told[0].keys[1].keyNumber, 9);
    EXPECT_EQ(told[0].keys[1].pressed, 0) << "as it was set, without the present states";
    EXPECT_THAT(told[0].keyIndex, IsEmpty());
}

TEST_F(CANRemoteKeypad, that_is_on_stays_on_with_a_later_layout_that_is_not_enabled) {
    EXPECT_THAT(toldToLaterObserver(), IsEmpty()) << "none is on yet";
    options.enabled = true;
    set(0, enabledLine);
    options.enabled = false;
    options.encoderCANId = encoderId + 1;
    set();
    const std::vector<CANRemoteOptions> told = toldToLaterObserver();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_TRUE(told[0].enabled);
    EXPECT_EQ(told[0].encoderCANId, encoderId + 1);
}

TEST_F(CANRemoteKeypad, an_enabled_one_hears_the_frames_of_bus_0) {
    describeKey(0, 1, 0, 0);
    options.enabled = true;
    set(0, enabledLine);
    KXSimulation::scheduleCANFrame(1, 10, frame(keyId, {1}));
    KXSimulation::advance(20);
    EXPECT_THAT(window.take(), IsEmpty()) << "of another bus";
    KXSimulation::scheduleCANFrame(0, 30, frame(keyId, {1}));
    testing::internal::CaptureStdout();
    KXSimulation::advance(9);
    EXPECT_THAT(window.take(), IsEmpty()) << "one before it comes";
    KXSimulation::advance(1);
    std::cout.flush();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Key 1, KeyCode: 1, pressed\n");
    EXPECT_THAT(window.take(), ElementsAre(homePress));
}

TEST_F(CANRemoteKeypad, hands_the_setting_to_the_bus_and_does_not_mind_its_refusal) {
    options.enabled = true;
    for (const int setting : {0, 1, 255}) {
        options.endPointSetting = static_cast<std::uint8_t>(setting);
        set(0, enabledLine);
        EXPECT_EQ(KXSimulation::getCANSetting(0), setting);
    }
}

TEST_F(CANRemoteKeypad, a_bus_that_cannot_be_opened_leaves_it_off_without_a_complaint) {
    describeKey(0, 1, 0, 0);
    options.enabled = true;
    KXSimulation::refuseCANBuses(1);
    const unsigned int living = KXSimulation::getLivingObjects();
    testing::internal::CaptureStderr();
    set(0, enabledLine);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(KXSimulation::getLivingObjects(), living);
    EXPECT_EQ(KXSimulation::getCANSetting(0), -1);
    KXSimulation::scheduleCANFrame(0, 1, frame(keyId, {1}));
    KXSimulation::advance(200);
    EXPECT_THAT(window.take(), IsEmpty());
}

TEST_F(CANRemoteKeypad, enabled_again_opens_a_second_bus_and_no_key_is_pressed_twice) {
    describeKey(0, 1, 0, 0);
    options.enabled = true;
    const unsigned int living = KXSimulation::getLivingObjects();
    set(0, enabledLine);
    set(0, enabledLine);
    EXPECT_EQ(KXSimulation::getLivingObjects(), living + 2);
    KXSimulation::scheduleCANFrame(0, 10, frame(keyId, {1}));
    EXPECT_EQ(KXSimulation::getPendingCANFrames(), 1U);
    KXSimulation::advance(10);
    EXPECT_EQ(KXSimulation::getPendingCANFrames(), 0U) << "both have read it";
    EXPECT_THAT(window.take(), ElementsAre(homePress));
}

TEST_F(CANRemoteKeypad, after_deinitialize_it_cannot_be_switched_on) {
    manager->deinitialize();
    options.enabled = true;
    const unsigned int living = KXSimulation::getLivingObjects();
    testing::internal::CaptureStdout();
    EXPECT_EQ(manager->setCANRemoteOptions(options), 0);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(KXSimulation::getLivingObjects(), living);
    EXPECT_EQ(KXSimulation::getCANSetting(0), -1);
}

} // namespace
} // namespace KX
