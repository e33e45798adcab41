#pragma once

#include "recording/KXRecording.h"
#include "tools/arguments/BadInput.h"
#include "tools/kxreplay/CommandLine.h"

#include <string>
#include <string_view>

namespace Replay {

constexpr int playedStatus = 0;
constexpr int failedStatus =
    Arguments::failureStatus; ///< different from the expectation, or the output could not be written
constexpr int badInputStatus = Arguments::badInputStatus;
constexpr int signalStatus = 128; ///< plus the signal that ended the program

/// Does what the command line asks for, with standard output and standard error.
/// \return the exit status
/// \throws BadInput, KX::Recording::BadFile  exit with badInputStatus
/// \throws std::runtime_error             standard output cannot be written; exit with failedStatus
int run(const CommandLine& arguments);

} // namespace Replay
