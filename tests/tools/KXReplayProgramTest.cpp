#include "ToolProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const std::string press = " toolkit TOOLKIT_KEY_PRESS_EVENT os=0x1000000\n";
const std::string release = " toolkit TOOLKIT_KEY_RELEASE_EVENT os=0x1000000\n";

// "I pressed twice and it opened two pages."
const std::string complaint = "kxrecording 1\n"
                              "1000" +
                              press + "1080" + release + "1301" + press + "1390" + release +
                              "1400 pass\n1500 end\n";

const std::string complaintEvents =
    "1000 KEY_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n"
    "1080 KEY_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n"
    "1301 KEY_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n"
    "1390 KEY_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n";

const std::string keypadLog = "(0000000001.000000) can0 18FF0001#0100000000000000\n"
                              "(0000000001.100000) can0 18FF0001#0000000000000000\n";

const std::string keypadEvents =
    "1000 KEY_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n"
    "1100 KEY_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n";

/// An hour of an operator who works without a break: one press per five passes.
std::string hourOfInput() {
    std::string lines = "kxrecording 1\n";
    for (unsigned int i = 0; i < 36000; ++i) {
        const unsigned int tick = 4294000000U + 100 * i;
        lines += std::to_string(tick) + " pass\n";
        if (i % 5 == 0 || i % 5 == 2)
            lines += std::to_string(tick + i % 97) + (i % 5 == 0 ? press : release);
    }
    return lines;
}

class KXReplayProgram : public testing::Test {
protected:
    int run(const std::vector<std::string>& arguments, const std::string& input = std::string()) {
        return runProgram(KXREPLAY, arguments, input);
    }

    /// A command line of the shell; $KXREPLAY is the program.
    int runShell(const std::string& words) {
        return runProgram("/bin/sh", {"-c", "KXREPLAY='" KXREPLAY "'; cd '" + (folder / "") + "'; " + words}, "");
    }

    int runProgram(const char* path, const std::vector<std::string>& arguments, const std::string& input) {
        ToolProgram program(path, folder, arguments, input);
        const int status = program.wait();
        errors = program.errors();
        output = program.output();
        return status;
    }

    void expectRefused(const std::vector<std::string>& arguments, const std::string& message) {
        EXPECT_EQ(run(arguments), 2) << message;
        EXPECT_EQ(errors, message + "\n");
        EXPECT_EQ(output, "");
    }

    TestFolder folder;
    std::string output;
    std::string errors;
};

TEST_F(KXReplayProgram, prints_the_events_of_a_recording_and_nothing_else) {
    EXPECT_EQ(run({folder.write("a.kxr", complaint)}), 0);
    EXPECT_EQ(output, complaintEvents);
    EXPECT_EQ(errors, "");
    EXPECT_EQ(run({"-"}, complaint), 0);
    EXPECT_EQ(output, complaintEvents);
}

TEST_F(KXReplayProgram, prints_the_events_of_a_log_whatever_desktop_there_is) {
    const std::string file = folder.write("a.log", keypadLog);
    for (const char* const desktop : {"", "QT_QPA_PLATFORM=xcb DISPLAY=:99 ", "QT_QPA_PLATFORM=nothing ",
                                      "env -u HOME -u DISPLAY -u XDG_RUNTIME_DIR "}) {
        EXPECT_EQ(runShell(std::string(desktop) + "\"$KXREPLAY\" a.log"), 0) << desktop;
        EXPECT_EQ(output, keypadEvents);
        EXPECT_EQ(errors, "") << desktop;
    }
}

TEST_F(KXReplayProgram, starts_no_window_system_for_a_recording_without_frames) {
    folder.write("a.kxr", complaint);
    folder.write("a.log", keypadLog);
    EXPECT_EQ(runShell("QT_PLUGIN_PATH=/nowhere QT_QPA_PLATFORM_PLUGIN_PATH=/nowhere QT_DEBUG_PLUGINS=1 "
                       "\"$KXREPLAY\" --library-output a.kxr"),
              0);
    EXPECT_EQ(errors, "");
}

