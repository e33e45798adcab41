#pragma once

#include "ToolProgram.h"

#include <string>
#include <sys/types.h>
#include <vector>

struct can_frame;

/// A datagram socket at a path, as a virtual bus has.
class BusSocket {
public:
    explicit BusSocket(const std::string& path);
    ~BusSocket();
    BusSocket(const BusSocket&) = delete;
    BusSocket& operator=(const BusSocket&) = delete;

    /// Takes the next datagram. \return its size; -1 when none comes within a time that is long for any machine
    ssize_t receive(can_frame& frame) const;

    bool isEmpty() const;

private:
    int descriptor;
};

/// A run of kxcan.
class CANProgram : public ToolProgram {
public:
    /// \param input  what its standard input holds
    CANProgram(const TestFolder& testFolder, const std::vector<std::string>& arguments,
               const std::string& input = std::string());
};
