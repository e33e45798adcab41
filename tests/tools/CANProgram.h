#pragma once

#include "ToolProgram.h"

#include <string>
#include <sys/types.h>
#include <vector>

struct can_frame;

/// A datagram socket at a path, as on a virtual bus.
class BusSocket {
public:
    explicit BusSocket(const std::string& path);
    ~BusSocket();
    BusSocket(const BusSocket&) = delete;
    BusSocket& operator=(const BusSocket&) = delete;

    /// Takes the next datagram.
    /// \return its size; -1 when none arrives within a time that is long on any machine
    ssize_t receive(can_frame& frame) const;

    bool isEmpty() const;

private:
    int descriptor;
};

/// A run of kxcan.
class CANProgram : public ToolProgram {
public:
    /// \param input  the content of its standard input
    CANProgram(const TestFolder& testFolder, const std::vector<std::string>& arguments,
               const std::string& input = std::string());
};