TEST_F(KXReplayProgram, shows_what_the_library_says_on_demand) {
    const std::string file = folder.write("a.log", keypadLog);
    EXPECT_EQ(run({"--library-output", file}), 0);
    EXPECT_EQ(output, keypadEvents);
    EXPECT_EQ(errors, "KXInputEventManager::setRask44options: 44 enabled\n"
                      "Key 1, KeyCode: 0, pressed\nKey 1, KeyCode: 0, released\n");
    EXPECT_EQ(run({"--library-output", "-"}, "kxrecording 1\n"
                                             "9 toolkit TOOLKIT_WHEEL_EVENT key=4 count=1\n"
                                             "9 toolkit TOOLKIT_WHEEL_EVENT key=4 count=1\n9 toolkit 4711\n"),
              0);
    EXPECT_EQ(errors, "kx_encoder_dynamic: Can not calculate encoder dynamics for negative time gap.\n"
                      "KXInputEventManager::toolkitEventOccurred(): got unknown input event: 4711\n");
}

TEST_F(KXReplayProgram, what_is_printed_as_expected_is_told_in_one_line) {
    const std::string file = folder.write("a.kxr", complaint);
    EXPECT_EQ(run({"--expect", folder.write("expected", complaintEvents), file}), 0);
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "kxreplay: 4 lines as expected\n");
    EXPECT_EQ(run({file, "--json"}), 0);
    EXPECT_EQ(run({"--json", "--expect", folder.write("expected", output), file}), 0) << errors;
    EXPECT_EQ(run({file, "--summary"}), 0);
    EXPECT_EQ(run({"--summary", "--expect", folder.write("expected", output), file}), 0) << errors;
}

TEST_F(KXReplayProgram, what_differs_from_the_expected_is_shown) {
    const std::string file = folder.write("a.kxr", complaint);
    const std::string expected = folder.write("expected", complaintEvents);
    EXPECT_EQ(run({"--expect", expected, "--double-press", "301", file}), 1);
    EXPECT_EQ(output, "--- " + expected +
                          "\n+++ recording\n"
                          "@@ -1,4 +1,4 @@\n"
                          " 1000 KEY_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n"
                          " 1080 KEY_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n"
                          "-1301 KEY_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n"
                          "+1301 KEY_DOUBLE_PRESS_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n"
                          " 1390 KEY_RELEASE_EVENT class=3 key=0 os=0x1000000 value=0 count=-1 data=0,0,0,0\n");
    EXPECT_EQ(errors, "");
    EXPECT_EQ(
        run({"--expect", folder.write("expected", complaintEvents.substr(0, complaintEvents.size() - 1)), file}),
        1);
    EXPECT_THAT(output, HasSubstr("data=0,0,0,0\n\\ No newline at end of file\n+1390 "));
    EXPECT_EQ(run({"--expect", folder.write("expected", ""), file}), 1);
    EXPECT_THAT(output, HasSubstr("@@ -0,0 +1,4 @@\n+1000 "));
    expectRefused({"--expect", folder / "none", file}, folder / "none" + ": No such file or directory");
}

TEST_F(KXReplayProgram, the_expected_comes_from_standard_input_too) {
    const std::string file = folder.write("a.kxr", complaint);
    EXPECT_EQ(run({"--expect", "-", file}, complaintEvents), 0);
    EXPECT_EQ(errors, "kxreplay: 4 lines as expected\n");
    EXPECT_EQ(run({"--expect=-", file}, "none\n"), 1);
    EXPECT_THAT(output, StartsWith("--- -\n+++ recording\n@@ -1 +1,4 @@\n"));
    expectRefused({"--expect", "-", "-"}, "kxreplay: --expect and the recording cannot both be standard input");
}

