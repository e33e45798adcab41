#include "platform/KXDebug.h"

#include "support/ChildProcess.h"
#include "support/RedirectedError.h"
#include "support/Waiting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

ChildResult run(const char* setting, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), KX_DEBUG_SPEAKER);
    ChildResult result = runWithDebugSetting(setting, arguments);
    EXPECT_EQ(result.status, 0) << result.errorOutput;
    return result;
}

std::vector<std::string> say(const char* setting, const std::string& section, int level,
                             const std::string& text = "text") {
    return run(setting, {"say", section, std::to_string(level), text}).lines;
}

/// The highest level that a section shows; -1 when it does not show a lower one.
int getShownLevel(const char* setting, const std::string& section) {
    int shown = 0;
    for (int level = 1; level <= 4; ++level) {
        const bool isShown = !say(setting, section, level).empty();
        if (isShown && shown != level - 1)
            return -1;
        shown += isShown;
    }
    return shown;
}

TEST(DebugSections, theSameNameHasTheSameKey) {
    const unsigned int key = KX::KXDebug::insertNewDebugSection("one");
    EXPECT_EQ(KX::KXDebug::insertNewDebugSection("one"), key);
    EXPECT_NE(KX::KXDebug::insertNewDebugSection("two"), key);
    EXPECT_EQ(KX::KXDebug::insertNewDebugSection("one"), key);
}

TEST(DebugSections, manySectionsHaveKeysOfTheirOwn) {
    std::map<unsigned int, int> keys;
    for (int i = 0; i < 1000; ++i)
        keys[KX::KXDebug::insertNewDebugSection("section " + std::to_string(i))] = i;
    EXPECT_EQ(keys.size(), 1000u);
}

TEST(DebugSections, oneThatThereIsNoRoomForHasNoKeyAndStillPrints) {
    const auto exhaust = [] {
        constexpr unsigned int mostSections = 65536;
        unsigned int key = 0;
        for (int i = 0; key < mostSections; ++i)
            key = KX::KXDebug::insertNewDebugSection("one of many " + std::to_string(i));
        const unsigned int keyOfOneMore = KX::KXDebug::insertNewDebugSection("one more");
        KX::KXDebug::debugPrintError(1, keyOfOneMore, "one more");
        KX::KXDebug::debugPrintError(1, key, "the last");
        return keyOfOneMore == 0 ? 0 : 1;
    };
    testing::internal::CaptureStderr();
    EXPECT_EQ(runInChild(exhaust), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), MatchesRegex("\\[\\?:1\\] one more\n"
                                                                     "\\[one of many [0-9]+:1\\] the last\n"));
}

