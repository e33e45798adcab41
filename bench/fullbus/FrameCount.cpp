#include "bench/fullbus/FrameCount.h"

#include "bench/fullbus/BusTraffic.h"

#include <atomic>
#include <dlfcn.h>
#include <linux/can.h>
#include <sys/socket.h>

namespace {

// Written by the thread that reads the bus, read by the one that reports.
std::atomic<std::uint32_t> taken{0};
std::atomic<std::uint32_t> outOfOrder{0};

using Receive = ssize_t (*)(int, void*, size_t, int);

bool isDatagramSocket(int descriptor) {
    int type = 0;
    socklen_t size = sizeof(type);
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_DGRAM;
}

} // namespace

std::uint32_t FrameCount::get() {
    return taken;
}

std::uint32_t FrameCount::getOutOfOrder() {
    return outOfOrder;
}

// Stands before the C library's for everything in this process; nothing else in it receives datagrams of a
// frame's size.
extern "C" __attribute__((visibility("default"))) ssize_t recv(int descriptor, void* buffer, size_t size,
                                                               int flags) {
    static const auto next = reinterpret_cast<Receive>(dlsym(RTLD_NEXT, "recv"));
    const ssize_t received = next(descriptor, buffer, size, flags);
    if (received == static_cast<ssize_t>(sizeof(can_frame)) && size == sizeof(can_frame) &&
        isDatagramSocket(descriptor)) {
        const std::uint32_t expected = taken++;
        if (BusTraffic::getNumber(static_cast<const can_frame*>(buffer)->data) != expected)
            ++outOfOrder;
    }
    return received;
}
