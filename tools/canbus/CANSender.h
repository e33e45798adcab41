#pragma once

#include "platform/KXCANMessage.h"

#include <chrono>
#include <string>

namespace CanBus {

/// Puts frames onto a CAN bus: an interface of the system, or the virtual bus of a machine without CAN.
///
/// One thread at a time. Each failure is a std::runtime_error whose text is one line that begins with the name of
/// the bus and needs no addition to be shown.
class CANSender {
public:
    /// Opens the bus.
    ///
    /// Does not block. A virtual bus is there only while somebody reads it.
    /// \param bus          an interface, "can0"; or "unix:" and the path of the socket that reads a virtual bus
    /// \param longestWait  see \ref send
    /// \throws std::runtime_error  there is no such interface or it is down, the kernel has no CAN, nobody listens
    ///                             at the path, it is too long, or the permission is missing
    explicit CANSender(const std::string& bus, std::chrono::milliseconds longestWait = std::chrono::seconds(5));
    ~CANSender();

    CANSender(const CANSender&) = delete;
    CANSender& operator=(const CANSender&) = delete;

    /// Sends one frame: canLength bytes of data, and canId with its flags (bit 31: extended, bit 30: remote).
    ///
    /// Frames arrive in the order in which they were sent and none is lost underway. Blocks while the receiver's
    /// buffer, or that of the interface, is full, but no longer than the longest wait.
    /// \throws std::runtime_error  the wait was in vain, the receiver or the interface is gone, or the frame has
    ///                             more than 8 bytes; it was not sent. A receiver that comes back is found by a
    ///                             new sender only; an interface that comes up again is used again
    void send(const KX::KXCANMessage& frame);

private:
    using Clock = std::chrono::steady_clock;

    [[noreturn]] void fail(const std::string& reason) const;
    void openVirtualBus(const std::string& path);
    void openInterface();
    void forgetOutage() const;
    void waitForRoom(int error, Clock::time_point limit) const;

    const std::string name;
    const std::chrono::milliseconds patience;
    int descriptor = -1;
};

} // namespace CanBus

using CanBus::CANSender; // for bench/fullbus, which names it like this
