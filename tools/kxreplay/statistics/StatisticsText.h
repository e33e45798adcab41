#pragma once

#include "tools/kxreplay/statistics/Counts.h"

#include <string>

namespace Replay {

/// Counts as tables for people, with at most 100 columns.
std::string toText(const Counts& counts);

/// The device and key of a cell of \ref Counted::Gestures in words: "key 0 (Esc)", "mouse button 1".
std::string nameOfSource(const std::array<int, 4>& numbers);

/// "1,234,567"
std::string withCommas(std::uint64_t number);

/// "0 to 24 ms", "1000 ms and more"
std::string nameOfBin(Counted kind, int lower);

/// "12 recordings of 3 h 20 min"
std::string nameOfAll(const Counts& counts);

} // namespace Replay
