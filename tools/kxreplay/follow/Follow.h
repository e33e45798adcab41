#pragma once

#include "recording/KXRecording.h"
#include "tools/kxreplay/Player.h"

#include <functional>
#include <string>

namespace Replay {

/// Plays a recording while it is written.
///
/// A recording with passes gives the events of a play of the whole file. The passes of one without them are made; the
/// first second tells which of the two it is. Ends at the line `end`, where a pipe ends, and at SIGINT or SIGTERM.
/// \param path   of a file or a pipe; "-" is standard input
/// \param flush  is called when the events that the input makes certain were handed out, before each wait
/// \return the signal that ended it; 0: none
/// \throws BadFile, BadInput, and what \p flush throws
int follow(const std::string& path, const Player::Options& options, const KX::Recording::Warn& warn,
           const Player::Take& take, const std::function<void()>& flush);

} // namespace Replay
