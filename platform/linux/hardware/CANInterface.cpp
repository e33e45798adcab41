#include "platform/linux/hardware/CANInterface.h"

#include "platform/StandardOutputs.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <linux/can.h>
#include <linux/can/raw.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace KX {

namespace {

/// Share of one waiting frame in the buffer of a socket. The kernel doubles the size that it is asked for, to
/// cover its book-keeping. A frame and its book-keeping take less than twice this share.
constexpr int bufferBytesOfFrame = 512;

} // namespace

CANInterface::CANInterface(int busNumber, const std::string& nameOfInterface, int framesToHold)
    : CANSocket(busNumber), interfaceName(nameOfInterface), receiveBuffer(framesToHold) {}

CANInterface::~CANInterface() {
    closeSocket();
}

CANSocket::Opening CANInterface::openSocket(int& newDescriptor, std::string& reason) {
    ifreq request{};
    if (interfaceName.empty() || interfaceName.size() >= sizeof(request.ifr_name)) {
        reason = "\"" + interfaceName + "\" cannot be the name of an interface";
        return Opening::refused;
    }
    interfaceName.copy(request.ifr_name, sizeof(request.ifr_name) - 1);

    newDescriptor = keepOffStandardOutputs(socket(PF_CAN, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, CAN_RAW));
    // EAFNOSUPPORT, EPROTONOSUPPORT: a kernel without CAN. ENODEV: no interface of that name.
    if (newDescriptor < 0 || ioctl(newDescriptor, SIOCGIFINDEX, &request) != 0) {
        reason = interfaceName + ": " + std::strerror(errno);
        return Opening::refused;
    }
    sockaddr_can address{};
    address.can_family = AF_CAN;
    address.can_ifindex = request.ifr_ifindex;
    // Not bound while the interface is down: the socket would report that once, and then seem connected.
    if (ioctl(newDescriptor, SIOCGIFFLAGS, &request) != 0 || (request.ifr_flags & IFF_UP) == 0) {
        reason = interfaceName + " is down";
        return Opening::later;
    }
    setOptions(newDescriptor);
    // ENODEV: an interface of that name that is no CAN interface.
    if (bind(newDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        reason = interfaceName + ": " + std::strerror(errno);
        return Opening::refused;
    }
    return Opening::done;
}

/// Failures are ignored: without these options there are more wake-ups or a smaller buffer, but the bus works.
void CANInterface::setOptions(int socketDescriptor) const {
    // Remote frames are not delivered; they would only wake the reader.
    can_filter noRemoteFrames{};
    noRemoteFrames.can_mask = CAN_RTR_FLAG;
    setsockopt(socketDescriptor, SOL_CAN_RAW, CAN_RAW_FILTER, &noRemoteFrames, sizeof(noRemoteFrames));
    if (receiveBuffer > 0) {
        const int bytes = std::min(receiveBuffer, INT_MAX / (2 * bufferBytesOfFrame)) * bufferBytesOfFrame;
        setsockopt(socketDescriptor, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof(bytes));
    }
}

} // namespace KX
