#include "platform/KXCANRaw.h"

#include "platform/KXDebug.h"

namespace KX {

KXCANRaw::KXCANRaw() = default;
KXCANRaw::~KXCANRaw() = default;

KXCANRaw* KXCANRaw::create(int bus, int /*bitRate*/, int /*receiveBuffer*/)
{
    static const unsigned int debugKey = KXDebug::insertNewDebugSection("kx_can_raw");
    KXDebug::debugPrintError(1, debugKey, "KXCANRaw::create(%d): no CAN bus can be opened by this version", bus);
    return nullptr;
}

} // namespace KX
