#pragma once

#include <string>

namespace KX::CanBus {
class CANSender;
}

namespace Can {

/// Sends the frames of a log to a bus.
///
/// A file is read and checked completely before the bus is opened. On standard input, each line is sent before the
/// next one is read. Blocks until the last frame is sent.
class Playback {
public:
    /// \param fileName  "-" is standard input
    /// \param speed     factor of the recorded pace; 0: without waiting
    Playback(std::string fileName, double speed);

    /// \throws BadInput            the file cannot be read, or a line is not a line of a log; the text says which
    /// \throws std::runtime_error  the bus fails
    void run(const std::string& bus);

private:
    void playStandardInput(KX::CanBus::CANSender& sender) const;

    const std::string name;
    const double speedFactor;
};

} // namespace Can
