#include "ReplayTest.h"
#include "input/KXInputEventManager.h"

namespace Replay::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

const std::string escapeKey = " os=0x1000000\n";
const std::string anyPress = " toolkit TOOLKIT_KEY_PRESS_EVENT";
const std::string anyRelease = " toolkit TOOLKIT_KEY_RELEASE_EVENT";
const std::string up = anyPress + " os=0x1000013\n";
const std::string down = anyPress + " os=0x1000015\n";

class KXReplayRecording : public ReplayTest {};

TEST_F(KXReplayRecording, a_second_press_within_300_is_a_double_press) {
    for (const unsigned int apartMs : {299U, 300U, 301U}) {
        const std::string second = std::to_string(1000 + apartMs);
        const Lines lines = play(recording("1000" + anyPress + escapeKey + "1100" + anyRelease + escapeKey +
                                           second + anyPress + escapeKey + second + " pass\n"));
        EXPECT_THAT(lines,
                    ElementsAre("1000 KEY_PRESS_EVENT 0", "1100 KEY_RELEASE_EVENT 0",
                                second + (apartMs <= 300 ? " KEY_DOUBLE_PRESS_EVENT 0" : " KEY_PRESS_EVENT 0")));
    }
}

TEST_F(KXReplayRecording, a_long_press_comes_in_the_first_pass_from_2000_on) {
    const auto withPassesAt = [this](const Lines& ticks) {
        std::string lines = "1000" + anyPress + escapeKey;
        for (const std::string& tick : ticks)
            lines += tick + " pass\n";
        return play(recording(lines + "9000" + anyRelease + escapeKey));
    };
    EXPECT_THAT(withPassesAt({"2999"}), ElementsAre("1000 KEY_PRESS_EVENT 0", "9000 KEY_RELEASE_EVENT 0"));
    for (const std::string tick : {"3000", "3001", "8999"}) {
        EXPECT_THAT(withPassesAt({"2999", tick, "9000"}),
                    ElementsAre("1000 KEY_PRESS_EVENT 0", tick + " KEY_LONG_PRESS_EVENT 0",
                                tick + " KEY_LONG_RELEASE_EVENT 0", "9000 KEY_RELEASE_EVENT 0"));
    }
}

TEST_F(KXReplayRecording, a_pass_after_the_release_comes_too_late_for_a_long_press) {
    EXPECT_THAT(play(recording("1000" + anyPress + escapeKey + "3050" + anyRelease + escapeKey + "3050 pass\n")),
                ElementsAre("1000 KEY_PRESS_EVENT 0", "3050 KEY_RELEASE_EVENT 0"));
}

TEST_F(KXReplayRecording, has_the_passes_that_are_in_it_and_no_others) {
    EXPECT_THAT(play(recording("0 pass\n1000" + up + "1010" + up + "1020" + up + "60000 end\n")),
                ElementsAre("1000 ENCODER_MOVE_EVENT 4 1/1"));
    EXPECT_THAT(play(recording("1000" + up + "1010" + up + "1020" + up + "1049 pass\n")),
                ElementsAre("1000 ENCODER_MOVE_EVENT 4 1/1"));
    EXPECT_THAT(play(recording("1000" + up + "1010" + up + "1020" + up + "1050 pass\n")),
                ElementsAre("1000 ENCODER_MOVE_EVENT 4 1/1", "1000 ENCODER_MOVE_EVENT 4 4/2"));
}

TEST_F(KXReplayRecording, key_3_sends_the_steps_before_itself) {
    EXPECT_THAT(
        play(recording("0 pass\n1000" + up + "1010" + up + "1020" + anyPress + " os=0x1000004\n")),
        ElementsAre("1000 ENCODER_MOVE_EVENT 4 1/1", "1000 ENCODER_MOVE_EVENT 4 3/1", "1020 KEY_PRESS_EVENT 3"));
}

TEST_F(KXReplayRecording, input_that_is_not_accepted_is_lost) {
    EXPECT_THAT(play(recording("0 pass\n1 set accept-input off\n2" + anyPress + escapeKey +
                               "3 set accept-input on\n4" + anyRelease + escapeKey)),
                ElementsAre("4 KEY_RELEASE_EVENT 0"));
    EXPECT_EQ(library, "KXInputEventManager::inputEventOccurred: Input IGNORED.\n");
}

