#pragma once

#include "recording/KXRecording.h"

#include <optional>
#include <string>

namespace Replay {

/// The two durations that classify presses. They start with the manager's defaults.
struct Durations {
    unsigned int doublePressMs = 300;
    unsigned int longPressMs = 2000;

    /// Follows the manager: it refuses a double press that is not shorter than a long press. Other settings change
    /// nothing.
    void take(const KX::Recording::NumberSetting& setting);

    bool areAllowed() const;
};

/// Settings that hold for the whole play and override those of the recording.
struct OtherSettings {
    std::optional<unsigned int> doublePressMs;
    std::optional<unsigned int> longPressMs;
    std::optional<int> userFactor;
    std::optional<int> lowPass;

    bool isEmpty() const;
    bool haveDurations() const;

    /// Whether the play ignores the recorded settings of this name.
    bool replace(KX::KXInputSetting name) const;

    Durations applyTo(Durations recorded) const;
};

/// Checks that the manager will accept the settings at every point of the session.
/// \param fileName  of the recording, for messages
/// \throws BadInput
void checkDurations(const OtherSettings& settings, const KX::Recording::Session& session,
                    const std::string& fileName);

} // namespace Replay
