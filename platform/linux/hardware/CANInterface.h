#pragma once

#include "platform/linux/hardware/CANSocket.h"

namespace KX {

/// A CAN interface of the system. Its bit rate is the system's business.
class CANInterface final : public CANSocket {
public:
    /// \param framesToHold  how many frames the system is to hold for us; 0: as it has it
    CANInterface(int busNumber, const std::string& nameOfInterface, int framesToHold);
    ~CANInterface() override;

private:
    Opening openSocket(int& newDescriptor, std::string& reason) override;
    void setOptions(int socketDescriptor) const;

    const std::string interfaceName;
    const int receiveBuffer;
};

} // namespace KX
