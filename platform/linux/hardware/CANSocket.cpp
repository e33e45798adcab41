#include "platform/linux/hardware/CANSocket.h"

#include "platform/KXCANMessage.h"
#include "platform/KXDebug.h"
#include "platform/KXStatus.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <linux/can.h>
#include <new>
#include <sys/socket.h>
#include <unistd.h>

namespace KX {

namespace {

/// Most frames that one call skips because they are not delivered. A flood of them must not hold the thread.
constexpr int mostPassedOver = 64;

constexpr unsigned int longestData = 8;

void copyFrame(const can_frame& frame, KXCANMessage& message) {
    message.canId = frame.can_id;
    message.canLength = frame.can_dlc;
    std::fill(std::begin(message.canData), std::end(message.canData), static_cast<unsigned char>(0));
    std::copy_n(frame.data, frame.can_dlc, message.canData);
}

/// Registers the section when the library is loaded: a lack of memory can be reported only if it is there already.
[[maybe_unused]] const unsigned int keyOfLoadTime = getCANDebugKey();

} // namespace

unsigned int getCANDebugKey() {
    static const unsigned int key = KXDebug::insertNewDebugSection("kx_can_raw");
    return key;
}

CANSocket::CANSocket(int busNumber) : bus(busNumber) {}

CANSocket::~CANSocket() {
    if (malformedDatagrams > 1) {
        KXDebug::debugPrintError(2, getCANDebugKey(), "bus %d: %lu datagrams were no CAN frames", bus,
                                 malformedDatagrams);
    }
}

CANSocket::Opening CANSocket::open(int reportLevel) {
    closeSocket();
    int newDescriptor = -1;
    std::string reason;
    const char* text = nullptr;
    Opening result = Opening::refused;
    try {
        result = openSocket(newDescriptor, reason);
        text = reason.c_str();
    } catch (const std::bad_alloc&) {
        text = "no memory is left";
    }
    if (result == Opening::done) {
        descriptor = newDescriptor;
        return result;
    }
    if (newDescriptor >= 0)
        close(newDescriptor);
    KXDebug::debugPrintError(reportLevel, getCANDebugKey(), "bus %d: %s", bus, text);
    return result;
}

void CANSocket::closeSocket() {
    const int closing = descriptor.exchange(-1);
    if (closing >= 0) {
        socketCloses();
        close(closing);
    }
}

int CANSocket::getReadEndPointID() const {
    return descriptor;
}

int CANSocket::getWriteEndPointID() const {
    return -1;
}

bool CANSocket::isConnected() const {
    return descriptor >= 0;
}

int CANSocket::reconnect() {
    // At trace level: it is tried once a second while the bus is down.
    return open(4) == Opening::done ? STATUS_OK : STATUS_REFUSED;
}

int CANSocket::configure(unsigned char setting) {
    return setting == 0 ? STATUS_OK : STATUS_OUT_OF_RANGE;
}

int CANSocket::readFrame(KXCANMessage& message) {
    for (int passedOver = 0; passedOver < mostPassedOver; ++passedOver) {
        can_frame frame{};
        // MSG_TRUNC gives the length as sent, which tells a datagram that is too long from a frame.
        const ssize_t size = recv(descriptor, &frame, sizeof(frame), MSG_DONTWAIT | MSG_TRUNC);
        if (size >= 0) {
            if (isFrame(frame, size)) {
                copyFrame(frame, message);
                return STATUS_OK;
            }
        } else if (errno == EAGAIN || errno == EBADF) {
            // EAGAIN: no frame waits. EBADF: the bus is closed.
            return STATUS_REFUSED;
        } else if (errno != EINTR) {
            // ENETDOWN, ENODEV: the interface is down or gone. A manager finds the end point closed and retries
            // it.
            KXDebug::debugPrintError(1, getCANDebugKey(), "bus %d: %s", bus, std::strerror(errno));
            closeSocket();
            return STATUS_REFUSED;
        }
    }
    return STATUS_REFUSED;
}

bool CANSocket::isFrame(const can_frame& frame, ssize_t size) {
    if (size != static_cast<ssize_t>(sizeof(frame)) || frame.can_dlc > longestData) {
        if (++malformedDatagrams == 1) {
            KXDebug::debugPrintError(1, getCANDebugKey(),
                                     "bus %d: dropped a datagram of %zd bytes that is no CAN frame; more of them "
                                     "are only counted",
                                     bus, size);
        }
        return false;
    }
    return (frame.can_id & (CAN_ERR_FLAG | CAN_RTR_FLAG)) == 0;
}

} // namespace KX
