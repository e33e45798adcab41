#pragma once

#include "platform/linux/hardware/KXCANSocket.h"
#include "platform/linux/hardware/KXOwnSockets.h"

namespace KX {

/// A bus on a machine without CAN: a datagram socket bound at a path, for the user of this process only.
///
/// Each datagram is one struct can_frame. A socket file that nobody listens to is replaced, and one of this
/// process, which then hears nothing any more.
class KXVirtualCAN final : public KXCANSocket {
public:
    KXVirtualCAN(int busNumber, const std::string& pathOfSocket);
    ~KXVirtualCAN() override;

private:
    Opening openSocket(int& newDescriptor, std::string& reason) override;
    void socketCloses() override;
    bool makeRoom(std::string& reason) const;
    bool isHeldByAnotherProcess(std::string& reason) const;

    const std::string path;
    KXFileIdentity boundFile;
};

} // namespace KX
