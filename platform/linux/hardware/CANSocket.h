#pragma once

#include "platform/KXCANRaw.h"

#include <atomic>
#include <string>
#include <sys/types.h>

struct can_frame;

namespace KX {

/// Key of the debug section of the CAN buses, "kx_can_raw".
unsigned int getCANDebugKey();

/// Tells the observer of frames, if there is one, of a frame that was read.
void tellFrameRead(int bus, const KXCANMessage& message);

/// A bus that is a socket of datagrams, one frame each.
class CANSocket : public KXCANRaw {
public:
    enum class Opening {
        done,
        later,  ///< the bus exists but is down: it will come
        refused ///< it will not come by itself
    };

    ~CANSocket() override;

    /// Opens the socket anew.
    /// \param reportLevel  debug level at which a failure is told
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
    /// \param newDescriptor  -1 at first; where something was opened it belongs to the caller, also after a failure
    /// \param reason         why it failed, for a reader of the debug output
    virtual Opening openSocket(int& newDescriptor, std::string& reason) = 0;

    /// Called before the socket of the last \ref openSocket is closed. A destructor of a derived class calls
    /// \ref closeSocket, because by the time of ours this could not be reached.
    virtual void socketCloses() {}

    void closeSocket();

private:
    bool isFrame(const can_frame& frame, ssize_t size);

    const int bus;

    // Atomic because other threads may ask whether the bus is there while the waiting one reconnects it.
    std::atomic<int> descriptor{-1};

    // Touched by the reading thread only.
    unsigned long malformedDatagrams = 0;
};

} // namespace KX
