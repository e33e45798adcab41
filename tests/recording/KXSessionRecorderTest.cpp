#include "tests/recording/FullDisk.h"
#include "tests/recording/RecorderFixture.h"

#include "input/KXInputObserver.h"
#include "platform/KXCANMessage.h"
#include "recording/KXRecording.h"

#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace KX {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class RecorderTest : public test::RecorderFixture {
protected:
    KXInputEventManager& manager() { return *KXInputEventManager::createInstance(); }
};

class OtherObserver : public KXInputObserver {
public:
    ~OtherObserver() override { KXInputEventManager::setObserver(nullptr); }

    void observe() { KXInputEventManager::setObserver(this); }
    void onToolkitEvent(const KXToolkitEvent& /*event*/) override { ++events; }

    int events = 0;
};

constexpr const char* pressLine = "toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000";
constexpr const char* releaseLine = "toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000";

std::string at(unsigned int tick, const std::string& what) {
    return std::to_string(tick) + " " + what;
}

} // namespace

TEST_F(RecorderTest, says_what_it_is_and_who_wrote_it) {
    KXSessionRecorder recorder;
    EXPECT_TRUE(recorder.start(path));
    EXPECT_TRUE(recorder.isRecording());
    EXPECT_TRUE(recorder.stop());
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_THAT(linesOf(path), ElementsAre("kxrecording 2", MatchesRegex("# written by KXAPI_Recording [0-9.]+"),
                                           "0 pass", "0 end"));
}

TEST_F(RecorderTest, made_before_the_manager_records_its_defaults) {
    KXSessionRecorder recorder;
    recorder.start(path);
    manager();
    recorder.stop();
    EXPECT_THAT(entriesOf(path),
                ElementsAre("0 pass", "0 set accept-input on", "0 set double-press 300", "0 set long-press 2000",
                            StartsWith("0 set speed-table 2:4096 "), "0 set low-pass 900",
                            "0 set user-factor 1000", StartsWith("0 set key-mapping 0x1000000=0 "), "0 end"));
}

TEST_F(RecorderTest, made_after_the_manager_begins_with_its_settings_at_the_first_rest) {
    manager().setLongKeyPressDuration(4000);
    manager().setDoubleKeyPressDuration(3000);
    manager().setKeyMapping({{66, 9}});
    manager().acceptInput(false);
    KXEncoderDynamic::instance()->setDynamicParameters({{5, 1}, {40, 2}});
    KXSimulation::advance(50);
    KXSessionRecorder recorder;
    recorder.start(path);
    KXSimulation::advance(100);
    recorder.stop();
    EXPECT_THAT(entriesOf(path),
                ElementsAre("100 set long-press 4000", "100 set double-press 3000", "100 set user-factor 1000",
                            "100 set low-pass 900", "100 set accept-input off", "100 set speed-table 5:1 40:2",
                            testing::AllOf(StartsWith("100 set key-mapping "), HasSubstr(" 0x1000000=0 ")),
                            "100 pass", "150 end"));
}

TEST_F(RecorderTest, made_after_the_manager_knows_that_the_encoder_has_refused_a_table) {
    manager();
    KXEncoderDynamic::instance()->setDynamicParameters({{9, 1}, {9, 1}}); // which sets the restart gap to 500 ms
    KXSessionRecorder recorder;
    KXSimulation::advance(100);
    recorder.start(path);
    recorder.stop();
    std::vector<std::string> tables = entriesOf(path);
    tables.erase(
        std::remove_if(tables.begin(), tables.end(),
                       [](const std::string& line) { return line.find("speed-table") == std::string::npos; }),
        tables.end());
    ASSERT_EQ(2U, tables.size());
    EXPECT_THAT(tables[0], HasSubstr(" 2:4096 "));
    EXPECT_EQ("100 set speed-table 1:1 1:1", tables[1]);
}

TEST_F(RecorderTest, knows_an_encoder_that_was_set_before_there_was_a_recorder_or_a_manager) {
    KXEncoderDynamic& encoder = *KXEncoderDynamic::instance();
    encoder.setUserFactor(500);
    encoder.setLowPassFactor(700);
    encoder.setDynamicParameters({{5, 1}, {40, 2}});
    KXSessionRecorder recorder;
    recorder.start(path);
    manager();
    recorder.stop();
    EXPECT_THAT(entriesOf(path),
                ElementsAre("0 pass", "0 set accept-input on", "0 set double-press 300", "0 set long-press 2000",
                            StartsWith("0 set key-mapping "), "0 set speed-table 5:1 40:2", "0 set low-pass 700",
                            "0 set user-factor 500", "0 end"));
}

