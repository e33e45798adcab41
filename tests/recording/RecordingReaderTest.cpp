// Which lines count, in which order and at which time.

#include "RecordingText.h"

#include "recording/KXKeyLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iostream>

namespace {

using namespace KX::Recording;
using KX::Recording::test::dayOfAnOperator;
using KX::Recording::test::errorOfLine;
using KX::Recording::test::Outcome;
using KX::Recording::test::outcomeOf;
using KX::Recording::test::outcomeOfLines;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::uint64_t> timesOf(const Outcome& outcome) {
    EXPECT_EQ("", outcome.error);
    std::vector<std::uint64_t> times;
    for (const Entry& entry : outcome.session.entries)
        times.push_back(entry.timeMs);
    return times;
}

std::vector<std::string> linesOf(const Outcome& outcome) {
    EXPECT_EQ("", outcome.error);
    std::vector<std::string> lines;
    for (const Entry& entry : outcome.session.entries)
        lines.push_back(std::to_string(entry.line) + ": " + format(entry));
    return lines;
}

std::string warned(const std::string& text) {
    const Outcome outcome = outcomeOf(text);
    EXPECT_EQ("", outcome.error) << text;
    EXPECT_GE(1U, outcome.warnings.size()) << text;
    return outcome.warnings.empty() ? "" : outcome.warnings.front();
}

} // namespace

TEST(RecordingReaderTest, AnEmptyFileIsAnEmptySession) {
    for (const char* const text : {"", "\n", "# nothing yet\n", " \t\r\n\n#", "kxrecording 1\n"}) {
        const Outcome outcome = outcomeOf(text);
        EXPECT_EQ("", outcome.error) << text;
        EXPECT_THAT(outcome.warnings, IsEmpty()) << text;
        EXPECT_THAT(outcome.session.entries, IsEmpty()) << text;
        EXPECT_FALSE(outcome.session.isPlainLog) << text;
        EXPECT_FALSE(outcome.session.hasPasses) << text;
    }
}

TEST(RecordingReaderTest, CommentsAndEmptyLinesMayStandAnywhere) {
    const Outcome outcome =
        outcomeOf("# head\n\n  kxrecording\t1 \n \t \n# 5 pass\n7 pass\n  # in\n8 end\n#behind\n\n");
    EXPECT_THAT(linesOf(outcome), ElementsAre("6: 7 pass", "8: 8 end"));
    EXPECT_THAT(outcome.warnings, IsEmpty());
}

TEST(RecordingReaderTest, TheMarkThatEditorsPutBeforeATextDoesNotMatter) {
    EXPECT_THAT(linesOf(outcomeOf("\xEF\xBB\xBFkxrecording 1\n7 pass\n8 end\n")),
                ElementsAre("2: 7 pass", "3: 8 end"));
}

TEST(RecordingReaderTest, LinesMayEndAsOnOtherSystems) {
    std::string text = dayOfAnOperator();
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 2))
        text.insert(end, "\r");
    const Outcome outcome = outcomeOf(text);
    EXPECT_EQ(linesOf(outcomeOf(dayOfAnOperator())), linesOf(outcome));
    EXPECT_EQ(15U, outcome.session.entries.size());
    EXPECT_THAT(outcome.warnings, IsEmpty());
}

TEST(RecordingReaderTest, TellsWhetherPassesAreInIt) {
    EXPECT_TRUE(outcomeOfLines("1 pass\n2 end\n").session.hasPasses);
    EXPECT_FALSE(outcomeOfLines("1 toolkit 300\n2 end\n").session.hasPasses);
}

TEST(RecordingReaderTest, TheTickMayStayAndGoesOnAcrossTheWrap) {
    EXPECT_THAT(timesOf(outcomeOfLines("4294967295 pass\n4294967295 pass\n0 pass\n0 pass\n1 pass\n")),
                ElementsAre(4294967295U, 4294967295U, 4294967296U, 4294967296U, 4294967297U));
}

