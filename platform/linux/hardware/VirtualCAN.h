#pragma once

#include "platform/KXLocks.h"
#include "platform/linux/hardware/CANSocket.h"
#include "platform/linux/hardware/OwnSockets.h"

#include <chrono>
#include <string>
#include <sys/types.h>

namespace KX {

/// A bus on a machine without CAN: a datagram socket bound to a path, with access for the user of this process
/// only.
///
/// Each datagram is one struct can_frame. A stale socket file is replaced. So is one of this process; the end
/// point that had bound it receives nothing any more. A file that somebody else removes or replaces makes the end
/// point unconnected, within a second, so that its manager binds it anew.
class VirtualCAN final : public CANSocket {
public:
    VirtualCAN(int busNumber, const std::string& pathOfSocket);
    ~VirtualCAN() override;

    bool isConnected() const override;

private:
    using Clock = std::chrono::steady_clock;

    Opening openSocket(int& newDescriptor, std::string& reason) override;
    void socketCloses() override;
    Opening bindSocket(int unboundSocket, std::string& reason);
    bool makeRoom(std::string& reason) const;
    bool isHeldByAnotherProcess(std::string& reason) const;
    std::string describeError() const;
    void rememberFile(const FileIdentity& file) KX_EXCLUDES(lock);
    bool isFileLost() const KX_EXCLUDES(lock);

    const std::string path;
    const std::string location; // the same, whatever folder the application works in later
    const std::string folder;   // of the location

    pid_t boundBy = -1; // only the reading thread uses it

    mutable KXStdMutex lock;
    FileIdentity boundFile KX_GUARDED_BY(lock); // written by the reading thread, which reads it without the lock
    mutable bool fileLost KX_GUARDED_BY(lock) = false;
    mutable Clock::time_point lookDue KX_GUARDED_BY(lock);
};

} // namespace KX
