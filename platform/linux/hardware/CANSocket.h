#pragma once

#include "platform/KXCANRaw.h"

#include <atomic>
#include <string>
#include <sys/types.h>

struct can_frame;

namespace KX {

/// Key of the debug section of the CAN buses, "kx_can_raw".
unsigned int getCANDebugKey();

/// A bus that is read through a datagram socket, one frame in each datagram.
class CANSocket : public KXCANRaw {
public:
    enum class Opening {
        done,
        later,  ///< the bus exists but is down
        refused ///< there is no such bus, or the system refuses it
    };

    ~CANSocket() override;

    /// Opens the socket anew. A lack of memory is a failure like others.
    /// \param reportLevel  debug level at which a failure is reported
    Opening open(int reportLevel);

    int getReadEndPointID() const override;
    int getWriteEndPointID() const override;
    bool isConnected() const override;
    int reconnect() override;
    int configure(unsigned char setting) override;
    int readFrame(KXCANMessage& message) override;

protected:
    explicit CANSocket(int busNumber);

    /// Makes the socket.
    /// \param newDescriptor  -1 at first. A descriptor stored here belongs to the caller, also after a failure
    /// \param reason         why it failed, for the debug output
    virtual Opening openSocket(int& newDescriptor, std::string& reason) = 0;

    /// Called before a socket from \ref openSocket is closed. The destructor of each derived class must call
    /// \ref closeSocket, because the destructor of this class cannot call the override any more.
    virtual void socketCloses() {}

    void closeSocket();

    int getBus() const { return bus; }

private:
    bool isFrame(const can_frame& frame, ssize_t size);

    const int bus;

    // Atomic because any thread may ask whether the bus is connected while the waiting one reconnects it.
    std::atomic<int> descriptor{-1};

    // Used by the reading thread only.
    unsigned long malformedDatagrams = 0;
};

} // namespace KX