TEST(RecordingReaderTest, ALeapOfLessThanHalfTheRangeIsAhead) {
    EXPECT_THAT(timesOf(outcomeOfLines("1 pass\n2147483648 pass\n4294967295 pass\n2147483646 pass\n")),
                ElementsAre(1U, 2147483648U, 4294967295U, 6442450942U));
    EXPECT_EQ("day.kxr:3: the tick 2147483649 lies before that of the line above, 1",
              outcomeOfLines("1 pass\n2147483649 pass\n").error);
}

TEST(RecordingReaderTest, TheTickDoesNotGoBack) {
    EXPECT_EQ("day.kxr:3: the tick 999 lies before that of the line above, 1000",
              outcomeOfLines("1000 pass\n999 pass\n").error);
    EXPECT_EQ("day.kxr:3: the tick 999 lies before that of the line above, 1000",
              outcomeOfLines("1000 pass\n(0.999000) can0 123#\n").error);
    EXPECT_EQ("day.kxr:3: the tick 4294967295 lies before that of the line above, 0",
              outcomeOfLines("0 pass\n4294967295 pass\n").error);
}

TEST(RecordingReaderTest, FramesAndOwnLinesShareTheirTime) {
    EXPECT_THAT(timesOf(outcomeOfLines("(0004294967.295999) can0 123#\n0 pass\n(4294967.296000) can0 123#\n"
                                       "(0.005000) can0 123#\n5 pass\n")),
                ElementsAre(4294967295U, 4294967296U, 4294967296U, 4294967301U, 4294967301U));
}

TEST(RecordingReaderTest, AFrameWithTheTimeOfDayHasTheLowPartOfIt) {
    EXPECT_THAT(timesOf(outcomeOfLines("(1436509052.249713) can0 123#\n")),
                ElementsAre(1436509052249 % 4294967296));
}

TEST(RecordingReaderTest, NothingStandsBehindTheEnd) {
    EXPECT_EQ("day.kxr:3: a line behind the end of the recording", outcomeOfLines("1 end\n1 pass\n").error);
    EXPECT_EQ("day.kxr:3: a line behind the end of the recording", outcomeOfLines("1 end\n1 end\n").error);
    EXPECT_EQ("day.kxr:3: a line behind the end of the recording", outcomeOfLines("1 end\nfoo\n").error);
    EXPECT_EQ("day.kxr:3: a line behind the end of the recording", outcomeOfLines("1 end\n(1.0)\n").error);
    EXPECT_EQ("", outcomeOfLines("1 end\n# a comment\n\n").error);
}

TEST(RecordingReaderTest, LinesThatAreNotKnownAreLeftOutWithOneWarning) {
    const Outcome outcome = outcomeOfLines("1 pass\n2 touch 5 6\n3 pass\n4 touch 7 8\n5 gesture\n6 end\n");
    EXPECT_THAT(linesOf(outcome), ElementsAre("2: 1 pass", "4: 3 pass", "7: 6 end"));
    EXPECT_THAT(outcome.warnings,
                ElementsAre("day.kxr:3: the line 'touch' is not known (the first of 3); what a newer version has "
                            "added is left out"));
}

TEST(RecordingReaderTest, FieldsThatAreNotKnownDoNotCount) {
    const Outcome outcome = outcomeOfLines("1 toolkit 300 finger=3 os=0x5 pressure=9\n");
    EXPECT_THAT(linesOf(outcome), ElementsAre("2: 1 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x5"));
    EXPECT_THAT(outcome.warnings, ElementsAre("day.kxr:2: the field 'pressure' is not known; what a newer version "
                                              "has added is left out"));
}

TEST(RecordingReaderTest, SettingsThatAreNotKnownAreLeftOut) {
    const Outcome outcome = outcomeOfLines("1 set brightness 50\n1 set low-pass 5\n");
    EXPECT_THAT(linesOf(outcome), ElementsAre("3: 1 set low-pass 5"));
    EXPECT_THAT(outcome.warnings, ElementsAre("day.kxr:2: the setting 'brightness' is not known; what a newer "
                                              "version has added is left out"));
}

