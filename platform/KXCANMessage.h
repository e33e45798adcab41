#pragma once

#include "platform/KXExport.h"

#include <cstdint>

namespace KX {

/// One frame of a CAN bus. Not an event: the remote keypad's handler turns frames into key events.
class KX_EXPORT KXCANMessage {
public:
    virtual ~KXCANMessage() {}

    std::uint32_t canId = 0;       ///< as the bus driver delivers it; the low 29 bits are the extended identifier
    std::uint32_t canLength = 8;   ///< bytes of data, 0 to 8
    unsigned char canData[8] = {}; ///< bytes beyond canLength are 0
    std::uint32_t canAux = 0;      ///< filled or left by the bus driver
};

} // namespace KX
