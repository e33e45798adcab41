#include "terminal/session/SessionRecorder.h"

#include "encoder/KXEncoderDynamic.h"
#include "input/KXInputEventManager.h"
#include "platform/KXCANMessage.h"
#include "platform/simulated/KXSimulation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

using namespace Terminal;

namespace {

using KX::KXSimulation;
using testing::ElementsAre;

class SessionRecorderTest : public testing::Test {
protected:
    SessionRecorderTest() {
        std::string pattern = testing::TempDir() + "kx-recorder-XXXXXX";
        folder = mkdtemp(pattern.data());
        path = (folder / "day.kxr").string();
        KXSimulation::reset();
    }

    ~SessionRecorderTest() override { std::filesystem::remove_all(folder); }

    std::vector<std::string> lines() const {
        std::vector<std::string> found;
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);)
            found.push_back(line);
        return found;
    }

    // Skips the two lines at the beginning of every recording.
    std::vector<std::string> entries() const {
        const std::vector<std::string> found = lines();
        return {found.begin() + std::min<std::ptrdiff_t>(2, found.end() - found.begin()), found.end()};
    }

    std::filesystem::path folder;
    std::string path;
};

void setLowPass(SessionRecorder& recorder) {
    recorder.onSetting(KX::KXInputSetting::EncoderLowPassFactor, 5);
}

} // namespace

TEST_F(SessionRecorderTest, SaysWhatItIsAndWhoWroteIt) {
    const SessionRecorder recorder(path);
    EXPECT_THAT(lines(), ElementsAre("kxrecording 1", testing::MatchesRegex("# written by kxterminal [0-9.]+")));
}

TEST_F(SessionRecorderTest, NotesWhatHappensWithTheTickAtWhichItDoes) {
    SessionRecorder recorder(path);
    KXSimulation::setTick(5);
    setLowPass(recorder);
    KXSimulation::setTick(4000);
    recorder.onFrame({});
    EXPECT_THAT(entries(), ElementsAre("5 set low-pass 5", "(0000000004.000000) can0 000#0000000000000000"));
}

TEST_F(SessionRecorderTest, NotesAPassWithItsOwnTick) {
    SessionRecorder recorder(path);
    KXSimulation::setTick(102);
    recorder.onPass(100);
    setLowPass(recorder);
    EXPECT_THAT(entries(), ElementsAre("100 pass", "102 set low-pass 5"));
}

TEST_F(SessionRecorderTest, NotesAllThatTheManagerIsTold) {
    KX::KXInputEventManager* const manager = KX::KXInputEventManager::createInstance();
    SessionRecorder recorder(path);
    KX::KXInputEventManager::setObserver(&recorder);
    manager->acceptInput(true);
    manager->setKeyboardLayout(2); // no event depends on it
    manager->setDoubleKeyPressDuration(200);
    manager->setLongKeyPressDuration(1500);
    KX::KXEncoderDynamic::instance()->setUserFactor(1200);
    KX::KXEncoderDynamic::instance()->setDynamicParameters({{5, 1}, {40, 2}});
    manager->setKeyMapping({{66, 9}});
    KX::KXToolkitEvent press;
    press.eventType = KX::TOOLKIT_KEY_PRESS_EVENT;
    press.osKeyCode = 66;
    manager->toolkitEventOccurred(press);
    KXSimulation::advance(100);
    EXPECT_TRUE(recorder.end());
    KX::KXInputEventManager::setObserver(nullptr);
    KX::KXInputEventManager::deleteInstance();
    EXPECT_THAT(entries(), ElementsAre("0 set accept-input on", "0 set double-press 200", "0 set long-press 1500",
                                       "0 set user-factor 1200", testing::StartsWith("0 set speed-table "),
                                       testing::StartsWith("0 set key-mapping "),
                                       "0 toolkit TOOLKIT_KEY_PRESS_EVENT os=0x42", "100 pass", "100 end"));
}

TEST_F(SessionRecorderTest, GoesOnWhereTheTickWraps) {
    SessionRecorder recorder(path);
    KXSimulation::setTick(4294967295);
    setLowPass(recorder);
    KXSimulation::setTick(0);
    setLowPass(recorder);
    recorder.onPass(3);
    EXPECT_THAT(entries(), ElementsAre("4294967295 set low-pass 5", "0 set low-pass 5", "3 pass"));
}

TEST_F(SessionRecorderTest, WhatComesBehindTheEndIsLeftOut) {
    SessionRecorder recorder(path);
    KXSimulation::setTick(7);
    EXPECT_TRUE(recorder.end());
    setLowPass(recorder);
    recorder.onPass(8);
    EXPECT_TRUE(recorder.end());
    EXPECT_THAT(entries(), ElementsAre("7 end"));
}

TEST_F(SessionRecorderTest, WithoutItsEndAllElseIsThere) {
    {
        SessionRecorder recorder(path);
        setLowPass(recorder);
    }
    EXPECT_THAT(entries(), ElementsAre("0 set low-pass 5"));
}

TEST_F(SessionRecorderTest, CannotBeginWithoutItsFile) {
    EXPECT_THROW(SessionRecorder((folder / "none" / "day.kxr").string()), std::runtime_error);
}

TEST_F(SessionRecorderTest, TellsOnceThatItHasFailedAndLetsTheRestGoOn) {
    SessionRecorder recorder(path);
    recorder.onPass(100);
    testing::internal::CaptureStderr();
    recorder.onPass(99);
    recorder.onPass(101);
    setLowPass(recorder);
    EXPECT_FALSE(recorder.end());
    EXPECT_EQ("kxterminal: --record: " + path +
                  ": the tick 99 lies before that of the line above, 100; the recording ends here\n",
              testing::internal::GetCapturedStderr());
    EXPECT_THAT(entries(), ElementsAre("100 pass"));
}

TEST_F(SessionRecorderTest, LinesOfTwoThreadsStayWhole) {
    constexpr int count = 2000;
    {
        SessionRecorder recorder(path);
        std::thread worker([&recorder] {
            for (int i = 0; i < count; ++i)
                recorder.onPass(0);
        });
        for (int i = 0; i < count; ++i)
            setLowPass(recorder);
        worker.join();
    }
    const std::vector<std::string> found = entries();
    EXPECT_EQ(count, std::count(found.begin(), found.end(), "0 pass"));
    EXPECT_EQ(count, std::count(found.begin(), found.end(), "0 set low-pass 5"));
}