TEST(RecordingReaderTest, AKnownFieldOfAnEventThatIsNotKnownStillHasToBeRight) {
    EXPECT_EQ("day.kxr:2: 'x' is no value for 'count'", errorOfLine("1 toolkit 300 finger=3 count=x"));
}

TEST(RecordingReaderTest, ALineOfTheGreatestLengthIsReadAndOneMoreIsNot) {
    const std::string comment(1048576, '#');
    EXPECT_EQ("", outcomeOfLines(comment + "\n").error);
    EXPECT_EQ("day.kxr:2: the line is longer than 1048576 characters", outcomeOfLines(comment + "#\n").error);
    EXPECT_EQ("day.kxr:2: the line is longer than 1048576 characters", outcomeOfLines(comment + "#").error);
    const std::string blanks(1048576 - 6, ' ');
    EXPECT_THAT(linesOf(outcomeOfLines("1" + blanks + " pass\n")), ElementsAre("2: 1 pass"));
}

TEST(RecordingReaderTest, AKeypadMayUseKeysThatWereMappedBefore) {
    const std::string mapping = "1 set key-mapping 0x1000030=7\n";
    const std::string keypad = "1 set keypad key 1 code 7 byte 0 bit 0 id 18FF0001\n";
    EXPECT_EQ("", outcomeOfLines(mapping + keypad).error);
    EXPECT_EQ("day.kxr:2: keypad, entry 1: key 1: code 7 is a key code that the toolkit has no key for",
              outcomeOfLines(keypad + mapping).error);
}

TEST(RecordingReaderTest, EveryManagerKnowsTheKeyCodesToSix) {
    for (int keyCode = 0; keyCode <= 6; ++keyCode) {
        const std::string keypad =
            "1 set keypad key 1 code " + std::to_string(keyCode) + " byte 0 bit 0 id 18FF0001";
        EXPECT_EQ("it was accepted", errorOfLine(keypad));
    }
}

TEST(RecordingReaderTest, TheBuiltInKeypadComesBack) {
    Entry entry;
    entry.input = KeyMapping{{{1, 7}, {2, 8}, {3, 9}, {4, 10}, {5, 11}, {6, 12}, {7, 13}, {8, 14}, {9, 15}}};
    const std::string mapping = format(entry) + "\n";
    entry.input = Keypad{std::make_shared<const KX::CANRemoteOptions>(KX::KeyLayout::builtIn())};
    const Outcome outcome = outcomeOfLines(mapping + format(entry) + "\n");
    ASSERT_EQ("", outcome.error);
    const auto& read = std::get<Keypad>(outcome.session.entries.at(1).input);
    EXPECT_EQ(KX::KeyLayout::write(KX::KeyLayout::builtIn()), KX::KeyLayout::write(*read.layout));
    EXPECT_TRUE(read.layout->enabled);
}

TEST(RecordingReaderTest, ACutAtAnyByteCostsNoMoreThanTheLastLine) {
    const std::string whole = dayOfAnOperator();
    const std::vector<std::string> lines = linesOf(outcomeOf(whole));
    std::size_t wholeLines = 0;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::string text = whole.substr(0, size);
        if (size > 0 && text.back() == '\n')
            ++wholeLines;
        const Outcome outcome = outcomeOf(text);
        ASSERT_EQ("", outcome.error) << size;
        const std::vector<std::string> found = linesOf(outcome);
        // The first line, the comment and the empty line are not entries.
        const std::size_t expected = wholeLines < 2 ? 0 : wholeLines - 2 - (wholeLines >= 12 ? 1 : 0);
        ASSERT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(expected)),
                  found)
            << size;
        const bool isCut = size > 0 && text.back() != '\n' && wholeLines != 1; // a cut comment is ignored
        const std::string warning =
            "day.kxr:" + std::to_string(wholeLines + 1) + ": the last line is cut off; it is left out";
        ASSERT_EQ(isCut ? std::vector<std::string>{warning} : std::vector<std::string>(), outcome.warnings)
            << size;
    }
    EXPECT_EQ(18U - 1, wholeLines);
}

