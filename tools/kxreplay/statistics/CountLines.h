#pragma once

#include "tools/kxreplay/statistics/Counts.h"

#include <istream>
#include <string>

namespace Replay {

/// Counts as JSON, an object a line: {"is":"hold","fromMs":100,"count":3}. Lines that agree in everything but the count
/// can be added up, also those of other machines.
std::string toLines(const Counts& counts);

/// Adds the lines of \ref toLines to \p counts. Empty lines are ignored.
/// \param name  of the file, for messages
/// \throws BadInput  "file:line: what"
void addLines(std::istream& input, const std::string& name, Counts& counts);

} // namespace Replay
