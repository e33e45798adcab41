#pragma once

#include "tools/kxreplay/statistics/Counts.h"

#include <string>
#include <vector>

namespace Replay {

/// Values of one limit that are tried in its place.
struct Grid {
    Limit limit{};
    std::vector<unsigned int> valuesMs;

    static constexpr unsigned int mostValues = 200;

    /// \param text  "double-press=200..400:25" or "long-press=1500"
    /// \throws BadInput  why it is no grid
    static Grid parse(const std::string& text);
};

/// "double-press", "long-press", as in options and recordings.
std::string wordOf(Limit limit);

} // namespace Replay