TEST(DebugSections, threadsMayRegisterAndPrintAtTheSameTime) {
    std::vector<std::thread> threads;
    std::vector<std::vector<unsigned int>> keys(4);
    for (auto& keysOfThread : keys) {
        threads.emplace_back([&keysOfThread] {
            for (int i = 0; i < 300; ++i) {
                const unsigned int key = KX::KXDebug::insertNewDebugSection("shared " + std::to_string(i));
                keysOfThread.push_back(key);
                KX::KXDebug::debugPrintError(4, key, "not shown");
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& keysOfThread : keys)
        EXPECT_EQ(keysOfThread, keys[0]);
}

TEST(DebugLevels, onlyErrorsAreShownByDefault) {
    EXPECT_EQ(getShownLevel(nullptr, "kx_event_queue"), 1);
    EXPECT_EQ(getShownLevel("", "kx_event_queue"), 1);
}

TEST(DebugLevels, aSectionHasTheLevelThatIsSet) {
    for (int level = 0; level <= 4; ++level)
        EXPECT_EQ(getShownLevel(("kx_event_queue=" + std::to_string(level)).c_str(), "kx_event_queue"), level);
    EXPECT_EQ(getShownLevel("kx_event_queue=4", "kx_encoder_dynamic"), 1);
}

TEST(DebugLevels, aMessageOfLevel0IsShownLikeAnError) {
    EXPECT_THAT(say(nullptr, "a", 0), ElementsAre("[a:0] text"));
    EXPECT_THAT(say("a=1", "a", 0), ElementsAre("[a:0] text"));
    EXPECT_THAT(say("a=0", "a", 0), IsEmpty());
}

TEST(DebugLevels, theStarIsForAllOthers) {
    EXPECT_EQ(getShownLevel("*=3", "kx_event_queue"), 3);
    EXPECT_EQ(getShownLevel("*=0", "kx_event_queue"), 0);
}

TEST(DebugLevels, aNameBeatsTheStarInAnyOrder) {
    EXPECT_EQ(getShownLevel("kx_event_queue=4,*=2", "kx_event_queue"), 4);
    EXPECT_EQ(getShownLevel("*=2,kx_event_queue=4", "kx_event_queue"), 4);
    EXPECT_EQ(getShownLevel("*=4,kx_event_queue=1", "kx_event_queue"), 1);
    EXPECT_EQ(getShownLevel("kx_event_queue=1,*=4", "kx_event_queue"), 1);
    EXPECT_EQ(getShownLevel("kx_event_queue=4,*=2", "kx_encoder_dynamic"), 2);
}

TEST(DebugLevels, blanksAndEmptyEntriesMeanNothing) {
    EXPECT_THAT(say(" kx_event_queue = 2 , ,*=0,", "kx_event_queue", 2), ElementsAre("[kx_event_queue:2] text"));
}

TEST(DebugLevels, ofTwoEntriesForOneNameTheLaterCounts) {
    EXPECT_EQ(getShownLevel("a=4,a=2", "a"), 2);
}

TEST(DebugLevels, whatMeansNothingIsSaidInOneLineAndTheRestApplies) {
    const struct {
        const char* entry;
        const char* reason;
    } cases[] = {
        {"nonsense", "expected section=level"},
        {"=3", "the name of the section is missing"},
        {"b=", "the level must be a number from 0 (nothing) to 4 (everything)"},
        {"b=5", "the level must be a number from 0 (nothing) to 4 (everything)"},
        {"b=-1", "the level must be a number from 0 (nothing) to 4 (everything)"},
        {"b=2x", "the level must be a number from 0 (nothing) to 4 (everything)"},
        {"b=high", "the level must be a number from 0 (nothing) to 4 (everything)"},
        {"b=2=3", "the level must be a number from 0 (nothing) to 4 (everything)"},
    };
    for (const auto& mistake : cases) {
        const std::string setting = "a=4," + std::string(mistake.entry) + ",*=2";
        EXPECT_THAT(say(setting.c_str(), "a", 4),
                    ElementsAre("KX_DEBUG: \"" + std::string(mistake.entry) + "\" is ignored: " + mistake.reason,
                                "[a:4] text"));
        EXPECT_EQ(say(setting.c_str(), "b", 2).size(), 2u) << "the star after the mistake in " << setting;
    }
}

TEST(DebugLevels, aMistakeWithALineEndInItIsStillOneLine) {
    EXPECT_THAT(say("two\nlines", "a", 4), ElementsAre(HasSubstr("\"two?lines\" is ignored")));
}

TEST(DebugLevels, aMistakeIsShownAsItIsButForControlCharacters) {
    EXPECT_THAT(say("two words~\x1f!\x7f\xc3\xa9", "a", 4),
                ElementsAre("KX_DEBUG: \"two words~?!?\xc3\xa9\" is ignored: expected section=level"));
}

TEST(KXDebugLines, tellSectionLevelAndText) {
    EXPECT_THAT(say(nullptr, "kx_event_queue", 1, "Class KXPipe has failed "),
                ElementsAre("[kx_event_queue:1] Class KXPipe has failed "));
}

TEST(KXDebugLines, aMessageIsOneLineWhateverItHolds) {
    EXPECT_EQ(run(nullptr, {"say", "a", "1", "one\ntwo\n"}).errorOutput, "[a:1] one two\n");
    EXPECT_EQ(run(nullptr, {"say", "a", "1", "one\rtwo"}).errorOutput, "[a:1] one two\n");
    EXPECT_EQ(run(nullptr, {"say", "a", "1", "x"}).errorOutput, "[a:1] x\n");
    EXPECT_EQ(run(nullptr, {"say", "a", "1", ""}).errorOutput, "[a:1] \n");
}

TEST(KXDebugLines, aMessageOfAnyLengthIsPrintedWhole) {
    for (const std::size_t length : {505u, 506u, 507u, 511u, 512u, 513u, 5000u, 200000u}) {
        EXPECT_EQ(run(nullptr, {"length", "a", "1", std::to_string(length)}).errorOutput,
                  "[a:1] " + std::string(length, 'x') + "\n");
    }
}

TEST(KXDebugLines, aSectionNameOfAnyLengthIsPrintedWhole) {
    const std::string name(600, 'n');
    EXPECT_EQ(run(nullptr, {"say", name, "1", "text"}).errorOutput, "[" + name + ":1] text\n");
}

TEST(KXDebugLines, anUnknownKeyIsTolerated) {
    EXPECT_EQ(run(nullptr, {"unknown", "1", "lost"}).errorOutput, "[?:1] lost\n");
    EXPECT_THAT(run(nullptr, {"unknown", "2", "lost"}).lines, IsEmpty());
    EXPECT_EQ(run("*=2", {"unknown", "2", "lost"}).errorOutput, "[?:2] lost\n");
}

TEST(KXDebugLines, errnoIsLeftAloneEvenWhenNothingCanBeWritten) {
    run(nullptr, {"errno"});
}

TEST(KXDebugLines, theFirstLineOfAProgramMayBeLost) {
    EXPECT_EQ(run(nullptr, {"regain", "a"}).errorOutput, "[kx_debug:1] 1 line lost\n[a:1] regained\n");
}

// Its reader has time to make room.
TEST(KXDebugLines, theFirstLineOfAProgramWaitsForRoom) {
    const OutputEnds full = OutputEnds::makePipe();
    const std::string page(4096, 'x');
    ASSERT_EQ(write(full.writer, page.data(), page.size()), 4096);
    const long long begin = getSteadyMs();
    EXPECT_EQ(runInChild([&] {
                  dup2(full.writer, STDERR_FILENO);
                  execl(KX_DEBUG_SPEAKER, KX_DEBUG_SPEAKER, "say", "a", "1", "text", nullptr);
                  return 1;
              }),
              0);
    EXPECT_GE(getSteadyMs() - begin, 99);
    EXPECT_EQ(full.readAll(), page) << "there was no room";
}

TEST(KXDebugLines, aStaticDestructorMayStillPrint) {
    EXPECT_EQ(run(nullptr, {"late", "a", "goodbye"}).errorOutput, "[a:1] goodbye\n");
}

/// Reads what speakInThreads of the speaker wrote. A reader that does not get to run in time loses lines, so what
/// counts is that each line is whole, in order, or told as lost.
struct Transcript {
    void take(const std::string& line) {
        std::istringstream stream(line);
        std::string prefix;
        int number = -1;
        std::string letters;
        stream >> prefix >> number >> letters;
        if (prefix == "[kx_debug:1]") {
            told += number;
            lastIsTorn = false;
        } else {
            wrong += lastIsTorn;
            takeMessage(prefix, number, letters);
        }
    }

    void takeMessage(const std::string& prefix, int number, const std::string& letters) {
        const char first = letters.empty() ? '?' : letters[0];
        const std::size_t length = (first - 'a') % 2 == 0 ? 20 : 9000;
        lastIsTorn = prefix != "[a:1]" || letters != std::string(length, first);
        if (lastIsTorn)
            return;
        ++whole;
        wrong += number < next[first];
        next[first] = number + 1;
    }

    std::map<char, int> next;
    bool lastIsTorn = false; // a notice must come right behind
    int whole = 0;
    int told = 0;
    int wrong = 0;
};

TEST(KXDebugLines, linesOfEightThreadsStayWholeAndInOrder) {
    const int threads = 8;
    const int messages = 200;
    const ChildResult result = run(nullptr, {"threads", "a", std::to_string(threads), std::to_string(messages)});
    Transcript transcript;
    ASSERT_EQ(result.lines.back(), "[a:1] the end");
    for (std::size_t i = 0; i + 1 < result.lines.size(); ++i)
        transcript.take(result.lines[i]);
    EXPECT_EQ(transcript.wrong, 0) << "lines torn or out of order";
    EXPECT_EQ(transcript.whole + transcript.told, threads * messages);
}

} // namespace
