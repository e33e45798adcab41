#pragma once

#include "platform/linux/hardware/CANSocket.h"

#include <string>
#include <sys/types.h>
#include <utility>

namespace KX {

/// Tells a file from others, whatever its path is.
using FileIdentity = std::pair<dev_t, ino_t>;

/// A bus on a machine without CAN: a datagram socket bound to a path, with access for the user of this process
/// only.
///
/// Each datagram is one struct can_frame. A stale socket file is replaced. So is one of this process; the end
/// point that had bound it receives nothing any more.
class VirtualCAN final : public CANSocket {
public:
    VirtualCAN(int busNumber, const std::string& pathOfSocket);
    ~VirtualCAN() override;

private:
    Opening openSocket(int& newDescriptor, std::string& reason) override;
    void socketCloses() override;
    bool makeRoom(std::string& reason) const;
    bool isHeldByAnotherProcess(std::string& reason) const;

    const std::string path;
    FileIdentity boundFile;
};

} // namespace KX
