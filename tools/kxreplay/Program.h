#pragma once

#include "tools/kxreplay/CommandLine.h"
#include "tools/recording/RecordingReader.h"

#include <string>
#include <string_view>

namespace Replay {

constexpr int played = 0;
constexpr int failed = 1; ///< not as expected, or the output could not be written
constexpr int badInput = 2;

/// Writes what stands in the buffer of standard output.
/// \throws std::runtime_error
void flushStandardOutput();

/// Does what the command line asks for, with standard output and standard error.
/// \return the exit status
/// \throws BadInput, Recording::BadFile  the status is to be badInput
/// \throws std::runtime_error             standard output cannot be written; it is to be failed
int run(const CommandLine& arguments);

} // namespace Replay