TEST_F(KXReplayRecording, goes_on_where_the_tick_wraps) {
    EXPECT_THAT(play(recording("4294966296" + anyPress + escapeKey + "4294967200" + anyRelease + escapeKey +
                               "4294967290" + anyPress + escapeKey + "4294967295" + anyRelease + escapeKey +
                               "200" + anyPress + escapeKey + "2199 pass\n2200 pass\n")),
                ElementsAre("4294966296 KEY_PRESS_EVENT 0", "4294967200 KEY_RELEASE_EVENT 0",
                            "4294967290 KEY_PRESS_EVENT 0", "4294967295 KEY_RELEASE_EVENT 0",
                            "200 KEY_DOUBLE_PRESS_EVENT 0", "2200 KEY_LONG_PRESS_EVENT 0"));
}

TEST_F(KXReplayRecording, events_keep_the_time_that_the_toolkit_gave_them) {
    EXPECT_THAT(play(recording("1000" + anyPress + escapeKey + "1400" + anyPress + " time=1300" + escapeKey +
                               "1400 pass\n")),
                ElementsAre("1000 KEY_PRESS_EVENT 0", "1300 KEY_DOUBLE_PRESS_EVENT 0"));
}

TEST_F(KXReplayRecording, settings_hold_from_where_they_stand) {
    EXPECT_THAT(play(recording("0 pass\n"
                               "1000 set double-press 100\n1000 set long-press 500\n"
                               "1000 set key-mapping 0x41=9\n"
                               "1000" +
                               anyPress + " os=0x41\n1101" + anyPress + " os=0x41\n1201" + anyPress +
                               " os=0x41\n1700 pass\n1701 pass\n")),
                ElementsAre("1000 KEY_PRESS_EVENT 9", "1101 KEY_PRESS_EVENT 9", "1201 KEY_DOUBLE_PRESS_EVENT 9",
                            "1701 KEY_LONG_PRESS_EVENT 9"));
    EXPECT_THAT(
        play(recording("0 pass\n1 set user-factor 3000\n1 set low-pass 1000\n1 set speed-table 50:7 500:2\n"
                       "1000 toolkit TOOLKIT_WHEEL_EVENT key=4 count=1\n"
                       "1100 toolkit TOOLKIT_WHEEL_EVENT key=5 count=1\n")),
        ElementsAre("1000 ENCODER_MOVE_EVENT 4 3/1", "1100 ENCODER_MOVE_EVENT 5 6/1"));
}

TEST_F(KXReplayRecording, keys_of_frames_are_not_delivered_again) {
    EXPECT_THAT(play(recording("0 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001\n"
                               "(0000000000.100000) can0 18FF0001#01\n100 pass\n"
                               "101" +
                               anyPress + escapeKey)),
                ElementsAre("101 KEY_PRESS_EVENT 0"));
    EXPECT_THAT(library, HasSubstr("Key 1, KeyCode: 0, pressed\n"));
    EXPECT_THAT(play(recording("0 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001\n"
                               "(0000000000.100000) can0 18FF0001#01\n"
                               "101" +
                               anyPress + escapeKey)),
                ElementsAre("101 KEY_PRESS_EVENT 0"))
        << "without passes";
}

TEST_F(KXReplayRecording, each_pass_reads_one_frame) {
    const std::string frames = "0 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001\n"
                               "(0000000000.100000) can0 18FF0001#01\n"
                               "(0000000000.100000) can0 18FF0001#00\n"
                               "(0000000000.100000) can0 18FF0001#01\n";
    const std::string opened = "KXInputEventManager::setRask44options: 44 enabled\n";
    const std::string pressed = "Key 1, KeyCode: 0, pressed\n";
    const std::string released = "Key 1, KeyCode: 0, released\n";
    play(recording(frames + "100 pass\n"));
    EXPECT_EQ(library, opened + pressed);
    play(recording(frames + "100 pass\n100 pass\n"));
    EXPECT_EQ(library, opened + pressed + released);
    play(recording(frames + "100 pass\n100 pass\n200 pass\n300 pass\n"));
    EXPECT_EQ(library, opened + pressed + released + pressed);
}

