#pragma once

#include "tools/kxreplay/statistics/Counts.h"

#include <cstddef>
#include <optional>
#include <string>

namespace Replay {

/// What a worker tells of one recording, as bytes on a pipe between two processes of the same program.
struct SurveyMessage {
    std::size_t index = 0; ///< of the recording
    std::string problem;   ///< in one line; empty: it was played
    Counts counts;

    std::string toBytes() const;

    /// Takes the first message off \p bytes; nothing as long as it is not complete.
    static std::optional<SurveyMessage> takeFrom(std::string& bytes);
};

} // namespace Replay
