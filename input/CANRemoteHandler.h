#pragma once

#include "platform/KXEndPointHandler.h"
#include "platform/KXExport.h"

namespace KX {

class KXInputEventManager;

/// Turns frames of the keypad on the CAN bus into key events, on the worker thread of the input event manager.
///
/// Blocks only while standard output blocks, onto which each key writes a line. It owns neither the manager nor end
/// points.
class KX_EVENTS_API CANRemoteHandler : public KXEndPointHandler {
public:
    /// \param servedManager  whose keypad layout is used; must outlive the handler
    explicit CANRemoteHandler(KXInputEventManager* servedManager);

    /// Reads and decodes one frame from \p endPoint, a KXCANRaw. A frame that cannot be read changes nothing.
    void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager* manager) override;

    void onEndPointReconnected(KXEndPoint* endPoint) override;
    void onEndPointDisconnected(KXEndPoint* endPoint) override;

    ~CANRemoteHandler() override;

private:
    KXInputEventManager* inputEventManager;
};

} // namespace KX