TEST_F(KXReplayRecording, frames_that_nobody_reads_do_not_keep_passes_back) {
    EXPECT_THAT(
        play(recording("1000" + anyPress + escapeKey + "(0000000003.000000) can0 18FF0001#01\n3000 pass\n")),
        ElementsAre("1000 KEY_PRESS_EVENT 0", "3000 KEY_LONG_PRESS_EVENT 0"));
}

TEST_F(KXReplayRecording, that_is_cut_off_ends_where_it_ends) {
    EXPECT_THAT(play(recording("0 pass\n1000" + up + "1010" + up)), ElementsAre("1000 ENCODER_MOVE_EVENT 4 1/1"));
    EXPECT_THAT(play(recording("")), IsEmpty());
}

class KXReplayWithoutPasses : public ReplayTest {};

TEST_F(KXReplayWithoutPasses, the_worker_passes_every_100_ms_from_the_first_line_on) {
    EXPECT_THAT(play(recording("1000" + anyPress + escapeKey + "3500" + anyRelease + escapeKey)),
                ElementsAre("1000 KEY_PRESS_EVENT 0", "3000 KEY_LONG_PRESS_EVENT 0",
                            "3000 KEY_LONG_RELEASE_EVENT 0", "3500 KEY_RELEASE_EVENT 0"));
    EXPECT_THAT(
        play(recording("999 set accept-input on\n1000" + anyPress + escapeKey + "3098" + anyRelease + escapeKey)),
        ElementsAre("1000 KEY_PRESS_EVENT 0", "3098 KEY_RELEASE_EVENT 0"))
        << "passes at 2999 and 3099";
    EXPECT_THAT(play(recording("4294966000" + anyPress + escapeKey + "1000" + anyRelease + escapeKey)),
                ElementsAre("4294966000 KEY_PRESS_EVENT 0", "704 KEY_LONG_PRESS_EVENT 0",
                            "704 KEY_LONG_RELEASE_EVENT 0", "1000 KEY_RELEASE_EVENT 0"))
        << "across the wrap";
}

TEST_F(KXReplayWithoutPasses, the_bundle_behind_the_last_input_comes_out) {
    EXPECT_THAT(play(recording("1000" + up + "1010" + up + "1020" + up)),
                ElementsAre("1000 ENCODER_MOVE_EVENT 4 1/1", "1000 ENCODER_MOVE_EVENT 4 4/2"));
}

TEST_F(KXReplayWithoutPasses, playing_goes_on_for_200_ms_or_to_the_end_if_that_is_later) {
    const auto heldSince = [](unsigned int tick) { return std::to_string(tick) + anyPress + escapeKey; };
    const std::string wheel = "3000 toolkit TOOLKIT_WHEEL_EVENT key=4 count=1\n";
    EXPECT_EQ(play(recording("0 end\n")), Lines());
    EXPECT_EQ(play(recording("0 set accept-input on\n" + heldSince(1200) + wheel)).back(),
              "3200 KEY_LONG_PRESS_EVENT 0");
    EXPECT_EQ(play(recording("0 set accept-input on\n" + heldSince(1201) + wheel)).back(),
              "3000 ENCODER_MOVE_EVENT 4 1/1");
    EXPECT_EQ(play(recording("0 set accept-input on\n" + heldSince(1201) + wheel + "3300 end\n")).back(),
              "3300 KEY_LONG_PRESS_EVENT 0");
}

TEST_F(KXReplayWithoutPasses, a_gap_of_many_days_is_played_at_once) {
    EXPECT_THAT(play(recording("1000" + anyPress + escapeKey + "2147484000" + anyRelease + escapeKey +
                               "2147484050" + up + "2147484060" + up + "4294967000" + anyPress + escapeKey)),
                ElementsAre("1000 KEY_PRESS_EVENT 0", "3000 KEY_LONG_PRESS_EVENT 0",
                            "3000 KEY_LONG_RELEASE_EVENT 0", "2147484000 KEY_RELEASE_EVENT 0",
                            "2147484050 ENCODER_MOVE_EVENT 4 1/1", "2147484050 ENCODER_MOVE_EVENT 4 3/1",
                            "4294967000 KEY_PRESS_EVENT 0"));
}

