#pragma once

#include "platform/KXExport.h"

namespace KX {

class KXCANMessage;

/// Watches the frames that are read from CAN buses, for a program that records them. Of this platform only.
class KX_HARDWARE_API KXFrameObserver {
public:
    virtual ~KXFrameObserver();

    /// A frame was read and is about to be delivered: on the thread that reads it, before anything is made of it.
    virtual void onFrameRead(int bus, const KXCANMessage& message) = 0;

    /// Makes \p observer the one of the process; null: nobody. A former observer must live until the reads that go
    /// on are over.
    static void set(KXFrameObserver* observer);
};

} // namespace KX
