#pragma once

#include "tools/canbus/CANSender.h"

#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <stdexcept>

namespace Terminal {

/// What was asked for cannot be done: the program ends with status 2.
class SettingsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Something is wrong with a file, and the text begins with its name.
class FileError : public SettingsError {
public:
    using SettingsError::SettingsError;
};

/// The bus between the keypad on the screen and the library: bus 0 of the platform.
class KeypadBus {
public:
    /// Chooses the bus and tells the platform, which must not have opened it yet: \p chosen if given, else what
    /// KX_CAN_BUS_0 says, else a virtual bus of this process in a folder that goes with this object. To be
    /// called before there are other threads, as it sets the environment variable.
    /// \throws SettingsError  the bus cannot be opened
    explicit KeypadBus(const std::optional<QString>& chosen);

    /// Begins to send. The library listens by now.
    /// \throws SettingsError  the bus cannot be opened
    void connectToListener();

    /// \return nothing when it was sent; else why not, in one line
    std::optional<QString> send(const KX::KXCANMessage& frame);

private:
    std::unique_ptr<QTemporaryDir> privateFolder;
    std::string name;
    std::unique_ptr<CanBus::CANSender> sender;
};

} // namespace Terminal