TEST_F(KXReplayWithoutPasses, a_frame_starts_the_beat_anew_which_a_gap_does_not_disturb) {
    const std::string start = "1000 set keypad key 1 code 0 byte 0 bit 0 id 18FF0001\n";
    const std::string frame = "(0000000001.030000) can0 18FF0001#01\n";
    const std::string hold = "60000" + anyPress + escapeKey + "62050" + anyRelease + escapeKey;
    EXPECT_THAT(play(recording(start + frame + hold)), testing::Contains("62030 KEY_LONG_PRESS_EVENT 0"));
    EXPECT_THAT(play(recording(start + hold)), testing::Contains("62000 KEY_LONG_PRESS_EVENT 0"));
    EXPECT_THAT(play(recording("1000 set accept-input on\n" + frame + hold)),
                testing::Contains("62000 KEY_LONG_PRESS_EVENT 0"))
        << "nobody reads the bus";
}

class KXReplayOtherSettings : public ReplayTest {
protected:
    static Player::Options with(KX::KXInputSetting name, std::int64_t number) {
        Player::Options options;
        options.other.values[name] = number;
        return options;
    }
};

TEST_F(KXReplayOtherSettings, hold_from_the_beginning_whatever_the_recording_sets) {
    const KX::Recording::Session presses =
        recording("0 pass\n1000 set double-press 100\n1000" + anyPress + escapeKey + "1200" + anyPress +
                  escapeKey + "1401" + anyPress + escapeKey + "1401 pass\n");
    EXPECT_EQ(play(presses, with(KX::KXInputSetting::DoubleKeyPressDuration, 200)),
              Lines({"1000 KEY_PRESS_EVENT 0", "1200 KEY_DOUBLE_PRESS_EVENT 0", "1401 KEY_PRESS_EVENT 0"}));
    const KX::Recording::Session hold =
        recording("0 pass\n1000 set long-press 1000\n1000" + anyPress + escapeKey + "2499 pass\n2500 pass\n");
    EXPECT_EQ(play(hold, with(KX::KXInputSetting::LongKeyPressDuration, 1500)).back(),
              "2500 KEY_LONG_PRESS_EVENT 0");
    const KX::Recording::Session turn = recording("0 pass\n1000 set user-factor 5000\n1000 set low-pass 1\n"
                                                  "1000 set speed-table 500:10\n"
                                                  "1000 toolkit TOOLKIT_WHEEL_EVENT key=4 count=1\n"
                                                  "1100 toolkit TOOLKIT_WHEEL_EVENT key=4 count=1\n");
    EXPECT_EQ(play(turn), Lines({"1000 ENCODER_MOVE_EVENT 4 5/1", "1100 ENCODER_MOVE_EVENT 4 25/1"}));
    EXPECT_EQ(play(turn, with(KX::KXInputSetting::EncoderUserFactor, 9000)),
              Lines({"1000 ENCODER_MOVE_EVENT 4 9/1", "1100 ENCODER_MOVE_EVENT 4 81/1"}));
    EXPECT_EQ(play(turn, with(KX::KXInputSetting::EncoderLowPassFactor, 1000)),
              Lines({"1000 ENCODER_MOVE_EVENT 4 5/1", "1100 ENCODER_MOVE_EVENT 4 50/1"}));
}

TEST_F(KXReplayOtherSettings, leave_the_other_duration_as_recorded_and_refused_settings_refused) {
    const KX::Recording::Session session =
        recording("0 set long-press 5000\n0 set double-press 5000\n0 pass\n1000" + anyPress + escapeKey + "3500" +
                  anyPress + escapeKey + "6600" + anyPress + escapeKey + "11599 pass\n11600 pass\n");
    EXPECT_EQ(play(session, with(KX::KXInputSetting::DoubleKeyPressDuration, 3000)),
              Lines({"1000 KEY_PRESS_EVENT 0", "3500 KEY_DOUBLE_PRESS_EVENT 0", "6600 KEY_PRESS_EVENT 0",
                     "11600 KEY_LONG_PRESS_EVENT 0"}));
    EXPECT_EQ(play(session, with(KX::KXInputSetting::LongKeyPressDuration, 6000)),
              Lines({"1000 KEY_PRESS_EVENT 0", "3500 KEY_PRESS_EVENT 0", "6600 KEY_PRESS_EVENT 0"}));
}

