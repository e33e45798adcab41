#include "bench/fullbus/BusProcess.h"

#include "tools/canbus/CANSender.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

std::uint32_t sendAll(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames) {
    using Clock = std::chrono::steady_clock;
    std::uint32_t sent = 0;
    try {
        CANSender sender(bus);
        const Clock::time_point start = Clock::now();
        for (; sent < frames; ++sent) {
            // One by one as on a bus: the reader has to wake up for each.
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

} // namespace

BusProcess::BusProcess(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames) {
    if (pipe(startPipe) != 0 || pipe(reportPipe) != 0 || (process = fork()) < 0) {
        std::perror("full_bus");
        std::exit(1);
    }
    if (process != 0) {
        close(startPipe[0]);
        close(reportPipe[1]);
        return;
    }
    // Does not go on when the reader is ended.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(startPipe[1]);
    char go = 0;
    if (read(startPipe[0], &go, 1) == 1) {
        const std::uint32_t sent = sendAll(bus, traffic, frames);
        _exit(write(reportPipe[1], &sent, sizeof(sent)) == sizeof(sent) ? 0 : 1);
    }
    _exit(1);
}

BusProcess::~BusProcess() {
    close(startPipe[1]);
    close(reportPipe[0]);
    waitpid(process, nullptr, 0);
}

void BusProcess::start() const {
    if (write(startPipe[1], "", 1) != 1)
        std::perror("full_bus");
}

int BusProcess::getReadEndPointID() const {
    return reportPipe[0];
}

std::uint32_t BusProcess::readSent() const {
    std::uint32_t sent = 0;
    return read(reportPipe[0], &sent, sizeof(sent)) == sizeof(sent) ? sent : 0;
}
