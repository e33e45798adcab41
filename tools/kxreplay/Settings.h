#pragma once

#include "recording/KXRecording.h"

#include <cstdint>
#include <map>
#include <string>

namespace Replay {

/// The two durations that classify presses.
struct Durations {
    /// Those of a new manager.
    Durations();
    Durations(unsigned int doublePress, unsigned int longPress);

    unsigned int doublePressMs;
    unsigned int longPressMs;

    /// Follows the manager: it refuses a double press that is not shorter than a long press. Other settings change
    /// nothing.
    void take(const KX::Recording::NumberSetting& setting);

    bool areAllowed() const;
};

/// Settings that hold for the whole play and override those of the recording.
struct OtherSettings {
    std::map<KX::KXInputSetting, std::int64_t> values;

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
