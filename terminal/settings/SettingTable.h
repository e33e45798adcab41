#pragma once

#include "input/KXInputObserver.h"
#include "recording/KXRecordingWords.h"

#include <array>
#include <cstddef>
#include <limits>
#include <string_view>

namespace Terminal {

/// What the window and recordings know about a setting of the input.
struct SettingEntry {
    KX::KXInputSetting name;
    const char* label; ///< in the window
    const char* unit;  ///< in UTF-8; empty for a setting without a unit
    int least;         ///< the library refuses values below; another setting can narrow the range further
    int greatest;      ///< likewise above; \ref noLimit if every larger number is possible
    int step;          ///< change by a press of a button or by a detent; 0 for a switch
    int defaultValue;  ///< the same as the library's

    static constexpr int noLimit = std::numeric_limits<int>::max();

    constexpr std::string_view wordInRecordings() const { return KX::Recording::wordOf(name); }
};

/// The settings in the order in which the window shows them, which is the order of KX::KXInputSetting.
constexpr std::array<SettingEntry, 5> settingTable = {{
    {KX::KXInputSetting::DoubleKeyPressDuration, "Double press", "ms", 0, SettingEntry::noLimit, 10, 300},
    {KX::KXInputSetting::LongKeyPressDuration, "Long press", "ms", 0, SettingEntry::noLimit, 50, 2000},
    {KX::KXInputSetting::EncoderUserFactor, "Encoder factor", "\u2030", 1, SettingEntry::noLimit, 50, 1000},
    {KX::KXInputSetting::EncoderLowPassFactor, "Encoder low-pass", "\u2030", 1, 1000, 50, 900},
    {KX::KXInputSetting::AcceptInput, "Accept input", "", 0, 1, 0, 1},
}};

constexpr bool isInOrderOfLibrary() {
    for (std::size_t number = 0; number < settingTable.size(); ++number)
        if (settingTable[number].name != static_cast<KX::KXInputSetting>(number))
            return false;
    return true;
}
static_assert(isInOrderOfLibrary(), "a setting of the library is the index of its entry");

} // namespace Terminal
