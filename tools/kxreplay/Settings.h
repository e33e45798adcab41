#pragma once

#include "recording/KXRecording.h"
#include "tools/kxreplay/Playable.h"

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

/// Checks entry by entry that the manager will accept the settings at every point of a session.
class DurationCheck {
public:
    /// \param otherSettings  must outlive the check
    /// \param fileName       of the recording, for messages
    /// \param headName       stands in messages when the settings do not go together from the beginning on
    DurationCheck(const OtherSettings& otherSettings, std::string fileName, std::string headName = "kxreplay");

    /// \throws BadInput
    void take(const KX::Recording::Entry& entry);

    /// After the last entry.
    /// \throws BadInput
    void finish();

private:
    const OtherSettings& settings;
    const std::string name;
    const std::string nameOfHead;
    Durations recorded;
    bool isHead = true;
};

/// Checks a whole session.
/// \throws BadInput
void checkDurations(const OtherSettings& settings, const Playable& session, const std::string& fileName,
                    const std::string& headName = "kxreplay");

} // namespace Replay