TEST_F(KXReplayOtherSettings, may_both_lie_beyond_what_the_manager_begins_with) {
    Player::Options options = with(KX::KXInputSetting::DoubleKeyPressDuration, 5000);
    options.other.values[KX::KXInputSetting::LongKeyPressDuration] = 6000;
    EXPECT_EQ(
        play(recording("1000" + anyPress + escapeKey + "6000" + anyPress + escapeKey + "11999 pass\n12000 pass\n"),
             options),
        Lines({"1000 KEY_PRESS_EVENT 0", "6000 KEY_DOUBLE_PRESS_EVENT 0", "12000 KEY_LONG_PRESS_EVENT 0"}));
}

const std::string log = "(1436509052.249713) can0 ";

class KXReplayLog : public ReplayTest {
protected:
    /// One frame per text, 100 ms apart.
    static KX::Recording::Session logOf(const Lines& frames) {
        std::string text;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const std::string ms = std::to_string(10000 + 100 * i);
            text += "(" + ms.substr(0, 2) + "." + ms.substr(2) + "000) can0 " + frames[i] + "\n";
        }
        return readText(text);
    }
};

TEST_F(KXReplayLog, keys_of_the_keypad_are_classified_at_the_tick_of_their_frames) {
    EXPECT_THAT(play(logOf({"18FF0001#01", "18FF0001#00", "18FF0001#01", "18FF0001#00"})),
                ElementsAre("1000 KEY_PRESS_EVENT 0", "1100 KEY_RELEASE_EVENT 0", "1200 KEY_DOUBLE_PRESS_EVENT 0",
                            "1300 KEY_RELEASE_EVENT 0"));
    EXPECT_THAT(library, HasSubstr("Key 1, KeyCode: 0, pressed\nKey 1, KeyCode: 0, released\n"));
}

TEST_F(KXReplayLog, two_keys_of_one_frame_come_in_the_order_of_the_layout) {
    EXPECT_THAT(play(logOf({"18FF0001#81", "18FF0001#00"})),
                ElementsAre("1000 KEY_PRESS_EVENT 0", "1000 KEY_PRESS_EVENT 1", "1100 KEY_RELEASE_EVENT 0",
                            "1100 KEY_RELEASE_EVENT 1"));
}

TEST_F(KXReplayLog, function_keys_have_their_key_codes) {
    EXPECT_THAT(play(logOf({"18FF0002#10", "18FF0002#00"})),
                ElementsAre("1000 KEY_PRESS_EVENT 7", "1100 KEY_RELEASE_EVENT 7"));
}

TEST_F(KXReplayLog, a_held_key_becomes_long_by_the_beat_that_its_frame_started) {
    Lines frames(25, "18FF0002#00"); // another frame every 100 ms
    frames.front() = "18FF0001#01";
    frames.back() = "18FF0001#00";
    EXPECT_THAT(play(logOf(frames)), ElementsAre("1000 KEY_PRESS_EVENT 0", "3000 KEY_LONG_PRESS_EVENT 0",
                                                 "3000 KEY_LONG_RELEASE_EVENT 0", "3400 KEY_RELEASE_EVENT 0"));
}

TEST_F(KXReplayLog, the_knob_turns_up_and_down_and_across_its_wrap) {
    const auto turns = [](const Lines& positions) {
        Lines frames;
        for (const std::string& position : positions)
            frames.push_back("18FF0003#0000" + position);
        return logOf(frames);
    };
    EXPECT_THAT(play(turns({"0100", "0000", "FFFF", "FEFF", "FFFF", "0000", "0100"})),
                ElementsAre("1000 ENCODER_MOVE_EVENT 4 1/1", "1100 ENCODER_MOVE_EVENT 5 1/1",
                            "1200 ENCODER_MOVE_EVENT 5 1/1", "1300 ENCODER_MOVE_EVENT 5 1/1",
                            "1400 ENCODER_MOVE_EVENT 4 1/1", "1500 ENCODER_MOVE_EVENT 4 1/1",
                            "1600 ENCODER_MOVE_EVENT 4 1/1"));
    EXPECT_THAT(library, testing::EndsWith("ENCODER UP: 1 (0)\nENCODER DOWN: 0 (1)\n"
                                           "ENCODER DOWN underflow: 65535 (0)\nENCODER DOWN: 65534 (65535)\n"
                                           "ENCODER UP: 65535 (65534)\nENCODER UP overflow: 0 (65535)\n"
                                           "ENCODER UP: 1 (0)\n"));
}