TEST_F(KXReplayProgram, only_a_file_can_expect_no_events) {
    const std::string idle = folder.write("idle.kxr", "kxrecording 2\n1000 pass\n1100 end\n");
    EXPECT_EQ(run({"--expect", folder.write("expected", ""), idle}), 0) << errors;
    expectRefused({"--expect", "-", idle}, "standard input: there is no expected output in it");
}

TEST_F(KXReplayProgram, huge_files_without_a_line_end_are_refused_at_their_beginning) {
    const std::string huge = folder.write("huge", "");
    constexpr off_t size = off_t{1} << 32;
    ASSERT_EQ(truncate(huge.c_str(), size), 0); // uses no space on the disk
    const std::string refusal = huge + ":1: the line is longer than 1048576 characters";
    expectRefused({huge}, refusal);
    expectRefused({"--expect", huge, folder.write("a.kxr", complaint)}, refusal);
    expectRefused({"--keypad", huge, folder.write("a.log", keypadLog)}, refusal);
}

TEST_F(KXReplayProgram, compares_with_other_settings) {
    const std::string file = folder.write("a.kxr", complaint);
    EXPECT_EQ(run({"--compare", "--double-press", "350", "--low-pass", "500", file}), 0);
    EXPECT_EQ(output,
              "Other settings: --double-press 350 --low-pass 500\n"
              "\n"
              "As recorded                                                 With the other settings\n"
              "1000 KEY_PRESS key 0 (Esc)                                  1000 KEY_PRESS key 0 (Esc)\n"
              "1080 KEY_RELEASE key 0 (Esc)                                1080 KEY_RELEASE key 0 (Esc)\n"
              "1301 KEY_PRESS key 0 (Esc)                                | 1301 KEY_DOUBLE_PRESS key 0 (Esc)\n"
              "1390 KEY_RELEASE key 0 (Esc)                                1390 KEY_RELEASE key 0 (Esc)\n"
              "1 difference: 1 changed (|), 0 only as recorded (<), 0 only with the other settings (>)\n");
    const std::string log = folder.write("a.log", "(1.000000) can0 18FF0003#0000010000000000\n"
                                                  "(1.010000) can0 18FF0003#0000020000000000\n"
                                                  "(1.020000) can0 18FF0003#0000000000000000\n");
    EXPECT_EQ(run({"--compare", "--user-factor", "1000", log}), 0);
    EXPECT_THAT(output, EndsWith("no differences in 1 event\n")) << "the knob of the second play begins at 0, too";
}

TEST_F(KXReplayProgram, says_that_the_second_press_was_close) {
    EXPECT_EQ(run({"--summary", "-"}, complaint), 0);
    EXPECT_THAT(output,
                HasSubstr("  line 4, tick 1301: second press of key 0 (Esc) 301 ms after the first, 1 ms above "
                          "the limit of 300 ms: taken for a single press (KEY_PRESS_EVENT)\n"));
}

TEST_F(KXReplayProgram, as_json_is_read_by_others) {
    folder.write("a.kxr", complaint);
    for (const char* const options : {"--json", "--json --summary", "--json --compare --double-press 400"}) {
        ASSERT_EQ(
            runShell(std::string("\"$KXREPLAY\" a.kxr ") + options +
                     " | python3 -c 'import json, sys\n"
                     "for line in sys.stdin: print(json.dumps(json.loads(line), separators=(\",\", \":\")))' > "
                     "read; \"$KXREPLAY\" a.kxr " +
                     options + " | cmp - read"),
            0)
            << options << output << errors;
    }
}

TEST_F(KXReplayProgram, reads_the_layout_of_another_keypad) {
    const std::string log = folder.write("a.log", "(1.000000) can0 123#80\n");
    EXPECT_EQ(run({"--keypad", folder.write("keypad", "key 2 code 18 byte 0 bit 7 id 123\n"), log}), 0) << errors;
    EXPECT_EQ(output, "1000 KEY_PRESS_EVENT class=3 key=18 os=0x100003b value=0 count=-1 data=0,0,0,0\n");
    const std::string bad = folder.write("keypad", "key 2 code 19 byte 0 bit 7 id 123\n");
    expectRefused({"--keypad", bad, log},
                  bad + ":1: key 2: code 19 is a key code that the toolkit has no key for");
    expectRefused({"--keypad", folder / "none", log}, folder / "none" + ": No such file or directory");
    expectRefused({"--keypad", bad, folder.write("a.kxr", complaint)},
                  "kxreplay: --keypad is for the log of a CAN bus; a recording has its own layout");
}

