#pragma once

#include "platform/KXEndPoint.h"

namespace KX {

class KXCANMessage;

/// One CAN bus, read frame by frame as they stand on the wire.
///
/// What a platform provides: \ref create and a class derived from this one. Frames come in the order of the
/// bus; error frames and remote frames are not delivered. The identifier keeps its flag bits.
class KX_HARDWARE_API KXCANRaw : public KXEndPoint {
public:
    /// Opens a bus.
    /// \param bus            number of the bus, from 0
    /// \param bitRate        in bit/s; 0: as the system has it
    /// \param receiveBuffer  frames that the system holds for us; 0: as the system has it
    /// \return owned by the caller; null when there is no such bus. A bus that exists but is down gives a closed end
    ///         point (see \ref isConnected), which comes alive by \ref reconnect when the bus is up, so that a keypad
    ///         works even if the terminal starts before the bus
    static KXCANRaw* create(int bus, int bitRate, int receiveBuffer);

    ~KXCANRaw() override;

    /// Hands a setting of the bus driver through. 0 is the default.
    /// \return 0 on success; 24 for a setting that the driver does not know
    virtual int configure(unsigned char setting) = 0;

    /// Takes the next frame that waits; never blocks.
    /// \return 0 on success; else nothing was there, or the bus failed, and \p message is untouched
    virtual int readFrame(KXCANMessage& message) = 0;

protected:
    KXCANRaw();
};

} // namespace KX