TEST_F(RecorderTest, records_every_way_in_in_the_managers_order) {
    KXSessionRecorder recorder;
    recorder.start(path);
    manager();
    KXSimulation::advance(7);
    press();
    KXInputEvent own;
    own.eventType = KEY_PRESS_EVENT;
    own.keyCode = 2;
    own.timeStamp = 6;
    manager().inputEventOccurred(own);
    KXSignal signal;
    signal.eventClass = SIGNAL_CLASS;
    signal.eventType = 4711;
    signal.signalData[1] = 5000000000;
    manager().postToEventQueue(signal);
    manager().postESCtoEventQueue(true);
    KXEncoderDynamic::instance()->setUserFactor(0);
    KXSimulation::advance(93);
    recorder.stop();
    const std::vector<std::string> entries = entriesOf(path);
    ASSERT_EQ(15U, entries.size());
    EXPECT_THAT(std::vector<std::string>(entries.begin() + 8, entries.end()),
                ElementsAre(at(7, pressLine), "7 input KEY_PRESS_EVENT time=6 key=2",
                            "7 post 4711 time=0 class=6 signal-data=0,5000000000 source-class=6",
                            "7 post KEY_PRESS_EVENT time=0 key=0 os=0xffff value=-1", "7 set user-factor 0",
                            "100 pass", "100 end"));
}

// One key, and the knob.
CANRemoteOptions smallKeypad() {
    CANRemoteOptions options;
    options.enabled = true;
    options.encoderCANId = 0x123;
    for (KeyOptionsCANRemote& key : options.keys)
        key.canId = 0x20000000;
    options.keys[0] = {1, 0, 0, 0, 0x456, 0};
    return options;
}

TEST_F(RecorderTest, records_the_keypad_and_its_frames) {
    KXSessionRecorder recorder;
    recorder.start(path);
    manager().setCANRemoteOptions(smallKeypad());
    KXCANMessage frame;
    frame.canId = 0x456;
    KXSimulation::scheduleCANFrame(0, 20, frame);
    testing::internal::CaptureStdout();
    KXSimulation::advance(30);
    testing::internal::GetCapturedStdout();
    recorder.stop();
    EXPECT_THAT(
        entriesOf(path),
        testing::IsSupersetOf({"0 set keypad key 1 code 0 byte 0 bit 0 id 456; encoder id 123 byte 0 little "
                               "mask FFFF up 4 down 5",
                               "(0000000000.020000) can0 456#0000000000000000", "20 pass"}));
}

