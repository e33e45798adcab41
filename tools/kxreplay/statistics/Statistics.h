#pragma once

#include "tools/kxreplay/CommandLine.h"

namespace Replay {

/// Counts what is in the recordings of the command line, or adds up the counts of other runs, and prints the result.
/// \return the exit status: \ref playedStatus; \ref failedStatus when a recording was left out;
/// Arguments::badInputStatus when all were; 128 and the signal that ended it
/// \throws BadInput, std::runtime_error
int runStatistics(const CommandLine& arguments);

} // namespace Replay
