#include "platform/KXCANRaw.h"

#include "platform/KXDebug.h"
#include "platform/linux/hardware/CANInterface.h"
#include "platform/linux/hardware/VirtualCAN.h"

#include <cstdlib>
#include <memory>
#include <new>

namespace KX {

namespace {

/// Name of a bus in the system: that of an interface, or "unix:" and the path of a virtual bus.
std::string getBusName(int bus) {
    const std::string number = std::to_string(bus);
    const char* const name = std::getenv(("KX_CAN_BUS_" + number).c_str());
    return name && *name != '\0' ? name : "can" + number;
}

std::unique_ptr<CANSocket> makeSocket(int bus, int bitRate, int receiveBuffer) {
    const std::string virtualBus = "unix:";
    const std::string name = getBusName(bus);
    if (name.compare(0, virtualBus.size(), virtualBus) == 0)
        return std::make_unique<VirtualCAN>(bus, name.substr(virtualBus.size()));
    if (bitRate != 0) {
        // Only an administrator may set it, and only while the bus is down. The system's setting stays in force.
        KXDebug::debugPrintError(1, getCANDebugKey(),
                                 "bus %d: the bit rate of %s is set up by the system, not to %d", bus,
                                 name.c_str(), bitRate);
    }
    return std::make_unique<CANInterface>(bus, name, receiveBuffer);
}

} // namespace

KXCANRaw* KXCANRaw::create(int bus, int bitRate, int receiveBuffer) {
    if (bus < 0 || bitRate < 0 || receiveBuffer < 0) {
        KXDebug::debugPrintError(1, getCANDebugKey(), "a bus cannot be opened with a negative number (%d, %d, %d)",
                                 bus, bitRate, receiveBuffer);
        return nullptr;
    }
    try {
        std::unique_ptr<CANSocket> socket = makeSocket(bus, bitRate, receiveBuffer);
        // A bus that is down gives a closed end point, which an end-point manager retries: the terminal may start
        // before the bus.
        return socket->open(1) == CANSocket::Opening::refused ? nullptr : socket.release();
    } catch (const std::bad_alloc&) {
        KXDebug::debugPrintError(1, getCANDebugKey(), "bus %d: no memory is left", bus);
        return nullptr;
    }
}

KXCANRaw::KXCANRaw() = default;
KXCANRaw::~KXCANRaw() = default;

} // namespace KX
