#pragma once

#include "platform/KXEndPoint.h"

namespace KX {

class KXCANMessage;

/// A raw CAN end point: one bus, read frame by frame.
///
/// A platform provides \ref create, the constructor, the destructor and a class derived from this one. Frames come
/// in the order of the bus. Error frames and remote frames are not delivered.
///
/// One thread at a time reads, configures and reconnects: for an end point of a \ref KXEndPointManager the thread
/// that waits. Any thread may ask \ref isConnected and for the two end-point numbers.
class KX_HARDWARE_API KXCANRaw : public KXEndPoint {
public:
    /// Opens a bus. Any thread; does not wait for the bus.
    /// \param bus            number of the bus, from 0
    /// \param bitRate        in bit/s; 0: as the system has it
    /// \param receiveBuffer  number of frames that the system holds until they are read; 0: as the system has it
    /// \return owned by the caller; null when there is no such bus, no memory is left or the system refuses it. A
    ///         bus that exists but is down gives a closed end point (see \ref isConnected). It opens by \ref
    ///         reconnect once the bus is up, so a keypad works even if the terminal starts before the bus does
    static KXCANRaw* create(int bus, int bitRate, int receiveBuffer);

    /// Closes the bus. The end point must have been removed from its manager before.
    ~KXCANRaw() override;

    /// Passes a setting to the bus driver, which defines what it means; 0 is the default.
    /// \return STATUS_OK; STATUS_OUT_OF_RANGE for a setting that the driver does not know
    virtual int configure(unsigned char setting) = 0;

    /// Takes the oldest frame that waits. Never blocks.
    /// \return STATUS_OK; STATUS_REFUSED when no frame waits or the bus has failed. Then \p message is untouched,
    ///         and \ref isConnected tells the two cases apart
    virtual int readFrame(KXCANMessage& message) = 0;

protected:
    KXCANRaw();
};

} // namespace KX
