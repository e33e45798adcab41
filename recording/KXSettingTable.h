#pragma once

#include "input/KXInputObserver.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace KX {

/// Both ends belong to the range.
struct KXSettingRange {
    std::int64_t least;    ///< least value of the range
    std::int64_t greatest; ///< greatest value of the range

    /// Whether \p value is in the range.
    constexpr bool contains(std::int64_t value) const { return value >= least && value <= greatest; }

    /// All values of a type.
    template<typename Argument>
    static constexpr KXSettingRange of() {
        return {std::numeric_limits<Argument>::min(), std::numeric_limits<Argument>::max()};
    }
};

/// A setting of the manager or the encoder that is one number.
struct KXSettingRow {
    KXInputSetting name;       ///< which one
    std::string_view word;     ///< in recordings; the option of kxreplay has "--" before it
    std::string_view unit;     ///< in UTF-8; empty: none
    KXSettingRange range;      ///< the setter returns \ref STATUS_OUT_OF_RANGE for other values
    KXSettingRange argument;   ///< the values that can be handed to the setter; recordings also hold refused calls
    std::int64_t step;         ///< for buttons that change it; 0: a switch
    std::int64_t defaultValue; ///< of a new manager

    /// Off is 0 and on is 1. Recordings contain the words.
    constexpr bool isSwitch() const { return step == 0; }

    /// A double press must be shorter than a long press. For a duration in range that breaks this rule, the setter
    /// returns \ref STATUS_REFUSED.
    constexpr bool isDuration() const {
        return name == KXInputSetting::DoubleKeyPressDuration || name == KXInputSetting::LongKeyPressDuration;
    }
};

/// In the order of \ref KXInputSetting. The keyboard layout has no row, because no event depends on it.
inline constexpr std::array<KXSettingRow, 5> settingTable = {{
    {KXInputSetting::DoubleKeyPressDuration, "double-press", "ms", KXSettingRange::of<unsigned int>(),
     KXSettingRange::of<unsigned int>(), 10, 300},
    {KXInputSetting::LongKeyPressDuration, "long-press", "ms", KXSettingRange::of<unsigned int>(),
     KXSettingRange::of<unsigned int>(), 50, 2000},
    {KXInputSetting::EncoderUserFactor,
     "user-factor",
     "\u2030",
     {1, std::numeric_limits<int>::max()},
     KXSettingRange::of<int>(),
     50,
     1000},
    {KXInputSetting::EncoderLowPassFactor, "low-pass", "\u2030", {1, 1000}, KXSettingRange::of<int>(), 50, 900},
    {KXInputSetting::AcceptInput, "accept-input", "", {0, 1}, {0, 1}, 0, 1},
}};

/// Whether the table has a row for the setting.
constexpr bool hasSettingRow(KXInputSetting name) {
    return static_cast<std::size_t>(name) < settingTable.size();
}

/// The row of a setting.
/// \throws std::out_of_range  the setting has no row
constexpr const KXSettingRow& settingRow(KXInputSetting name) {
    return settingTable.at(static_cast<std::size_t>(name));
}

static_assert(settingRow(KXInputSetting::DoubleKeyPressDuration).name == KXInputSetting::DoubleKeyPressDuration &&
                  settingRow(KXInputSetting::LongKeyPressDuration).name == KXInputSetting::LongKeyPressDuration &&
                  settingRow(KXInputSetting::EncoderUserFactor).name == KXInputSetting::EncoderUserFactor &&
                  settingRow(KXInputSetting::EncoderLowPassFactor).name == KXInputSetting::EncoderLowPassFactor &&
                  settingRow(KXInputSetting::AcceptInput).name == KXInputSetting::AcceptInput,
              "a setting is the index of its row");

} // namespace KX