TEST(RecordingReaderTest, ACutLineBehindTheEndOrBehindUnknownOnesIsLeftOut) {
    EXPECT_EQ("day.kxr:3: the last line is cut off; it is left out", warned("kxrecording 1\n1 end\n1 pa"));
    const Outcome outcome = outcomeOfLines("1 touch\n2 pass");
    EXPECT_THAT(
        outcome.warnings,
        ElementsAre("day.kxr:3: the last line is cut off; it is left out",
                    "day.kxr:2: the line 'touch' is not known; what a newer version has added is left out"));
}

TEST(RecordingReaderTest, APlainLogBeginsAtOneSecondWhateverItsTime) {
    const Outcome outcome = outcomeOf("(1436509052.249713) can0 18FF0001#01\n"
                                      "(1436509052.250712) can0 18FF0001#02 R\n"
                                      "(1436509052.250713) vcan1 123#\n"
                                      "(1436509062.249713) can0 18FF0001#03");
    EXPECT_TRUE(outcome.session.isPlainLog);
    EXPECT_FALSE(outcome.session.hasPasses);
    EXPECT_THAT(linesOf(outcome),
                ElementsAre("1: (0000000001.000000) can0 18FF0001#01", "2: (0000000001.000000) can0 18FF0001#02",
                            "3: (0000000001.001000) vcan1 123#", "4: (0000000011.000000) can0 18FF0001#03"));
    EXPECT_THAT(outcome.warnings, IsEmpty());
}

TEST(RecordingReaderTest, ErrorAndRemoteFramesOfAPlainLogAreLeftOut) {
    EXPECT_THAT(
        linesOf(outcomeOf("(5.000000) can0 20000004#0004000000000000\n(6.000000) can0 123#R\n"
                          "(7.000000) can0 123#01\n(8.000000) can0 18FF0001#R8\n(9.000000) can0 123#02\n")),
        ElementsAre("3: (0000000001.000000) can0 123#01", "5: (0000000003.000000) can0 123#02"));
}

TEST(RecordingReaderTest, AFrameOfAPlainLogIsNeverEarlierThanTheOneBefore) {
    EXPECT_THAT(timesOf(outcomeOf("(5.000000) can0 123#\n(7.000000) can0 123#\n(6.000000) can0 123#\n"
                                  "(1.000000) can0 123#\n(7.500000) can0 123#\n")),
                ElementsAre(1000U, 3000U, 3000U, 3000U, 3500U));
    EXPECT_THAT(timesOf(outcomeOf("(5.000000) can0 123#\n(4.000000) can0 123#\n")), ElementsAre(1000U, 1000U));
}

TEST(RecordingReaderTest, APlainLogMayLastLongerThanTheTick) {
    EXPECT_THAT(timesOf(outcomeOf("(0.000000) can0 123#\n(999999999999.999999) can0 123#\n")),
                ElementsAre(1000U, 1000000000000999U));
}

TEST(RecordingReaderTest, AnErrorOfAPlainLogHasItsLine) {
    EXPECT_EQ("day.kxr:3: the line ends early; it is to be (seconds.microseconds) interface frame",
              outcomeOf("# log\n(1.000000) can0 123#\n(2.000000) can0\n").error);
    EXPECT_EQ("day.kxr:2: the time '5' is not (seconds.microseconds) with 6 digits behind the point",
              outcomeOf("(1.000000) can0 123#\n5 pass\n").error);
    EXPECT_EQ("day.kxr:1: the identifier '12' has not 3 or 8 hexadecimal digits",
              outcomeOf("(1.000000) can0 12#\n").error);
}

