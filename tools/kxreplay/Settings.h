#pragma once

#include "tools/recording/RecordingReader.h"

#include <optional>
#include <string>

namespace Replay {

/// The two durations by which presses are told apart, as a manager has them at first.
struct Durations {
    unsigned int doublePressMs = 300;
    unsigned int longPressMs = 2000;

    /// What the manager makes of the call: it refuses a double press that is not shorter than a long press.
    /// Other settings change nothing.
    void take(const Recording::NumberSetting& setting);

    bool areAllowed() const;
};

/// Settings that hold from the beginning to the end, whatever a recording sets.
struct OtherSettings {
    std::optional<unsigned int> doublePressMs;
    std::optional<unsigned int> longPressMs;
    std::optional<int> userFactor;
    std::optional<int> lowPass;

    bool isEmpty() const;
    bool haveDurations() const;

    /// Whether what a recording sets by this name is to be ignored.
    bool replace(Recording::NumberName name) const;

    Durations applyTo(Durations recorded) const;
};

/// Checks that the manager will take the settings all the way.
/// \param fileName  of the recording, for messages
/// \throws BadInput
void checkDurations(const OtherSettings& settings, const Recording::Session& session, const std::string& fileName);

} // namespace Replay
