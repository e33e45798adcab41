#pragma once

#include "recording/KXRecording.h"

namespace KX {
class KXInputEventManager;
}

namespace KX::Recording {

/// Repeats the recorded call. Must run on the thread that delivers input, between two inputs. Blocks as that call does.
/// \return the status of the call; STATUS_REFUSED (20) without an initialised encoder
KX_RECORDING_API int repeatCall(const NumberSetting& setting, KXInputEventManager& manager);
/// \copydoc repeatCall(const NumberSetting&, KXInputEventManager&)
KX_RECORDING_API int repeatCall(const SpeedTable& table, KXInputEventManager& manager);
/// \copydoc repeatCall(const NumberSetting&, KXInputEventManager&)
KX_RECORDING_API int repeatCall(const KeyMapping& mapping, KXInputEventManager& manager);
/// \copydoc repeatCall(const NumberSetting&, KXInputEventManager&)
KX_RECORDING_API int repeatCall(const Keypad& keypad, KXInputEventManager& manager);

/// Hands a copy of the event to the operation that got it, on the thread that delivers input. Blocks as that does.
/// \return what that operation returns: STATUS_OK (0), STATUS_CONSUMED (11) or STATUS_REFUSED (20)
KX_RECORDING_API int repeatCall(const KXToolkitEvent& event, KXInputEventManager& manager);
/// \copydoc repeatCall(const KXToolkitEvent&, KXInputEventManager&)
KX_RECORDING_API int repeatCall(const KXInputEvent& event, KXInputEventManager& manager);
/// \copydoc repeatCall(const KXToolkitEvent&, KXInputEventManager&)
KX_RECORDING_API int repeatCall(const Post& post, KXInputEventManager& manager);

} // namespace KX::Recording
