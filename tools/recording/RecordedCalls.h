#pragma once

#include "tools/recording/Recording.h"

namespace KX {
class KXInputEventManager;
}

namespace Recording {

/// Make the call that was recorded. On the thread that delivers input, between two inputs.
/// \return the status of the call; \ref KX::STATUS_REFUSED without an initialised encoder
int repeatCall(const NumberSetting& setting, KX::KXInputEventManager& manager);
int repeatCall(const SpeedTable& table, KX::KXInputEventManager& manager);
int repeatCall(const KeyMapping& mapping, KX::KXInputEventManager& manager);
int repeatCall(const Keypad& keypad, KX::KXInputEventManager& manager);

/// A copy of the event goes to toolkitEventOccurred, whose result this is.
int repeatCall(const KX::KXToolkitEvent& event, KX::KXInputEventManager& manager);

} // namespace Recording
