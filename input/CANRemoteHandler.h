#pragma once

#include "platform/KXEndPointHandler.h"
#include "platform/KXExport.h"

namespace KX {

class KXInputEventManager;

/// Reads the frames of the keypad on the CAN bus and makes key events of them.
///
/// The input event manager makes one and registers it; it works on the manager's worker thread.
class KX_EVENTS_API CANRemoteHandler : public KXEndPointHandler {
public:
    /// \param servedManager  whose keypad layout is used; must outlive the handler
    explicit CANRemoteHandler(KXInputEventManager* servedManager);

    /// Reads one frame from \p endPoint, which is a KXCANRaw, and decodes it. A frame that cannot be read
    /// changes nothing.
    void onEndPointReadable(KXEndPoint* endPoint, KXEndPointManager* manager) override;

    void onEndPointReconnected(KXEndPoint* endPoint) override;
    void onEndPointDisconnected(KXEndPoint* endPoint) override;

    ~CANRemoteHandler() override;

private:
    KXInputEventManager* inputEventManager;
};

} // namespace KX
