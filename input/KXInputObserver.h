#pragma once

#include "platform/KXExport.h"

#include <cstdint>
#include <map>
#include <vector>

namespace KX {

class KXCANMessage;
class KXEvent;
class KXInputEvent;
class KXToolkitEvent;
struct CANRemoteOptions;
struct KXEncoderDynamicPair;

/// The settings that are one number.
enum class KXInputSetting {
    DoubleKeyPressDuration, ///< setDoubleKeyPressDuration, in ms
    LongKeyPressDuration,   ///< setLongKeyPressDuration, in ms
    EncoderUserFactor,      ///< KXEncoderDynamic::setUserFactor
    EncoderLowPassFactor,   ///< KXEncoderDynamic::setLowPassFactor
    AcceptInput,            ///< acceptInput, 0 or 1
    KeyboardLayout,         ///< setKeyboardLayout
};

/// Sees all that reaches the input event manager, in the order in which the manager takes it and before it changes
/// anything: what a program needs that records a session or explains one. See KXInputEventManager::setObserver.
///
/// The operations run on the thread that brings the input, but for \ref onPassDue with the manager's mutex held. So
/// they must not block for long, must not hand input in and must not wait for a thread that calls the manager. What
/// they are given lives for the call only. A call that the manager refuses is told as well.
class KX_EVENTS_API KXInputObserver {
public:
    virtual ~KXInputObserver();

    /// A call of toolkitEventOccurred. The event stands as the toolkit reported it.
    virtual void onToolkitEvent(const KXToolkitEvent& /*event*/) {}

    /// A call of inputEventOccurred that did not come from toolkitEventOccurred.
    virtual void onInputEvent(const KXInputEvent& /*event*/) {}

    /// An event that is posted past classification: postToEventQueue, postESCtoEventQueue.
    virtual void onPostedEvent(const KXEvent& /*event*/) {}

    /// A setting of the manager or the encoder. The manager's initialize sets its defaults in this way, too.
    virtual void onSetting(KXInputSetting /*setting*/, std::int64_t /*value*/) {}

    /// A new speed table: KXEncoderDynamic::setDynamicParameters.
    virtual void onSpeedTable(const std::vector<KXEncoderDynamicPair>& /*pairs*/) {}

    /// Keys that are added to the key tables, from toolkit codes to key codes: setKeyMapping, and the default keys.
    virtual void onKeyMapping(const std::map<int, int>& /*mapping*/) {}

    /// A call of setCANRemoteOptions.
    virtual void onKeypad(const CANRemoteOptions& /*options*/) {}

    /// A frame of the keypad's bus, on the worker thread.
    virtual void onFrame(const KXCANMessage& /*frame*/) {}

    /// A pass of the worker thread: what has become due by \p tick is posted next.
    virtual void onPass(unsigned int /*tick*/) {}

    /// The worker thread has waited and will make a pass. It holds no lock here, so it may be kept for as long as
    /// nobody stops it (deleteInstance) or replaces the observer: both wait for the return.
    virtual void onPassDue() {}
};

} // namespace KX
