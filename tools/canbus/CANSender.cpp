#include "tools/canbus/CANSender.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/can.h>
#include <linux/can/raw.h>
#include <net/if.h>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace KX::CanBus {

namespace {

constexpr std::string_view virtualBusPrefix = "unix:";
const unsigned int longestData = 8;

bool isVirtualBus(const std::string& bus) {
    return bus.compare(0, virtualBusPrefix.size(), virtualBusPrefix) == 0;
}

can_frame toDriversFrame(const KX::KXCANMessage& message) {
    can_frame frame{};
    frame.can_id = message.canId;
    frame.can_dlc = static_cast<unsigned char>(message.canLength);
    // A remote frame has a length but carries no data.
    if ((message.canId & CAN_RTR_FLAG) == 0)
        std::copy_n(message.canData, message.canLength, frame.data);
    return frame;
}

std::string explainConnect(int error, const std::string& path) {
    struct stat status {};
    switch (error) {
    case ECONNREFUSED: // also for a file that is not a socket
        if (stat(path.c_str(), &status) == 0 && !S_ISSOCK(status.st_mode))
            return "is no socket";
        return "nobody listens there";
    case ENOENT: // no reader has created the socket, or the folder is wrong
        return "nobody listens there: " + std::string(std::strerror(error));
    case EPROTOTYPE: // a stream, which does not keep frames apart
        return "is a socket of another kind";
    default: // EACCES: the socket of another user. ENOTDIR, ELOOP: a bad path
        return std::strerror(error);
    }
}

std::string explainSend(int error) {
    switch (error) {
    case ECONNREFUSED: // the reader has closed its socket,
    case ECONNRESET:   // or closed it while we waited,
    case ENOTCONN:     // and an earlier call reported it
        return "the receiver is gone";
    case ENETDOWN: return "the interface is down";
    case ENXIO: // the interface was removed, perhaps a moment ago
    case ENODEV: return "the interface is gone";
    default: return "cannot send: " + std::string(std::strerror(error));
    }
}

} // namespace

std::optional<std::string> problemOfBusName(const std::string& bus) {
    const bool isVirtual = isVirtualBus(bus);
    const std::size_t length = bus.size() - (isVirtual ? virtualBusPrefix.size() : 0);
    const std::size_t most = (isVirtual ? sizeof(sockaddr_un::sun_path) : sizeof(ifreq::ifr_name)) - 1;
    if (length >= 1 && length <= most)
        return std::nullopt;
    return (isVirtual ? "the path of a virtual bus must have 1 to " : "the name of an interface must have 1 to ") +
           std::to_string(most) + " bytes";
}

CANSender::CANSender(const std::string& bus, std::chrono::milliseconds longestWait)
    : name(bus), patience(longestWait) {
    if (const auto problem = problemOfBusName(bus))
        fail(*problem);
    try {
        if (isVirtualBus(bus))
            openVirtualBus(bus.substr(virtualBusPrefix.size()));
        else
            openInterface();
    } catch (...) {
        if (descriptor >= 0)
            close(descriptor);
        throw;
    }
}

CANSender::~CANSender() {
    close(descriptor);
}

void CANSender::fail(const std::string& reason) const {
    throw std::runtime_error((name.empty() ? "\"\"" : name) + ": " + reason);
}

void CANSender::openVirtualBus(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    // EMFILE, ENFILE, ENOMEM: the process or the machine has no resources left.
    if (descriptor < 0)
        fail(std::strerror(errno));
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        fail(explainConnect(errno, path));
}

void CANSender::openInterface() {
    ifreq request{};
    name.copy(request.ifr_name, sizeof(request.ifr_name) - 1);
    descriptor = socket(PF_CAN, SOCK_RAW | SOCK_CLOEXEC, CAN_RAW);
    if (descriptor < 0) {
        const bool hasNoCAN = errno == EAFNOSUPPORT || errno == EPROTONOSUPPORT;
        fail(hasNoCAN ? "the kernel has no CAN" : std::strerror(errno));
    }
    if (ioctl(descriptor, SIOCGIFINDEX, &request) != 0)
        fail(errno == ENODEV ? "no such interface" : std::strerror(errno));
    sockaddr_can address{};
    address.can_family = AF_CAN;
    address.can_ifindex = request.ifr_ifindex;
    if (ioctl(descriptor, SIOCGIFFLAGS, &request) == 0 && (request.ifr_flags & IFF_UP) == 0)
        fail("the interface is down");
    // We never read. Without this, the frames of the bus would fill our receive buffer.
    setsockopt(descriptor, SOL_CAN_RAW, CAN_RAW_FILTER, nullptr, 0);
    // ENODEV: the interface exists but is not a CAN interface.
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        fail(errno == ENODEV ? "is no CAN interface" : std::strerror(errno));
}

void CANSender::send(const KX::KXCANMessage& message) {
    if (message.canLength > longestData)
        fail("a frame has 0 to 8 bytes of data, not " + std::to_string(message.canLength));
    if (!isVirtualBus(name))
        forgetOutage();
    const can_frame frame = toDriversFrame(message);
    const Clock::time_point limit = Clock::now() + patience;
    // A datagram is sent as a whole or not at all.
    while (::send(descriptor, &frame, sizeof(frame), MSG_DONTWAIT | MSG_NOSIGNAL) < 0)
        waitForRoom(errno, limit);
}

/// The kernel reports an outage of the interface by failing the next call, even if the interface is up again. If
/// it is still down, the attempt to send fails.
void CANSender::forgetOutage() const {
    int error = 0;
    socklen_t size = sizeof(error);
    getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size);
}

/// Waits until another attempt after \p error makes sense.
void CANSender::waitForRoom(int error, Clock::time_point limit) const {
    if (error == EINTR)
        return;
    if (error != EAGAIN && error != ENOBUFS)
        fail(explainSend(error));
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now());
    if (left.count() <= 0)
        fail("the receiver has taken nothing for " + std::to_string(patience.count()) + " ms");
    if (error == ENOBUFS) {
        // The queue of the interface is full, and poll does not report it. A frame takes a fraction of this time
        // on the bus.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return;
    }
    // EAGAIN: the reader's queue is full. The next attempt detects EINTR and a reader that has gone.
    pollfd waiting{descriptor, POLLOUT, 0};
    poll(&waiting, 1, static_cast<int>(left.count()));
}

} // namespace KX::CanBus
