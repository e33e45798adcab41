#pragma once

#include "platform/linux/hardware/CANSocket.h"

namespace KX {

/// A CAN interface of the system, which also sets its bit rate.
class CANInterface final : public CANSocket {
public:
    /// \param framesToHold  number of frames that the system holds until they are read; 0: its default
    CANInterface(int busNumber, const std::string& nameOfInterface, int framesToHold);
    ~CANInterface() override;

private:
    Opening openSocket(int& newDescriptor, std::string& reason) override;
    void setOptions(int socketDescriptor) const;

    const std::string interfaceName;
    const int receiveBuffer;
};

} // namespace KX
