#pragma once

#include "recording/KXRecording.h"

namespace KX {
class KXInputEventManager;
}

namespace KX::Recording {

/// Repeat the recorded call. Must run on the thread that delivers input, between two inputs.
/// \return the status of the call; \ref STATUS_REFUSED without an initialised encoder
KX_RECORDING_API int repeatCall(const NumberSetting& setting, KXInputEventManager& manager);
KX_RECORDING_API int repeatCall(const SpeedTable& table, KXInputEventManager& manager);
KX_RECORDING_API int repeatCall(const KeyMapping& mapping, KXInputEventManager& manager);
KX_RECORDING_API int repeatCall(const Keypad& keypad, KXInputEventManager& manager);

/// Hands a copy of the event to the operation that got it, and returns its result.
KX_RECORDING_API int repeatCall(const KXToolkitEvent& event, KXInputEventManager& manager);
KX_RECORDING_API int repeatCall(const KXInputEvent& event, KXInputEventManager& manager);
KX_RECORDING_API int repeatCall(const Post& post, KXInputEventManager& manager);

} // namespace KX::Recording