TEST_F(KXReplayProgram, bad_files_are_told_with_their_line) {
    const std::string bad = folder.write("a.kxr", complaint.substr(0, 14) + "1000 pass\nwhat is this\n");
    expectRefused({bad}, bad + ":3: 'what' is neither a tick nor the (time) of a frame");
    expectRefused({folder / "none"}, folder / "none" + ": No such file or directory");
    expectRefused({folder / ""}, folder / "" + ": Is a directory");
    expectRefused({"--expect", folder / "", folder.write("b.kxr", complaint)}, folder / "" + ": Is a directory");
    expectRefused({"--keypad", folder / "", folder.write("b.log", keypadLog)}, folder / "" + ": Is a directory");
    EXPECT_EQ(run({"-"}, "what is this\n"), 2);
    EXPECT_THAT(errors, StartsWith("standard input:1: neither a recording"));
    EXPECT_EQ(run({"--double-press", "2000", "-"},
                  "kxrecording 1\n0 set long-press 3000\n0 pass\n1 set long-press 2000\n"),
              2);
    EXPECT_EQ(errors, "standard input:4: a double press of 2000 ms is not shorter than a long press of 2000 ms\n");
}

TEST_F(KXReplayProgram, what_is_left_out_of_a_recording_is_told) {
    EXPECT_EQ(run({"-"}, "kxrecording 1\n1000" + press + "1500 shaken\n1600 stirred\n1700" + release +
                             "1900 toolkit TOOL"),
              0);
    EXPECT_THAT(output, StartsWith("1000 KEY_PRESS_EVENT "));
    EXPECT_THAT(output, HasSubstr("\n1700 KEY_RELEASE_EVENT "));
    EXPECT_THAT(errors, HasSubstr("standard input:6: the last line is cut off; it is left out\n"));
    EXPECT_THAT(errors, HasSubstr("standard input:3: the line 'shaken' is not known (the first of 2)"));
}

TEST_F(KXReplayProgram, a_recording_that_was_lost_is_an_error) {
    const std::vector<std::string> lost{"", "\n", "# a comment\n\n", "kxrecording 1\n", "kxrecording 1\n\n"};
    for (const std::string& text : lost) {
        EXPECT_EQ(run({"-"}, text), 2) << text;
        EXPECT_EQ(errors, "standard input: there is nothing to play in it\n") << text;
        const std::string file = folder.write("a.kxr", text);
        expectRefused({file}, file + ": there is nothing to play in it");
        expectRefused({"--expect", folder.write("expected", ""), file}, file + ": there is nothing to play in it");
    }
    EXPECT_EQ(run({"-"}, "kxrecording 1\n1000 end\n"), 0) << "a session in which nobody did anything";
    EXPECT_EQ(output + errors, "");
}

