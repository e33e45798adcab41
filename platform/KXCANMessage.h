#pragma once

#include "platform/KXExport.h"

#include <cstdint>

namespace KX {

/// One frame of a CAN bus. The handler of the remote keypad turns frames into key events.
class KX_EXPORT KXCANMessage {
public:
    virtual ~KXCANMessage() {}

    std::uint32_t canId = 0;       ///< bits 0 to 28: the identifier; bits 29 to 31: flags of the bus driver
    std::uint32_t canLength = 8;   ///< bytes of data, 0 to 8
    unsigned char canData[8] = {}; ///< bytes beyond canLength are 0
    std::uint32_t canAux = 0;      ///< for the bus driver, which may leave it alone
};

} // namespace KX
