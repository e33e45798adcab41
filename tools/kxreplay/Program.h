#pragma once

#include "recording/KXRecording.h"
#include "tools/kxreplay/CommandLine.h"

#include <string>
#include <string_view>

namespace Replay {

constexpr int played = 0;
constexpr int failed = 1; ///< different from the expectation, or the output could not be written
constexpr int badInput = 2;

/// Flushes standard output.
/// \throws std::runtime_error
void flushStandardOutput();

/// Does what the command line asks for, with standard output and standard error.
/// \return the exit status
/// \throws BadInput, KX::Recording::BadFile  exit with badInput
/// \throws std::runtime_error             standard output cannot be written; exit with failed
int run(const CommandLine& arguments);

} // namespace Replay
