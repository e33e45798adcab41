#pragma once

#include "tools/recording/Recording.h"

namespace KX {
class KXInputEventManager;
}

namespace Recording {

/// Make the call that was recorded. On the thread that delivers input, between two inputs.
/// \return what the call returns: 0; 20, 24 or 3 when it was refused
int repeatCall(const NumberSetting& setting, KX::KXInputEventManager& manager);
int repeatCall(const SpeedTable& table, KX::KXInputEventManager& manager);
int repeatCall(const KeyMapping& mapping, KX::KXInputEventManager& manager);
int repeatCall(const Keypad& keypad, KX::KXInputEventManager& manager);

/// A copy of the event goes to toolkitEventOccurred, whose result this is.
int repeatCall(const KX::KXToolkitEvent& event, KX::KXInputEventManager& manager);

} // namespace Recording
