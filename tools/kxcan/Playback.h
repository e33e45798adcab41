#pragma once

#include <string>

namespace CanBus {
class CANSender;
}

namespace Can {

/// Puts the frames of a log onto a bus.
///
/// A file is read and checked as a whole before the bus is opened; of standard input, each line is
/// sent before the next is read. Blocks until the last frame is sent.
class Playback {
public:
    /// \param fileName  "-" is standard input
    /// \param speed     how many times faster than it was recorded; 0: without any wait
    Playback(std::string fileName, double speed);

    /// \throws BadInput            the file cannot be read or a line is none of a log; the text says where
    /// \throws std::runtime_error  the bus fails
    void run(const std::string& bus);

private:
    void playStandardInput(CanBus::CANSender& sender) const;

    const std::string name;
    const double speedFactor;
};

} // namespace Can