// 0x456 is a key's, 0x123 the knob's, and 0x457 belongs to another device.
TEST_F(RecorderTest, frames_that_the_keypad_ignores_are_in_a_file_but_not_in_memory) {
    KXSessionRecorder recorder(60000);
    recorder.start(path);
    manager().setCANRemoteOptions(smallKeypad());
    testing::internal::CaptureStdout();
    for (const std::uint32_t identifier : {0x456U, 0x457U, 0x123U}) {
        KXCANMessage frame;
        frame.canId = identifier;
        KXSimulation::scheduleCANFrame(0, KXTick::getTickCount() + 20, frame);
        KXSimulation::advance(1000);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(recorder.save(inFolder("kept.kxr"))) << recorder.problem();
    EXPECT_TRUE(recorder.stop());
    const auto framesOf = [](const std::string& file) {
        std::vector<std::string> frames;
        for (const std::string& entry : entriesOf(file))
            if (entry.front() == '(')
                frames.push_back(entry.substr(entry.find(" can0 ") + 6, 3));
        return frames;
    };
    EXPECT_THAT(framesOf(path), ElementsAre("456", "457", "123"));
    EXPECT_THAT(framesOf(inFolder("kept.kxr")), ElementsAre("456", "123"));
}

// They are thousands on some buses, and would make a long head.
TEST_F(RecorderTest, the_head_has_no_frames_that_the_keypad_ignores) {
    KXSessionRecorder recorder;
    manager().setCANRemoteOptions(smallKeypad());
    for (const std::uint32_t identifier : {0x456U, 0x457U, 0x123U}) {
        KXCANMessage frame;
        frame.canId = identifier;
        recorder.start(path);
        KXSimulation::scheduleCANFrame(0, KXTick::getTickCount() + 20, frame);
        testing::internal::CaptureStdout();
        KXSimulation::advance(1000);
        testing::internal::GetCapturedStdout();
        recorder.stop();
        std::filesystem::remove(path);
    }
    ASSERT_TRUE(recorder.start(path));
    EXPECT_TRUE(recorder.stop());
    std::string frames;
    for (const std::string& entry : entriesOf(path))
        if (entry.front() == '(')
            frames += entry.substr(entry.find(" can0 ") + 6, 4);
    EXPECT_EQ("123#456#", frames);
}

TEST_F(RecorderTest, leaves_out_a_layout_that_no_replay_would_take_and_says_so) {
    KXSessionRecorder recorder;
    recorder.start(path);
    CANRemoteOptions options;
    options.enabled = true;
    options.encoderCANId = 0x123;
    options.encoderMask = 0;
    testing::internal::CaptureStderr();
    manager().setCANRemoteOptions(options);
    EXPECT_EQ(
        "KXSessionRecorder: the layout of the keypad is left out: encoder: mask 0 is not a run of bits within "
        "FFFF\n",
        testing::internal::GetCapturedStderr());
    recorder.stop();
    for (const std::string& entry : entriesOf(path))
        EXPECT_THAT(entry, testing::Not(HasSubstr("keypad")));
}

CANRemoteOptions keypadWithCode(int keyCode) {
    CANRemoteOptions options = smallKeypad();
    options.keys[0].keyCode = keyCode;
    return options;
}

bool hasKeypad(const std::string& file) {
    const std::vector<Recording::Entry> entries = Recording::readFile(file, {}).entries;
    return std::any_of(entries.begin(), entries.end(), [](const Recording::Entry& entry) {
        return std::holds_alternative<Recording::Keypad>(entry.input);
    });
}

TEST_F(RecorderTest, a_reader_takes_a_keypad_whose_key_code_has_lost_its_key_meanwhile) {
    KXSessionRecorder recorder;
    manager().setKeyMapping({{0x41, 77}, {0x42, 78}});
    manager().setCANRemoteOptions(keypadWithCode(77));
    manager().setKeyMapping({{0x41, 78}});
    manager().setKeyMapping({{0x41, 79}});
    KXSimulation::advance(5000);
    ASSERT_TRUE(recorder.start(path));
    EXPECT_TRUE(recorder.stop());
    EXPECT_TRUE(hasKeypad(path));
    std::map<int, int> replayed;
    for (const Recording::Entry& entry : Recording::readFile(path, {}).entries)
        if (const auto* const mapping = std::get_if<Recording::KeyMapping>(&entry.input))
            for (const auto& [toolkitKey, keyCode] : mapping->keyCodeOfToolkitKey)
                replayed[toolkitKey] = keyCode;
    EXPECT_EQ(79, replayed[0x41]);
    EXPECT_EQ(78, replayed[0x42]);
}

// The table of the process outlives managers, but a replay knows only what its recording tells.
TEST_F(RecorderTest, leaves_out_a_keypad_with_a_key_code_of_an_earlier_manager) {
    manager().setKeyMapping({{0x41, 80}});
    KXInputEventManager::deleteInstance();
    KXSessionRecorder recorder;
    ASSERT_TRUE(recorder.start(path));
    testing::internal::CaptureStderr();
    manager().setCANRemoteOptions(keypadWithCode(80));
    EXPECT_EQ(
        "KXSessionRecorder: the layout of the keypad is left out: key 1: code 80 is a key code that the toolkit "
        "has no key for\n",
        testing::internal::GetCapturedStderr());
    EXPECT_TRUE(recorder.stop());
    EXPECT_FALSE(hasKeypad(path));
}

TEST_F(RecorderTest, start_in_mid_session_goes_back_to_the_last_rest) {
    KXSessionRecorder recorder;
    manager();
    KXSimulation::advance(5000); // a rest at each pass
    press();
    KXSimulation::advance(20);
    recorder.start(path);
    KXSimulation::advance(20);
    release();
    recorder.stop();
    EXPECT_THAT(inputsOf(path), ElementsAre("5000 pass", at(5000, pressLine), at(5040, releaseLine), "5040 end"));
}

TEST_F(RecorderTest, rest_comes_one_after_the_double_press_time) {
    KXSessionRecorder recorder;
    manager().setDoubleKeyPressDuration(199);
    KXSimulation::advance(100);
    press();
    release();
    KXSimulation::advance(200); // the pass at 299 is none: there is one at 200 and one at 300
    recorder.start(path);
    recorder.stop();
    EXPECT_THAT(inputsOf(path), ElementsAre("300 pass", "300 end"));
}

TEST_F(RecorderTest, no_rest_comes_within_the_double_press_time) {
    KXSessionRecorder recorder;
    manager().setDoubleKeyPressDuration(200);
    KXSimulation::advance(100);
    press();
    release();
    KXSimulation::advance(200);
    recorder.start(path);
    recorder.stop();
    EXPECT_THAT(inputsOf(path), ElementsAre("100 pass", at(100, pressLine), at(100, releaseLine), "200 pass",
                                            "300 pass", "300 end"));
}

TEST_F(RecorderTest, a_rest_after_which_a_longer_double_press_time_pairs_presses_is_none) {
    KXSessionRecorder recorder;
    manager();
    KXSimulation::advance(100);
    press();
    release();
    KXSimulation::advance(1000);
    manager().setDoubleKeyPressDuration(1500);
    press();
    recorder.start(path);
    recorder.stop();
    EXPECT_LE(std::stol(inputsOf(path).front()), 100);
}

TEST_F(RecorderTest, a_rest_after_which_a_wheel_goes_on_with_its_turn_is_none) {
    KXSessionRecorder recorder;
    KXSimulation::setTick(100000);
    manager();
    KXSimulation::advance(100);
    turnWheel(1);
    KXSimulation::advance(1000);
    turnWheel(10);
    recorder.start(path);
    recorder.stop();
    EXPECT_EQ("100100 pass", inputsOf(path).front());
}

TEST_F(RecorderTest, a_rest_after_which_a_key_is_pressed_stays_one_although_the_wheel_was_turned_before) {
    KXSimulation::setTick(100000);
    KXSessionRecorder recorder;
    manager();
    turnWheel(1);
    KXSimulation::advance(10000);
    press();
    recorder.start(path);
    recorder.stop();
    EXPECT_EQ("110000 pass", inputsOf(path).front());
}

TEST_F(RecorderTest, a_recording_begins_anew_when_its_rest_turns_out_to_be_none) {
    KXSimulation::setTick(100000);
    KXSessionRecorder recorder;
    manager();
    KXSimulation::advance(100);
    turnWheel(1);
    KXSimulation::advance(1000);
    recorder.start(path);
    EXPECT_EQ("101100 pass", inputsOf(path).front());
    turnWheel(10);
    recorder.stop();
    EXPECT_EQ("100100 pass", inputsOf(path).front());
    EXPECT_EQ("", recorder.problem());
}

class NoRestLeftTest : public RecorderTest {
protected:
    // A recording begins at a rest that turns out to be none, and there is no other one.
    void SetUp() override {
        KXSimulation::setTick(100000);
        manager();
        turnWheel(1);
        recorder.emplace();
        KXSimulation::advance(1000);
        ASSERT_TRUE(recorder->start(path));
        ASSERT_EQ("101000 pass", inputsOf(path).front());
        turnWheel(10);
    }

    std::optional<KXSessionRecorder> recorder;
};

TEST_F(NoRestLeftTest, a_recording_begins_anew_at_the_next_rest) {
    EXPECT_TRUE(recorder->isRecording());
    KXSimulation::advance(1000);
    EXPECT_EQ("101300 pass", inputsOf(path).front()) << "200 ms after the turn the encoder would still go on";
    press();
    EXPECT_TRUE(recorder->stop()) << recorder->problem();
    EXPECT_EQ("", recorder->problem());
    EXPECT_THAT(inputsOf(path), testing::Contains(at(102000, pressLine)));
    EXPECT_EQ("102000 end", inputsOf(path).back());
}

TEST_F(NoRestLeftTest, a_recording_without_another_rest_keeps_what_it_has_and_says_so) {
    press();
    release();
    EXPECT_FALSE(recorder->stop());
    EXPECT_EQ(path + ": the moment at which it began was no rest", recorder->problem());
    EXPECT_EQ("101000 pass", inputsOf(path).front());
    EXPECT_THAT(inputsOf(path), testing::Contains(at(101000, pressLine)));
    EXPECT_EQ("101000 end", inputsOf(path).back());
    EXPECT_TRUE(recorder->start(inFolder("next.kxr"))) << recorder->problem();
    KXSimulation::advance(5000);
    EXPECT_TRUE(recorder->stop()) << recorder->problem();
}

TEST_F(RecorderTest, a_wheel_that_goes_on_with_its_turn_says_nothing_of_a_rest_that_is_long_over) {
    KXSimulation::setTick(100000);
    KXSessionRecorder recorder;
    manager();
    recorder.start(path);
    // More than what stays in memory when nothing is to be kept.
    for (int seconds = 0; seconds < 60; ++seconds) {
        for (int taps = 0; taps < 100; ++taps) {
            press();
            release();
        }
        KXSimulation::advance(1000);
    }
    turnWheel(1);
    turnWheel(10);
    press();
    EXPECT_TRUE(recorder.stop()) << recorder.problem();
    EXPECT_EQ("", recorder.problem());
    EXPECT_GT(inputsOf(path).size(), 12000U);
}

TEST_F(RecorderTest, a_late_press_that_pairs_with_one_before_the_beginning_belongs_to_the_recording) {
    KXSessionRecorder recorder;
    manager();
    KXSimulation::advance(1000);
    press();
    release();
    KXSimulation::advance(450);
    recorder.start(path);
    KXToolkitEvent late;
    late.eventType = TOOLKIT_KEY_PRESS_EVENT;
    late.osKeyCode = escape;
    late.timeStamp = 1290;
    manager().toolkitEventOccurred(late);
    recorder.stop();
    EXPECT_LE(std::stol(inputsOf(path).front()), 1000);
}

TEST_F(RecorderTest, stop_works_while_the_clock_has_gone_back) {
    KXSimulation::setTick(100);
    KXSessionRecorder recorder;
    recorder.start(path);
    KXSimulation::setTick(50);
    EXPECT_TRUE(recorder.stop());
    EXPECT_THAT(entriesOf(path), ElementsAre("100 pass", "100 end"));
}

TEST_F(RecorderTest, what_comes_behind_the_end_is_left_out) {
    KXSessionRecorder recorder;
    recorder.start(path);
    KXSimulation::setTick(7);
    EXPECT_TRUE(recorder.stop());
    manager();
    EXPECT_TRUE(recorder.stop());
    EXPECT_THAT(entriesOf(path), ElementsAre("0 pass", "7 end"));
}

TEST_F(RecorderTest, ends_its_recording_at_its_own_end) {
    {
        KXSessionRecorder recorder;
        recorder.start(path);
    }
    EXPECT_THAT(entriesOf(path), ElementsAre("0 pass", "0 end"));
}

TEST_F(RecorderTest, goes_on_where_the_tick_wraps) {
    KXSimulation::setTick(4294967200);
    manager();
    KXSessionRecorder recorder;
    recorder.start(path);
    KXSimulation::advance(100);
    press();
    recorder.stop();
    EXPECT_THAT(inputsOf(path), ElementsAre("4 pass", at(4, pressLine), "4 end"));
}

TEST_F(RecorderTest, a_file_that_cannot_be_made_is_told_and_another_can_be_started) {
    KXSessionRecorder recorder;
    const std::string wrong = inFolder("none/day.kxr");
    EXPECT_FALSE(recorder.start(wrong));
    EXPECT_EQ(wrong + ": No such file or directory", recorder.problem());
    EXPECT_TRUE(recorder.start(path));
    EXPECT_TRUE(recorder.stop());
}

TEST_F(RecorderTest, never_overwrites) {
    std::ofstream(path) << "precious\n";
    KXSessionRecorder recorder(60000);
    EXPECT_FALSE(recorder.start(path));
    EXPECT_EQ(path + ": the file exists and is not overwritten", recorder.problem());
    EXPECT_FALSE(recorder.save(path));
    EXPECT_THAT(linesOf(path), ElementsAre("precious"));
}

TEST_F(RecorderTest, a_full_disk_is_told_once_and_the_session_goes_on) {
    KXSessionRecorder recorder;
    EXPECT_FALSE(recorder.start("/dev/full"));
    EXPECT_EQ("/dev/full: No space left on device", recorder.problem());
    EXPECT_FALSE(recorder.isRecording());
    manager();
    press();
    EXPECT_TRUE(manager().hasEvents());
    EXPECT_TRUE(recorder.start(path));
}

// In a recording of a few lines, so that the first lines of the file can be written and the rest cannot.
TEST_F(RecorderTest, a_save_that_fails_leaves_no_file_and_a_later_one_works) {
    KXSessionRecorder recorder(60000);
    manager();
    {
        const test::Disk disk(200);
        EXPECT_FALSE(recorder.save(path));
    }
    EXPECT_EQ(path + ": File too large", recorder.problem());
    EXPECT_FALSE(std::filesystem::exists(path));
    press();
    EXPECT_TRUE(manager().hasEvents());
    EXPECT_TRUE(recorder.save(path)) << recorder.problem();
    EXPECT_THAT(inputsOf(path), ElementsAre("0 pass", at(0, pressLine), "0 end"));
}

TEST_F(RecorderTest, a_start_that_fails_leaves_no_file_and_a_later_one_works) {
    KXSessionRecorder recorder;
    manager();
    {
        const test::Disk disk(200);
        EXPECT_FALSE(recorder.start(path));
    }
    EXPECT_EQ(path + ": File too large", recorder.problem());
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(recorder.start(path));
    EXPECT_TRUE(recorder.stop());
}

TEST_F(RecorderTest, a_recording_whose_beginning_cannot_be_written_at_its_first_rest_is_removed) {
    manager();
    KXSessionRecorder recorder;
    ASSERT_TRUE(recorder.start(path));
    testing::internal::CaptureStderr();
    {
        const test::Disk disk(200);
        KXSimulation::advance(100);
    }
    EXPECT_EQ("KXSessionRecorder: " + path + ": File too large; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(recorder.stop());
}

TEST_F(RecorderTest, a_disk_that_fills_up_meanwhile_ends_the_recording_with_one_line) {
    KXSessionRecorder recorder;
    ASSERT_TRUE(recorder.start(path));
    manager();
    testing::internal::CaptureStderr();
    {
        const test::Disk disk(std::filesystem::file_size(path));
        press();
        release();
    }
    EXPECT_EQ("KXSessionRecorder: " + path + ": File too large; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(path + ": File too large", recorder.problem());
    EXPECT_EQ(KEY_PRESS_EVENT, manager().getNextEvent().eventType);
    EXPECT_FALSE(recorder.stop());
    EXPECT_EQ("0 pass", inputsOf(path).back()) << "what was written before stays";
    EXPECT_TRUE(recorder.start(inFolder("next.kxr")));
    EXPECT_TRUE(recorder.stop());
}

TEST_F(RecorderTest, a_folder_that_vanishes_is_told_within_a_second_and_by_the_next_save) {
    const std::string gone = inFolder("gone");
    std::filesystem::create_directory(gone);
    KXSessionRecorder recorder(60000);
    ASSERT_TRUE(recorder.start(gone + "/day.kxr"));
    std::filesystem::remove_all(gone);
    manager();
    testing::internal::CaptureStderr();
    press();
    KXSimulation::advance(1100);
    EXPECT_EQ("KXSessionRecorder: " + gone + "/day.kxr: the file was removed; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(gone + "/day.kxr: the file was removed", recorder.problem());
    EXPECT_TRUE(manager().hasEvents());
    EXPECT_FALSE(recorder.save(gone + "/kept.kxr"));
    EXPECT_EQ(gone + "/kept.kxr: No such file or directory", recorder.problem());
    EXPECT_FALSE(recorder.stop());
    EXPECT_TRUE(recorder.start(path)) << recorder.problem();
    EXPECT_TRUE(recorder.stop());
}

TEST_F(RecorderTest, a_file_that_is_removed_is_told_at_the_latest_when_the_recording_ends) {
    KXSessionRecorder recorder;
    manager();
    ASSERT_TRUE(recorder.start(path));
    std::filesystem::remove(path);
    EXPECT_FALSE(recorder.stop());
    EXPECT_EQ(path + ": the file was removed", recorder.problem());
}

TEST_F(RecorderTest, a_file_that_is_moved_holds_the_whole_recording) {
    KXSessionRecorder recorder;
    ASSERT_TRUE(recorder.start(path));
    manager();
    std::filesystem::rename(path, inFolder("moved.kxr"));
    press();
    KXSimulation::advance(3000);
    EXPECT_TRUE(recorder.stop()) << recorder.problem();
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_THAT(linesOf(inFolder("moved.kxr")).back(), HasSubstr(" end"));
}

TEST_F(RecorderTest, a_folder_that_is_moved_holds_the_whole_recording) {
    const std::string before = inFolder("before");
    std::filesystem::create_directory(before);
    KXSessionRecorder recorder;
    ASSERT_TRUE(recorder.start(before + "/day.kxr"));
    std::filesystem::rename(before, inFolder("after"));
    manager();
    EXPECT_TRUE(recorder.stop()) << recorder.problem();
    EXPECT_THAT(linesOf(inFolder("after/day.kxr")).back(), HasSubstr(" end"));
}

TEST_F(RecorderTest, a_recording_that_never_found_a_moment_of_rest_leaves_no_file) {
    manager();
    press();
    KXSessionRecorder recorder;
    ASSERT_TRUE(recorder.start(path));
    EXPECT_FALSE(recorder.stop());
    EXPECT_EQ(path + ": the recording is empty, because no moment of rest came", recorder.problem());
    EXPECT_FALSE(std::filesystem::exists(path));
    KXSimulation::advance(3000);
    EXPECT_TRUE(recorder.start(path)) << recorder.problem();
}

TEST_F(RecorderTest, a_pipe_whose_reader_ends_is_told_in_one_line_and_the_session_goes_on) {
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    KXSessionRecorder recorder;
    ASSERT_TRUE(recorder.start(path)) << recorder.problem();
    manager();
    close(reader);
    testing::internal::CaptureStderr();
    press();
    release();
    EXPECT_EQ("KXSessionRecorder: " + path + ": Broken pipe; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(KEY_PRESS_EVENT, manager().getNextEvent().eventType);
    EXPECT_FALSE(recorder.stop());
    EXPECT_TRUE(recorder.start(inFolder("next.kxr")));
}

TEST_F(RecorderTest, a_save_to_a_full_disk_is_told_and_removes_no_device) {
    KXSessionRecorder recorder(60000);
    EXPECT_FALSE(recorder.save("/dev/full"));
    EXPECT_EQ("/dev/full: No space left on device", recorder.problem());
    EXPECT_TRUE(std::filesystem::exists("/dev/full"));
    EXPECT_TRUE(recorder.save(path)) << recorder.problem();
}

TEST_F(RecorderTest, a_speed_table_that_no_line_can_hold_ends_the_recording) {
    KXSessionRecorder recorder;
    recorder.start(path);
    manager();
    testing::internal::CaptureStderr();
    KXEncoderDynamic::instance()->setDynamicParameters(std::vector<KXEncoderDynamicPair>(300000, {1, 1}));
    EXPECT_EQ("KXSessionRecorder: " + path +
                  ": a line would be longer than 1048576 characters; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_FALSE(recorder.stop());
}

TEST_F(RecorderTest, one_recording_at_a_time) {
    KXSessionRecorder recorder;
    EXPECT_TRUE(recorder.start(path));
    EXPECT_FALSE(recorder.start(inFolder("second.kxr")));
    EXPECT_EQ(inFolder("second.kxr") + ": a recording goes on", recorder.problem());
    EXPECT_TRUE(recorder.stop());
}

TEST_F(RecorderTest, a_second_recorder_is_told_that_it_is_one) {
    KXSessionRecorder first(60000);
    testing::internal::CaptureStderr();
    {
        KXSessionRecorder second(60000);
        EXPECT_EQ("KXSessionRecorder: another recorder observes the session; this one records nothing\n",
                  testing::internal::GetCapturedStderr());
        EXPECT_EQ("another recorder observes the session", second.problem());
        EXPECT_FALSE(second.start(path));
        EXPECT_EQ(path + ": another recorder observes the session", second.problem());
        EXPECT_FALSE(second.save(path));
        second.holdWorker(); // which would stop the first one's worker
        EXPECT_EQ("another recorder observes the session", second.problem());
    }
    manager();
    EXPECT_TRUE(first.start(path)); // which the second one's end has not disturbed
    press();
    EXPECT_TRUE(first.stop());
    EXPECT_THAT(inputsOf(path), ElementsAre("0 pass", at(0, pressLine), "0 end"));
}

TEST_F(RecorderTest, a_second_recorder_can_be_started_when_the_first_one_has_gone) {
    testing::internal::CaptureStderr();
    auto first = std::make_unique<KXSessionRecorder>();
    KXSessionRecorder second;
    testing::internal::GetCapturedStderr();
    manager();
    press();
    EXPECT_TRUE(second.stop()) << "there is nothing to end";
    first.reset();
    KXSimulation::advance(5000);
    ASSERT_TRUE(second.start(path)) << second.problem();
    release();
    KXSimulation::advance(100); // a rest, as the press was long ago
    press();
    EXPECT_TRUE(second.stop());
    EXPECT_EQ(at(5100, pressLine), inputsOf(path)[1]);
}

TEST_F(RecorderTest, another_observer_in_its_place_ends_the_recording) {
    KXSessionRecorder recorder;
    ASSERT_TRUE(recorder.start(path));
    manager();
    OtherObserver other;
    other.observe();
    press();
    testing::internal::CaptureStderr();
    EXPECT_FALSE(recorder.stop());
    const std::string problem = path + ": another observer has taken the place of the recorder";
    EXPECT_EQ("KXSessionRecorder: " + problem + "; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(problem, recorder.problem());
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_THAT(inputsOf(path), ElementsAre("0 pass")) << "neither the press nor an end";
}

TEST_F(RecorderTest, another_observer_in_its_place_is_told_by_save_and_start_takes_the_place_back) {
    KXSessionRecorder recorder(60000);
    manager();
    press();
    OtherObserver other;
    other.observe();
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(recorder.save(path));
        EXPECT_EQ(path + ": another observer has taken the place of the recorder", recorder.problem());
    }
    release();
    KXSimulation::advance(5000);
    EXPECT_TRUE(recorder.start(path)) << recorder.problem();
    KXSimulation::advance(100);
    EXPECT_TRUE(recorder.stop());
    EXPECT_THAT(inputsOf(path), ElementsAre("5100 pass", "5100 end"));
}

TEST_F(RecorderTest, another_observer_in_its_place_is_noticed_without_a_manager) {
    KXSessionRecorder recorder;
    ASSERT_TRUE(recorder.start(path));
    OtherObserver other;
    other.observe();
    EXPECT_FALSE(recorder.stop());
    EXPECT_EQ(path + ": another observer has taken the place of the recorder", recorder.problem());
}

TEST_F(RecorderTest, its_end_leaves_another_observer_in_its_place) {
    manager();
    OtherObserver other;
    {
        KXSessionRecorder recorder;
        other.observe();
    }
    press();
    EXPECT_EQ(1, other.events);
}

TEST_F(RecorderTest, a_clock_that_goes_back_ends_the_recording) {
    KXSimulation::setTick(100);
    KXSessionRecorder recorder;
    recorder.start(path);
    manager();
    KXSimulation::setTick(99);
    testing::internal::CaptureStderr();
    press();
    EXPECT_EQ("KXSessionRecorder: " + path +
                  ": the tick 99 lies before that of the line above, 100; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_FALSE(recorder.stop());
    EXPECT_THAT(inputsOf(path), ElementsAre("100 pass"));
}

TEST_F(RecorderTest, a_manager_made_anew_ends_the_recording) {
    KXSessionRecorder recorder;
    recorder.start(path);
    manager();
    press();
    KXSimulation::advance(100);
    KXInputEventManager::deleteInstance();
    testing::internal::CaptureStderr();
    manager();
    const std::string problem = path + ": the manager was deleted and made anew";
    EXPECT_EQ("KXSessionRecorder: " + problem + "; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_FALSE(recorder.isRecording());
    press();
    EXPECT_FALSE(recorder.stop());
    EXPECT_EQ(problem, recorder.problem());
    // The worker makes a last pass when the manager is deleted.
    EXPECT_THAT(inputsOf(path), ElementsAre("0 pass", at(0, pressLine), "100 pass", "100 pass"));
}

TEST_F(RecorderTest, a_recording_after_a_manager_made_anew_begins_with_that_one) {
    KXSessionRecorder recorder;
    manager().setLongKeyPressDuration(5000);
    manager().setKeyMapping({{66, 9}});
    press(66);
    KXSimulation::advance(100);
    KXInputEventManager::deleteInstance();
    manager();
    ASSERT_TRUE(recorder.start(path)); // the key is still down, but the new manager does not know it
    release(66);
    EXPECT_TRUE(recorder.stop()) << recorder.problem();
    EXPECT_THAT(entriesOf(path),
                ElementsAre("100 pass", "100 set accept-input on", "100 set double-press 300",
                            "100 set long-press 2000", StartsWith("100 set speed-table "), "100 set low-pass 900",
                            "100 set user-factor 1000", testing::Not(HasSubstr("=9")),
                            "100 toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x42", "100 end"));
}

TEST_F(RecorderTest, a_recording_started_between_two_managers_has_the_second_one_whole) {
    KXSessionRecorder recorder;
    manager();
    press();
    KXSimulation::advance(100);
    KXInputEventManager::deleteInstance();
    ASSERT_TRUE(recorder.start(path));
    manager();
    press();
    EXPECT_TRUE(recorder.stop()) << recorder.problem();
    EXPECT_THAT(inputsOf(path), ElementsAre("100 pass", at(100, pressLine), "100 end"));
}

TEST_F(RecorderTest, what_is_saved_after_a_manager_made_anew_begins_with_that_one) {
    KXSessionRecorder recorder(60000);
    manager();
    press();
    KXSimulation::advance(100);
    KXInputEventManager::deleteInstance();
    ASSERT_TRUE(recorder.save(inFolder("before.kxr"))) << "what was before can be saved until then";
    EXPECT_THAT(inputsOf(inFolder("before.kxr")),
                ElementsAre("0 pass", at(0, pressLine), "100 pass", "100 pass", "100 end"));
    manager();
    KXSimulation::advance(50);
    release();
    ASSERT_TRUE(recorder.save(path)) << recorder.problem();
    EXPECT_THAT(inputsOf(path), ElementsAre("100 pass", at(150, releaseLine), "150 end"));
}

TEST_F(RecorderTest, an_encoder_that_forgets_its_turn_ends_the_recording) {
    KXSimulation::setTick(100000);
    KXSessionRecorder recorder;
    manager();
    recorder.start(path);
    KXEncoderDynamic::instance()->initialize(); // which has nothing to forget
    turnWheel(1);
    EXPECT_TRUE(recorder.isRecording());
    KXEncoderDynamic::instance()->initialize();
    testing::internal::CaptureStderr();
    KXSimulation::advance(50);
    turnWheel(1);
    const std::string problem = path + ": the encoder was initialised anew and has forgotten its last turn";
    EXPECT_EQ("KXSessionRecorder: " + problem + "; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_FALSE(recorder.stop());
    EXPECT_EQ(problem, recorder.problem());
}

TEST_F(RecorderTest, a_manager_that_is_initialised_anew_with_a_new_encoder_ends_the_recording_after_a_turn) {
    KXSimulation::setTick(100000);
    KXSessionRecorder recorder;
    recorder.start(path);
    manager();
    turnWheel(1);
    manager().deinitialize();
    testing::internal::CaptureStderr();
    manager().initialize();
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(recorder.stop());
}

TEST_F(RecorderTest, holds_the_worker_until_it_stops) {
    KXSessionRecorder recorder;
    recorder.start(path);
    recorder.holdWorker(); // without a worker
    manager();
    EXPECT_TRUE(recorder.stop());
    KXSimulation::advance(100);
}

TEST_F(RecorderTest, nothing_is_saved_where_nothing_is_kept) {
    KXSessionRecorder recorder;
    EXPECT_FALSE(recorder.save(path));
    EXPECT_EQ(path + ": nothing is kept", recorder.problem());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RecorderTest, nothing_is_saved_before_the_first_rest) {
    manager();
    press();
    KXSessionRecorder recorder(60000);
    EXPECT_FALSE(recorder.save(path));
    EXPECT_EQ(path + ": no moment of rest came, at which a recording can begin", recorder.problem());
}

TEST_F(RecorderTest, save_begins_before_a_press_that_is_held_for_longer_than_what_is_to_be_kept) {
    manager();
    KXSessionRecorder recorder(5000);
    KXSimulation::advance(10000);
    press();
    KXSimulation::advance(60000);
    ASSERT_TRUE(recorder.save(path)) << recorder.problem();
    EXPECT_THAT(entriesOf(path), testing::Contains("10000 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000"));
    release();
    KXSimulation::advance(60000);
    ASSERT_TRUE(recorder.save(inFolder("later.kxr"))) << recorder.problem();
    EXPECT_THAT(inputsOf(inFolder("later.kxr")).front(), testing::StartsWith("125")) << "5 s before the end";
}

TEST_F(RecorderTest, save_begins_before_a_wrap_of_the_tick_until_a_knob_that_was_turned_is_turned_again) {
    KXSimulation::setTick(4294960000U);
    manager();
    KXSessionRecorder recorder(1000);
    turnWheel(1);
    KXSimulation::advance(60000);
    ASSERT_TRUE(recorder.save(path)) << recorder.problem();
    EXPECT_THAT(inputsOf(path).front(), testing::StartsWith("42949"));
    turnWheel(1);
    KXSimulation::advance(5000);
    ASSERT_TRUE(recorder.save(inFolder("later.kxr"))) << recorder.problem();
    EXPECT_THAT(inputsOf(inFolder("later.kxr")).front(), testing::StartsWith("56")) << "1 s before the end";
}

TEST_F(RecorderTest, save_begins_at_the_last_rest_before_what_is_to_be_kept) {
    KXSessionRecorder recorder(10000);
    manager();
    KXSimulation::advance(30000);
    press();
    ASSERT_TRUE(recorder.save(path)) << recorder.problem();
    const std::vector<std::string> inputs = inputsOf(path);
    const long begin = std::stol(inputs.front());
    EXPECT_LE(begin, 20000);
    EXPECT_GE(begin, 20000 - 1200); // a long rest is noted every second
    EXPECT_EQ("30000 end", inputs.back());
    EXPECT_TRUE(recorder.save(inFolder("again.kxr")));
}

TEST_F(RecorderTest, what_is_older_gives_way) {
    KXSessionRecorder recorder(60000);
    manager();
    for (int minute = 0; minute < 30; ++minute)
        KXSimulation::advance(60000);
    ASSERT_TRUE(recorder.save(path));
    const long begin = std::stol(inputsOf(path).front());
    EXPECT_LE(begin, 29 * 60000);
    EXPECT_GE(begin, 29 * 60000 - 1200);
}

TEST_F(RecorderTest, may_be_made_and_ended_while_input_arrives) {
    manager();
    std::thread operators([] {
        for (int i = 0; i < 2000; ++i)
            i % 2 == 0 ? press() : release();
    });
    for (int i = 0; i < 20; ++i) {
        KXSessionRecorder recorder(1000);
        recorder.start(inFolder(std::to_string(i)));
        recorder.save(inFolder("kept" + std::to_string(i)));
    }
    operators.join();
}

} // namespace KX
