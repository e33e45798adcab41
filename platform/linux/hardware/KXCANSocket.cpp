#include "platform/linux/hardware/KXCANSocket.h"

#include "platform/KXCANMessage.h"
#include "platform/KXDebug.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <linux/can.h>
#include <sys/socket.h>
#include <unistd.h>

namespace KX {

namespace {

const int statusRefused = 20;
const int statusOutOfRange = 24;

/// So many frames that are not delivered are passed over in one call, lest a flood of them hold the thread.
const int mostPassedOver = 64;

const unsigned int longestData = 8;

void copyFrame(const can_frame& frame, KXCANMessage& message) {
    message.canId = frame.can_id;
    message.canLength = frame.can_dlc;
    std::fill(std::begin(message.canData), std::end(message.canData), static_cast<unsigned char>(0));
    std::copy_n(frame.data, frame.can_dlc, message.canData);
}

} // namespace

unsigned int getCANDebugKey() {
    static const unsigned int key = KXDebug::insertNewDebugSection("kx_can_raw");
    return key;
}

KXCANSocket::KXCANSocket(int busNumber) : bus(busNumber) {}

KXCANSocket::~KXCANSocket() {
    if (malformedDatagrams > 1) {
        KXDebug::debugPrintError(2, getCANDebugKey(), "bus %d: %lu datagrams were no CAN frames", bus,
                                 malformedDatagrams);
    }
}

KXCANSocket::Opening KXCANSocket::open(int reportLevel) {
    closeSocket();
    int newDescriptor = -1;
    std::string reason;
    const Opening result = openSocket(newDescriptor, reason);
    if (result == Opening::done) {
        descriptor = newDescriptor;
        return result;
    }
    if (newDescriptor >= 0)
        close(newDescriptor);
    KXDebug::debugPrintError(reportLevel, getCANDebugKey(), "bus %d: %s", bus, reason.c_str());
    return result;
}

void KXCANSocket::closeSocket() {
    const int closing = descriptor.exchange(-1);
    if (closing >= 0) {
        socketCloses();
        close(closing);
    }
}

int KXCANSocket::getReadEndPointID() const {
    return descriptor;
}

int KXCANSocket::getWriteEndPointID() const {
    return -1;
}

bool KXCANSocket::isConnected() const {
    return descriptor >= 0;
}

int KXCANSocket::reconnect() {
    // A trace only: it is tried once a second for as long as the bus is gone.
    return open(4) == Opening::done ? 0 : statusRefused;
}

int KXCANSocket::configure(unsigned char setting) {
    return setting == 0 ? 0 : statusOutOfRange;
}

int KXCANSocket::readFrame(KXCANMessage& message) {
    for (int passedOver = 0; passedOver < mostPassedOver; ++passedOver) {
        can_frame frame{};
        // MSG_TRUNC: the length that was sent, so that a datagram that is too long is known from a frame.
        const ssize_t size = recv(descriptor, &frame, sizeof(frame), MSG_DONTWAIT | MSG_TRUNC);
        if (size >= 0) {
            if (isFrame(frame, size)) {
                copyFrame(frame, message);
                tellFrameRead(bus, message);
                return 0;
            }
        } else if (errno == EAGAIN || errno == EBADF) {
            // Nothing waits, or the bus is gone and known to be.
            return statusRefused;
        } else if (errno != EINTR) {
            // ENETDOWN, ENODEV: the interface went down or away. Closed, we are found disconnected and retried.
            KXDebug::debugPrintError(1, getCANDebugKey(), "bus %d: %s", bus, std::strerror(errno));
            closeSocket();
            return statusRefused;
        }
    }
    return statusRefused;
}

bool KXCANSocket::isFrame(const can_frame& frame, ssize_t size) {
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
