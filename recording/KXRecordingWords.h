#pragma once

#include "recording/KXRecording.h"

#include <array>
#include <string_view>

namespace KX::Recording {

/// A setting that is one number: its word and the range of the call's argument.
struct NumberWord {
    KXInputSetting name;
    std::string_view word;
    std::int64_t least;
    std::int64_t greatest;
};

constexpr std::array<NumberWord, 5> numberWords = {{
    {KXInputSetting::DoubleKeyPressDuration, "double-press", 0, 4294967295},
    {KXInputSetting::LongKeyPressDuration, "long-press", 0, 4294967295},
    {KXInputSetting::EncoderUserFactor, "user-factor", -2147483648LL, 2147483647},
    {KXInputSetting::EncoderLowPassFactor, "low-pass", -2147483648LL, 2147483647},
    {KXInputSetting::AcceptInput, "accept-input", 0, 1}, // written as off and on
}};

constexpr std::string_view wordOf(KXInputSetting name) {
    return numberWords[static_cast<std::size_t>(name)].word;
}

} // namespace KX::Recording