TEST_F(KXReplayProgram, bad_arguments_are_told_in_one_line) {
    expectRefused({}, "kxreplay: the recording is missing; kxreplay --help shows how to call it");
    expectRefused({"--json"}, "kxreplay: the recording is missing; kxreplay --help shows how to call it");
    expectRefused({"a", "b"}, "kxreplay: argument 2: unexpected 'b'");
    expectRefused({""}, "kxreplay: argument 1: the name of the recording is empty");
    expectRefused({"no\nfile\033"}, "no?file?: No such file or directory");
    expectRefused({"--what\n", "a"}, "kxreplay: argument 1: unknown option '--what?'");
    expectRefused({"a", "--json", "--json"}, "kxreplay: argument 3: --json is given twice");
    expectRefused({"a", "--low-pass", "1", "--low-pass", "2"}, "kxreplay: argument 4: --low-pass is given twice");
    expectRefused({"--summary", "--compare", "a"},
                  "kxreplay: argument 2: --summary and --compare do not go together");
    expectRefused({"a", "--expect"},
                  "kxreplay: the file of --expect is missing; kxreplay --help shows how to call it");
    expectRefused({"a", "--expect", ""}, "kxreplay: argument 3: --expect: the name of the file is empty");
    expectRefused({"--compare", "a"}, "kxreplay: --compare shows what other settings change: give --double-press, "
                                      "--long-press, --user-factor or --low-pass too");
    for (const char* const number : {"", "-1", "x", "1x", " 1", "4294967296"}) {
        expectRefused({"--double-press", number, "a"}, "kxreplay: argument 2: --double-press: '" +
                                                           std::string(number) +
                                                           "' is not a number from 0 to 4294967295");
    }
    expectRefused({"--user-factor", "0", "a"},
                  "kxreplay: argument 2: --user-factor: '0' is not a number from 1 to 2147483647");
    expectRefused({"--low-pass", "1001", "a"},
                  "kxreplay: argument 2: --low-pass: '1001' is not a number from 1 to 1000");
    const std::string file = folder.write("a.kxr", complaint);
    expectRefused({"--long-press", "300", file},
                  "kxreplay: a double press of 300 ms is not shorter than a long press of 300 ms");
}

TEST_F(KXReplayProgram, output_that_cannot_be_written_is_told) {
    folder.write("hour.kxr", hourOfInput());
    EXPECT_EQ(runShell("\"$KXREPLAY\" hour.kxr > /dev/full"), 1);
    EXPECT_EQ(errors, "kxreplay: standard output: No space left on device\n");
    folder.write("a.kxr", complaint);
    EXPECT_EQ(runShell("\"$KXREPLAY\" a.kxr > /dev/full"), 1);
    EXPECT_EQ(errors, "kxreplay: standard output: No space left on device\n");
    for (const char* const words : {"--help", "--version", "--summary a.kxr", "--expect /dev/null a.kxr"}) {
        EXPECT_EQ(runShell(std::string("\"$KXREPLAY\" ") + words + " > /dev/full"), 1) << words;
        EXPECT_EQ(errors, "kxreplay: standard output: No space left on device\n");
        EXPECT_EQ(runShell(std::string("\"$KXREPLAY\" ") + words + " >&-"), 1) << words;
        EXPECT_EQ(errors, "kxreplay: standard output: Bad file descriptor\n");
    }
}

TEST_F(KXReplayProgram, tells_how_to_call_it) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--help"}, {"-h"}, {"--summary", "--help", "--what"}}) {
        EXPECT_EQ(run(arguments), 0);
        EXPECT_THAT(output, HasSubstr("Examples:"));
        EXPECT_THAT(output, HasSubstr("Exit status:"));
        EXPECT_EQ(errors, "");
    }
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_EQ(output, "kxreplay " KXREPLAY_VERSION "\n");
}

// The seconds of processor time of all programs that were run. Others do not count, so a busy machine gives the same.
double usedByPrograms() {
    rusage used = {};
    getrusage(RUSAGE_CHILDREN, &used);
    return static_cast<double>(used.ru_utime.tv_sec) + static_cast<double>(used.ru_utime.tv_usec) / 1e6;
}

TEST_F(KXReplayProgram, an_hour_takes_a_moment_and_gives_the_same_bytes_each_time) {
    const std::string file = folder.write("hour.kxr", hourOfInput());
    const double start = usedByPrograms();
    ASSERT_EQ(run({file}), 0);
    // On a desktop it takes a few hundredths of a second. The limit is for emulated and instrumented machines.
    EXPECT_LT(usedByPrograms() - start, 30);
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 14400);
    const std::string first = output;
    ASSERT_EQ(run({file}), 0);
    EXPECT_TRUE(output == first);
}

} // namespace
