#pragma once

#include "recording/KXRecording.h"
#include "recording/KXSessionFacts.h"
#include "replay/KXSessionPlayer.h"

#include <functional>
#include <memory>
#include <string>

namespace Replay {

/// A session that can be played again and again.
struct Playable {
    KX::Recording::SessionFacts facts;

    /// Begins at the first entry.
    std::function<KX::KXSessionPlayer::NextEntry()> open;
};

Playable playableOf(std::shared_ptr<const KX::Recording::Session> session);

/// Reads the whole file once to check it, and again for each play, so memory does not depend on its length. What is no
/// regular file is read only once and kept as text: standard input, a pipe. A file that grows meanwhile is played as
/// it was at the beginning.
/// \param path  "-" is standard input
/// \throws BadFile
Playable playableOf(const std::string& path, const KX::Recording::Warn& warn);

} // namespace Replay
