#pragma once

#include "tools/recording/Recording.h"

namespace KX {
class KXInputEventManager;
}

namespace Recording {

/// Repeat the recorded call. Must run on the thread that delivers input, between two inputs.
/// \return the status of the call; \ref KX::STATUS_REFUSED without an initialised encoder
int repeatCall(const NumberSetting& setting, KX::KXInputEventManager& manager);
int repeatCall(const SpeedTable& table, KX::KXInputEventManager& manager);
int repeatCall(const KeyMapping& mapping, KX::KXInputEventManager& manager);
int repeatCall(const Keypad& keypad, KX::KXInputEventManager& manager);

/// Hands a copy of the event to toolkitEventOccurred and returns its result.
int repeatCall(const KX::KXToolkitEvent& event, KX::KXInputEventManager& manager);

} // namespace Recording
