#pragma once

#include "bench/fullbus/BusTraffic.h"
#include "tools/canbus/CANSender.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace Bench {

/// Sends the frames one by one as on a bus: the reader has to wake up for each.
/// \return how many; 0 when it failed, which it has said on standard error
inline std::uint32_t sendAll(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames) {
    std::uint32_t sent = 0;
    try {
        CanBus::CANSender sender(bus);
        const auto start = std::chrono::steady_clock::now();
        for (; sent < frames; ++sent) {
            std::this_thread::sleep_until(
                start + std::chrono::nanoseconds(1000000000LL * sent / BusTraffic::framesPerSecond));
            sender.send(traffic.makeFrame(sent));
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "full_bus: after %u frames: %s\n", sent, error.what());
        return 0;
    }
    return sent;
}

/// Forks the bus, a process of its own, so that its processor time is not ours. To be called before the first thread.
/// \return a socket: a byte written to it lets the bus send, and it becomes readable with the number of frames sent
inline int forkBus(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames) {
    int ends[2] = {-1, -1};
    const bool isOpen = socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0;
    const pid_t process = isOpen ? fork() : -1;
    if (process < 0) {
        std::perror("full_bus");
        std::exit(1);
    }
    close(process == 0 ? ends[0] : ends[1]);
    if (process != 0)
        return ends[0];
    prctl(PR_SET_PDEATHSIG, SIGKILL); // when the reader is ended
    char go = 0;
    if (read(ends[1], &go, 1) != 1)
        _exit(1);
    const std::uint32_t sent = sendAll(bus, traffic, frames);
    _exit(write(ends[1], &sent, sizeof sent) == sizeof sent ? 0 : 1);
}

} // namespace Bench