TEST(RecordingReaderTest, AFileThatIsSomethingElseIsToldSo) {
    EXPECT_EQ("day.kxr:1: neither a recording, which begins with 'kxrecording' and its version, nor a log of a "
              "CAN bus: the time "
              "'5' is not (seconds.microseconds) with 6 digits behind the point",
              outcomeOf("5 pass\n").error);
    EXPECT_EQ("day.kxr:1: neither a recording, which begins with 'kxrecording' and its version, nor a log of a "
              "CAN bus: the time "
              "'?ELF?x' is not (seconds.microseconds) with 6 digits behind the point",
              outcomeOf("\177ELF\2x").error);
}

TEST(RecordingReaderTest, OnlyVersionsOneAndTwoAreKnown) {
    EXPECT_EQ("day.kxr:1: a recording of version 10; versions 1 to 2 are known",
              outcomeOf("kxrecording 10\n1 pass\n").error);
    EXPECT_EQ("day.kxr:1: a recording of version 3; versions 1 to 2 are known",
              outcomeOf("kxrecording 3\n1 pass\n").error);
    EXPECT_EQ("day.kxr:1: a recording of version 0; versions 1 to 2 are known",
              outcomeOf("kxrecording 0\n").error);
    EXPECT_EQ("day.kxr:1: '' is no version of a recording", outcomeOf("kxrecording\n").error);
    EXPECT_EQ("day.kxr:1: '1 2' is no version of a recording", outcomeOf("kxrecording 1 2\n").error);
    EXPECT_EQ("day.kxr:2: '-1' is no version of a recording", outcomeOf("\nkxrecording -1\n").error);
    EXPECT_EQ("day.kxr:3: 'kxrecording' is neither a tick nor the (time) of a frame",
              outcomeOfLines("1 pass\nkxrecording 1\n").error);
}

TEST(RecordingReaderTest, ReadsFiles) {
    const std::string path = testing::TempDir() + "kx-recording-reader-test.kxr";
    std::ofstream(path) << dayOfAnOperator();
    const auto warn = [](const std::string& warning) { ADD_FAILURE() << warning; };
    EXPECT_EQ(outcomeOf(dayOfAnOperator()).session.entries.size(), readFile(path, warn).entries.size());
    std::remove(path.c_str());
}

TEST(RecordingReaderTest, ReadsStandardInputForAHyphen) {
    std::istringstream text("kxrecording 2\n7 pass\n8 end\n9 pa");
    std::streambuf* const before = std::cin.rdbuf(text.rdbuf());
    std::vector<std::string> warnings;
    const Session session = readFile("-", [&](const std::string& warning) { warnings.push_back(warning); });
    std::cin.rdbuf(before);
    std::cin.clear();
    EXPECT_EQ(2U, session.entries.size());
    EXPECT_THAT(warnings, ElementsAre("standard input:4: the last line is cut off; it is left out"));
}

namespace {

std::string errorOfFile(const std::string& path) {
    try {
        readFile(
            path, [](const std::string& warning) { ADD_FAILURE() << warning; });
    } catch (const BadFile& error) {
        return error.what();
    }
    return "it was read";
}

} // namespace

TEST(RecordingReaderTest, TellsWhyAFileCannotBeRead) {
    EXPECT_EQ("/nowhere/day.kxr: No such file or directory", errorOfFile("/nowhere/day.kxr"));
    EXPECT_EQ("/: Is a directory", errorOfFile("/"));
}

TEST(RecordingReaderTest, TheExampleOfTheManualIsARecording) {
    std::ifstream manual(KX_RECORDING_MANUAL);
    std::string example;
    for (std::string line; std::getline(manual, line);) {
        const bool isExample = line == "    kxrecording 2" || (!example.empty() && line.substr(0, 4) == "    ");
        if (isExample)
            example += line.substr(4) + "\n";
        else if (!example.empty())
            break;
    }
    const Outcome outcome = outcomeOf(example);
    EXPECT_EQ("", outcome.error);
    EXPECT_THAT(outcome.warnings, IsEmpty());
    EXPECT_EQ(15U, outcome.session.entries.size());
    std::string again;
    for (const Entry& entry : outcome.session.entries)
        again += format(entry) + "\n";
    EXPECT_EQ(example.substr(std::min(example.find("15721300"), example.size())), again);
}