TEST_F(KXReplayLog, frames_of_one_tick_are_played_one_after_the_other) {
    const KX::Recording::Session session =
        readText(log + "18FF0001#01\n" + log + "18FF0001#00\n" + log + "18FF0001#01\n" + log + "18FF0001#00\n");
    EXPECT_THAT(play(session), ElementsAre("1000 KEY_PRESS_EVENT 0", "1000 KEY_RELEASE_EVENT 0",
                                           "1000 KEY_DOUBLE_PRESS_EVENT 0", "1000 KEY_RELEASE_EVENT 0"));
}

TEST_F(KXReplayLog, error_and_remote_frames_are_passed_over) {
    EXPECT_THAT(play(logOf({"18FF0001#R1", "20000004#0004000000000000", "18FF0001#01"})),
                ElementsAre("1000 KEY_PRESS_EVENT 0"));
}

TEST_F(KXReplayLog, a_keypad_of_another_layout_is_read_by_that) {
    Player::Options options;
    KX::CANRemoteOptions keypad = KX::KeyLayout::empty();
    keypad.keys[3] = {4, 6, 7, 7, 0x123, 0};
    options.keypad = std::make_shared<const KX::CANRemoteOptions>(keypad);
    EXPECT_THAT(play(logOf({"123#0000000000000080", "18FF0001#01", "123#00"}), options),
                ElementsAre("1000 KEY_PRESS_EVENT 6", "1200 KEY_RELEASE_EVENT 6"));
}

TEST_F(KXReplayLog, a_clock_that_was_set_meanwhile_is_played_at_once) {
    EXPECT_THAT(play(readText("(0000000001.000000) can0 18FF0001#01\n(1436509052.249713) can0 18FF0001#00\n")),
                ElementsAre("1000 KEY_PRESS_EVENT 0", "3000 KEY_LONG_PRESS_EVENT 0",
                            "3000 KEY_LONG_RELEASE_EVENT 0", "1989975385 KEY_RELEASE_EVENT 0"));
}

TEST_F(KXReplayLog, each_play_of_a_process_gives_the_same) {
    const KX::Recording::Session turn =
        logOf({"18FF0003#0000FFFF", "18FF0001#01", "18FF0002#10", "18FF0003#00000500"});
    const KX::Recording::Session mapping = recording("0 set key-mapping 0x1000000=9\n1" + anyPress + escapeKey);
    const Lines first = play(turn);
    const std::string firstLibrary = library;
    EXPECT_EQ(first.size(), 4U);
    play(mapping);
    EXPECT_EQ(play(turn), first);
    EXPECT_EQ(library, firstLibrary);
    play(recording("0 set key-mapping 0x1000000=99\n"));
    EXPECT_EQ(KX::KXInputEventManager::getKXtoOSCodeMap()->count(99), 1U);
    play(mapping);
    EXPECT_EQ(KX::KXInputEventManager::getKXtoOSCodeMap()->count(99), 0U) << "of an earlier play";
}

TEST_F(KXReplayLog, events_tell_which_line_they_came_of) {
    const std::vector<PlayedEvent> events = playEvents(logOf({"18FF0001#01", "18FF0002#00", "18FF0001#00"}));
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].entry, 0U);
    EXPECT_EQ(events[0].line, 1U);
    EXPECT_EQ(events[1].entry, 2U);
    EXPECT_EQ(events[1].line, 3U);
    EXPECT_EQ(events[1].durations.doublePressMs, 300U);
    EXPECT_EQ(events[1].durations.longPressMs, 2000U);
}

} // namespace
} // namespace Replay::test
