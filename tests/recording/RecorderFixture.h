#pragma once

#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "recording/KXSessionRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace KX::test {

/// A folder for recordings, and a manager in virtual time.
class RecorderFixture : public testing::Test {
protected:
    RecorderFixture() {
        std::string pattern = testing::TempDir() + "kx-recorder-XXXXXX";
        folder = mkdtemp(pattern.data());
        path = inFolder("day.kxr");
        KXSimulation::reset();
        KXSimulation::setDebugLevel(1);
    }

    ~RecorderFixture() override {
        KXInputEventManager::deleteInstance();
        KXInputEventManager::setObserver(nullptr);
        std::filesystem::remove_all(folder);
    }

    std::string inFolder(const std::string& name) const { return (folder / name).string(); }

    static std::vector<std::string> linesOf(const std::string& file) {
        std::vector<std::string> found;
        std::ifstream input(file);
        for (std::string line; std::getline(input, line);)
            found.push_back(line);
        return found;
    }

    // Without the two lines at the beginning of every recording.
    static std::vector<std::string> entriesOf(const std::string& file) {
        const std::vector<std::string> found = linesOf(file);
        return {found.begin() + std::min<std::ptrdiff_t>(2, found.end() - found.begin()), found.end()};
    }

    // Without the settings either.
    static std::vector<std::string> inputsOf(const std::string& file) {
        std::vector<std::string> found = entriesOf(file);
        found.erase(
            std::remove_if(found.begin(), found.end(),
                           [](const std::string& line) { return line.find(" set ") != std::string::npos; }),
            found.end());
        return found;
    }

    static int report(int type, int osKeyCode, int count = -1) {
        KXToolkitEvent event;
        event.eventType = type;
        event.timeStamp = KXTick::getTickCount();
        event.osKeyCode = osKeyCode;
        event.count = count;
        return KXInputEventManager::getInstance()->toolkitEventOccurred(event);
    }

    static void press(int osKeyCode = escape) { report(TOOLKIT_KEY_PRESS_EVENT, osKeyCode); }
    static void release(int osKeyCode = escape) { report(TOOLKIT_KEY_RELEASE_EVENT, osKeyCode); }
    static void turnWheel(int detents) { report(TOOLKIT_WHEEL_EVENT, -1, detents); }

    static constexpr int escape = 0x1000000;

    std::filesystem::path folder;
    std::string path;
};

} // namespace KX::test
