#pragma once

#include "bench/fullbus/BusTraffic.h"

#include <cstdint>
#include <string>
#include <sys/types.h>

/// The bus: a process of its own that sends, so that its processor time is not ours.
class BusProcess {
public:
    /// Forks: to be made before the first thread.
    BusProcess(const std::string& bus, const BusTraffic& traffic, std::uint32_t frames);
    ~BusProcess();
    BusProcess(const BusProcess&) = delete;
    BusProcess& operator=(const BusProcess&) = delete;

    /// Lets it send; the reader has opened the bus by now.
    void start() const;

    /// Becomes readable when it has sent all.
    int getReadEndPointID() const;

    /// \return the number of frames sent, once readable; 0 when it failed, which it has said on standard error
    std::uint32_t readSent() const;

private:
    int startPipe[2] = {-1, -1};
    int reportPipe[2] = {-1, -1};
    pid_t process = -1;
};
