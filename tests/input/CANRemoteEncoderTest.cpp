#include "CANRemoteKeypadFixture.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace KX {
namespace {

using CANRemoteEncoder = test::CANRemoteKeypad;
using test::encoderId;
using test::homePress;
using test::ToolkitKey;
using testing::ElementsAre;
using testing::IsEmpty;

const ToolkitKey upPress{true, Qt::Key_Up};
const ToolkitKey downPress{true, Qt::Key_Down};

TEST_F(CANRemoteEncoder, the_first_position_of_a_process_is_compared_with_0) {
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // runs in a new process, which has decoded no frame yet
    EXPECT_EXIT(
        {
            set();
            std::cerr << give(encoderFrame(65525));
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "ENCODER UP: 65525 \\(0\\)");
    EXPECT_EXIT(
        {
            set();
            std::cerr << give(encoderFrame(65526));
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "ENCODER DOWN underflow: 65526 \\(0\\)");
}

TEST_F(CANRemoteEncoder, a_move_upward_is_a_wrap_from_a_difference_of_65526_on) {
    set();
    const struct {
        int from, to;
        const char* line;
        ToolkitKey key;
    } cases[] = {{0, 1, "ENCODER UP: 1 (0)\n", upPress},
                 {0, 65525, "ENCODER UP: 65525 (0)\n", upPress},
                 {0, 65526, "ENCODER DOWN underflow: 65526 (0)\n", downPress},
                 {0, 65527, "ENCODER DOWN underflow: 65527 (0)\n", downPress},
                 {8, 65533, "ENCODER UP: 65533 (8)\n", upPress},
                 {8, 65534, "ENCODER DOWN underflow: 65534 (8)\n", downPress},
                 {8, 65535, "ENCODER DOWN underflow: 65535 (8)\n", downPress},
                 {5, 65534, "ENCODER DOWN underflow: 65534 (5)\n", downPress},
                 {0, 65535, "ENCODER DOWN underflow: 65535 (0)\n", downPress}};
    for (const auto& test : cases) {
        encoderStandsAt(test.from);
        EXPECT_EQ(give(encoderFrame(test.to)), test.line);
        EXPECT_THAT(window.take(), ElementsAre(test.key)) << test.line;
    }
}

TEST_F(CANRemoteEncoder, a_move_downward_is_a_wrap_from_a_difference_of_65526_on) {
    set();
    const struct {
        int from, to;
        const char* line;
        ToolkitKey key;
    } cases[] = {{1, 0, "ENCODER DOWN: 0 (1)\n", downPress},
                 {65525, 0, "ENCODER DOWN: 0 (65525)\n", downPress},
                 {65526, 0, "ENCODER UP overflow: 0 (65526)\n", upPress},
                 {65527, 0, "ENCODER UP overflow: 0 (65527)\n", upPress},
                 {65533, 2, "ENCODER UP overflow: 2 (65533)\n", upPress},
                 {65535, 0, "ENCODER UP overflow: 0 (65535)\n", upPress}};
    for (const auto& test : cases) {
        encoderStandsAt(test.from);
        EXPECT_EQ(give(encoderFrame(test.to)), test.line);
        EXPECT_THAT(window.take(), ElementsAre(test.key)) << test.line;
    }
}

TEST_F(CANRemoteEncoder, an_encoder_that_stands_still_says_nothing) {
    set();
    encoderStandsAt(4711);
    EXPECT_EQ(give(encoderFrame(4711)), "");
    EXPECT_THAT(window.take(), IsEmpty());
}

TEST_F(CANRemoteEncoder, the_last_position_outlives_the_manager) {
    set();
    encoderStandsAt(100);
    handler.reset();
    KXInputEventManager::deleteInstance();
    manager = KXInputEventManager::createInstance();
    handler = std::make_unique<CANRemoteHandler>(manager);
    set();
    EXPECT_EQ(give(encoderFrame(101)), "ENCODER UP: 101 (100)\n");
}

TEST_F(CANRemoteEncoder, the_mask_says_which_bits_count_and_where_the_wrap_is) {
    set();
    encoderStandsAt(0);
    options.encoderMask = 0xFF; // a difference of 246 or more is a wrap
    set();
    EXPECT_EQ(give(encoderFrame(0xAB00 + 245)), "ENCODER UP: 245 (0)\n");
    EXPECT_EQ(give(encoderFrame(0)), "ENCODER DOWN: 0 (245)\n");
    EXPECT_EQ(give(encoderFrame(246)), "ENCODER DOWN underflow: 246 (0)\n");
    EXPECT_EQ(give(encoderFrame(0)), "ENCODER UP overflow: 0 (246)\n");
    EXPECT_EQ(give(encoderFrame(247)), "ENCODER DOWN underflow: 247 (0)\n");
}

TEST_F(CANRemoteEncoder, with_a_mask_of_all_32_bits_every_move_is_a_wrap) {
    set();
    encoderStandsAt(10);
    options.encoderMask = 0xFFFFFFFF;
    set();
    EXPECT_EQ(give(encoderFrame(11)), "ENCODER DOWN underflow: 11 (10)\n");
    EXPECT_EQ(give(encoderFrame(10)), "ENCODER UP overflow: 10 (11)\n");
}

TEST_F(CANRemoteEncoder, with_a_mask_of_0_there_is_one_position) {
    set();
    encoderStandsAt(3);
    options.encoderMask = 0;
    set();
    EXPECT_EQ(give(encoderFrame(5)), "ENCODER UP overflow: 0 (3)\n");
    EXPECT_EQ(give(encoderFrame(6)), "");
}

TEST_F(CANRemoteEncoder, the_high_byte_stands_behind_the_low_one_or_before_it) {
    set();
    encoderStandsAt(0);
    options.encoderByteIndex = 1;
    set();
    EXPECT_EQ(give(frame(encoderId, {0x56, 0x34, 0x12})), "ENCODER UP: 4660 (0)\n");
    options.encoderLittleEndian = false;
    set();
    EXPECT_EQ(give(frame(encoderId, {0x56, 0x34, 0x12})), "ENCODER UP: 22068 (4660)\n");
}

TEST_F(CANRemoteEncoder, encoder_bytes_outside_the_frame_read_as_0) {
    KXCANMessage counting = frame(encoderId, {1, 2, 3, 4, 5, 6, 7, 8});
    counting.canAux = 0xFFFFFFFF; // stands behind the bytes
    const struct {
        int byteIndex;
        bool isLittleEndian;
        int position;
    } cases[] = {{6, true, 0x0807}, {7, true, 8},       {8, true, 0},       {255, true, 0}, {1, false, 0x0102},
                 {0, false, 1},     {7, false, 0x0708}, {8, false, 0x0800}, {9, false, 0},  {255, false, 0}};
    for (const auto& test : cases) {
        options.encoderByteIndex = 0;
        options.encoderLittleEndian = true;
        set();
        encoderStandsAt(20000);
        options.encoderByteIndex = static_cast<std::uint8_t>(test.byteIndex);
        options.encoderLittleEndian = test.isLittleEndian;
        set();
        EXPECT_EQ(give(counting), "ENCODER DOWN: " + std::to_string(test.position) + " (20000)\n")
            << "byte " << test.byteIndex << (test.isLittleEndian ? ", little endian" : ", big endian");
    }
}

TEST_F(CANRemoteEncoder, a_frame_with_identifier_0_is_never_the_encoders_but_may_carry_keys) {
    set();
    encoderStandsAt(0);
    options.encoderCANId = 0;
    describeKey(0, 1, 0, 0).canId = 0;
    set();
    EXPECT_EQ(give(frame(0, {1})), "Key 1, KeyCode: 1, pressed\n");
    EXPECT_EQ(give(frame(0x80000000U, {3})), "ENCODER UP: 3 (0)\n") << "the flag bits make it another one";
}

TEST_F(CANRemoteEncoder, the_encoder_frame_may_carry_keys_which_come_after_the_move) {
    describeKey(0, 1, 2, 0).canId = static_cast<int>(encoderId);
    set();
    encoderStandsAt(0);
    EXPECT_EQ(give(frame(encoderId, {9, 0, 1})), "ENCODER UP: 9 (0)\nKey 1, KeyCode: 1, pressed\n");
    EXPECT_THAT(window.take(), ElementsAre(upPress, homePress));
}

TEST_F(CANRemoteEncoder, the_key_codes_of_the_encoder_can_be_chosen) {
    options.encoderUpKeyCode = 2;
    options.encoderDownKeyCode = 6;
    set();
    encoderStandsAt(5);
    give(encoderFrame(6));
    give(encoderFrame(5));
    EXPECT_THAT(window.take(), ElementsAre(ToolkitKey{true, Qt::Key_Tab}, ToolkitKey{true, Qt::Key_End}));
}

} // namespace
} // namespace KX
