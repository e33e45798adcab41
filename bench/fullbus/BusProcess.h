#pragma once

#include "bench/fullbus/BusTraffic.h"
#include "tools/canbus/CANSender.h"

#include <boost/noncopyable.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace Bench {

/// The bus: a process of its own that sends, so that its processor time is not ours.
class BusProcess : private boost::noncopyable {
public:
    /// Forks: to be made before the first thread.
    BusProcess(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames) {
        if (pipe(startPipe) != 0 || pipe(reportPipe) != 0 || (process = fork()) < 0) {
            std::perror("full_bus");
            std::exit(1);
        }
        if (process == 0)
            _exit(runAsBus(bus, traffic, frames));
        close(startPipe[0]);
        close(reportPipe[1]);
    }
    ~BusProcess() {
        close(startPipe[1]);
        close(reportPipe[0]);
        waitpid(process, nullptr, 0);
    }

    /// Lets it send; the reader has opened the bus by now.
    void start() const {
        if (write(startPipe[1], "", 1) != 1)
            std::perror("full_bus");
    }

    /// Becomes readable when it has sent all.
    int getReadEndPointID() const {
        return reportPipe[0];
    }

    /// \return the number of frames sent, once readable; 0 when it failed, which it has said on standard error
    std::uint32_t readSent() const {
        std::uint32_t sent = 0;
        return read(reportPipe[0], &sent, sizeof sent) == sizeof sent ? sent : 0;
    }

private:
    int runAsBus(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames) const {
        prctl(PR_SET_PDEATHSIG, SIGKILL); // when the reader is ended
        close(startPipe[1]);
        char go = 0;
        if (read(startPipe[0], &go, 1) != 1)
            return 1;
        const std::uint32_t sent = sendAll(bus, traffic, frames);
        return write(reportPipe[1], &sent, sizeof sent) == sizeof sent ? 0 : 1;
    }

    static std::uint32_t sendAll(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames) {
        std::uint32_t sent = 0;
        try {
            CANSender sender(bus);
            const auto start = std::chrono::steady_clock::now();
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

    int startPipe[2] = {-1, -1};
    int reportPipe[2] = {-1, -1};
    pid_t process = -1;
};

} // namespace Bench
