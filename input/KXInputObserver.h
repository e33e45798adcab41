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

/// What the input event manager remembers of earlier input and can still influence what later input becomes.
struct KXInputMemory {
    bool isPressPending = false;     ///< a press that may become long, or a long press without its release
    bool isBundleOpen = false;       ///< of encoder steps
    bool hasPress = false;           ///< whether there was a press; a next one may pair with it
    unsigned int pressTimeStamp = 0; ///< tick of that press
    unsigned int doublePressMs = 0;  ///< the limit of a double press
    std::uint64_t stepTimeStamp = 0; ///< tick of the last encoder step; 0: none
    unsigned int restartGapMs = 0;   ///< the encoder restarts after a longer step
};

/// Sees all that reaches the input event manager, in the manager's order and before the manager changes anything.
/// Serves programs that record or explain a session. See KXInputEventManager::setObserver.
///
/// The operations run on the thread that brings the input, with the manager's mutex held, except \ref onPassDue.
/// They must not block for long, must not hand input in and must not wait for a thread that calls the manager.
/// Arguments live for the call only. Calls that the manager refuses are reported too. If an operation throws, the
/// worker reports it and goes on; any other thread drops the input and passes the exception to its caller.
class KX_EVENTS_API KXInputObserver {
public:
    virtual ~KXInputObserver();

    /// A call of toolkitEventOccurred, with the event as the toolkit reported it.
    virtual void onToolkitEvent(const KXToolkitEvent& /*event*/) {}

    /// A call of inputEventOccurred that did not come from toolkitEventOccurred.
    virtual void onInputEvent(const KXInputEvent& /*event*/) {}

    /// An event posted without classification: postToEventQueue, postESCtoEventQueue.
    virtual void onPostedEvent(const KXEvent& /*event*/) {}

    /// A setting of the manager or the encoder, the defaults that the manager's initialize sets included.
    virtual void onSetting(KXInputSetting /*setting*/, std::int64_t /*value*/) {}

    /// A new speed table: KXEncoderDynamic::setDynamicParameters.
    virtual void onSpeedTable(const std::vector<KXEncoderDynamicPair>& /*pairs*/) {}

    /// Keys added to the key tables, from toolkit codes to key codes: setKeyMapping and the default keys.
    virtual void onKeyMapping(const std::map<int, int>& /*mapping*/) {}

    /// A call of setCANRemoteOptions.
    virtual void onKeypad(const CANRemoteOptions& /*options*/) {}

    /// A frame of the keypad's bus, on the worker thread.
    virtual void onFrame(const KXCANMessage& /*frame*/) {}

    /// A pass of the worker thread, which next posts what is due by \p tick.
    virtual void onPass(unsigned int /*tick*/) {}

    /// The worker thread is about to make a pass. It holds no lock of the manager, so the observer may block it
    /// here. deleteInstance and setObserver wait until this returns.
    virtual void onPassDue() {}
};

} // namespace KX
