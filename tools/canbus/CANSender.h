#pragma once

#include "platform/KXCANMessage.h"

#include <chrono>
#include <optional>
#include <string>

namespace KX::CanBus {

/// Why there can be no bus of this name, on no machine; nothing: there can.
/// \param bus  as for \ref CANSender
std::optional<std::string> problemOfBusName(const std::string& bus);

/// Puts frames onto a CAN bus: an interface of the system, or the virtual bus of a machine without CAN.
///
/// One thread at a time. Each failure is a std::runtime_error whose text is one complete line that begins with the
/// name of the bus.
class CANSender {
public:
    /// Opens the bus.
    ///
    /// Does not block. A virtual bus exists only while somebody reads it.
    /// \param bus          an interface, "can0"; or "unix:" and the path of the socket that reads a virtual bus
    /// \param longestWait  see \ref send
    /// \throws std::runtime_error  the interface is missing or down, the kernel has no CAN, nobody listens at the
    ///                            path, the path is too long, or the permission is missing
    explicit CANSender(const std::string& bus, std::chrono::milliseconds longestWait = std::chrono::seconds(5));
    ~CANSender();

    CANSender(const CANSender&) = delete;
    CANSender& operator=(const CANSender&) = delete;

    /// Sends one frame: canLength bytes of data, and canId with its flags (bit 31: extended, bit 30: remote).
    ///
    /// Frames arrive in the order of sending, and none is lost on the way. Blocks while the buffer of the receiver
    /// or of the interface is full, but no longer than the longest wait.
    /// \throws std::runtime_error  the frame was not sent: the wait was too long, the receiver or the interface is
    /// gone, or the frame has more than 8 bytes. A receiver that returns needs a new sender. An interface that
    /// comes up again works with this one.
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

} // namespace KX::CanBus
