#pragma once

#include "tools/recording/Recording.h"

#include <array>
#include <string_view>

namespace Recording {

/// A setting that is one number: its word and the range of the call's argument.
struct NumberWord {
    NumberName name;
    std::string_view word;
    std::int64_t least;
    std::int64_t greatest;
};

constexpr std::array<NumberWord, 5> numberWords = {{
    {NumberName::DoublePress, "double-press", 0, 4294967295},
    {NumberName::LongPress, "long-press", 0, 4294967295},
    {NumberName::UserFactor, "user-factor", -2147483648LL, 2147483647},
    {NumberName::LowPass, "low-pass", -2147483648LL, 2147483647},
    {NumberName::AcceptInput, "accept-input", 0, 1}, // written as off and on
}};

constexpr std::string_view wordOf(NumberName name) {
    return numberWords[static_cast<std::size_t>(name)].word;
}

} // namespace Recording
