#pragma once

#include "tools/canbus/CANSender.h"

#include <QString>
#include <QTemporaryDir>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>

namespace Terminal {

/// The settings cannot be used: the program ends with status 2.
class SettingsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A file is bad. The text starts with its name.
class FileError : public SettingsError {
public:
    using SettingsError::SettingsError;
};

/// What the operator must know of a bus.
struct BusStatus {
    QString name;
    QString state; ///< "up", "deleted"
    bool works = false;
};

/// The bus between the keypad on the screen and the library: bus 0 of the platform.
class KeypadBus {
public:
    /// Chooses the bus and names it to the platform, which must not have opened it yet. The bus is \p chosen if
    /// given, otherwise that of KX_CAN_BUS_0, otherwise a virtual bus in a temporary folder that this object
    /// removes.
    ///
    /// Call it before other threads exist, because it sets the environment variable.
    /// \throws SettingsError  the bus cannot be opened
    explicit KeypadBus(const std::optional<QString>& chosen);

    /// Starts to send. The library must be listening by now.
    /// \throws SettingsError  the bus cannot be opened
    void connectToListener();

    /// \return nothing on success; otherwise the reason, in one line
    std::optional<QString> send(const KX::KXCANMessage& frame);

    /// Looks whether the bus is there: the file of a virtual one, or the interface.
    BusStatus status() const;

private:
    bool sendAnew(const KX::KXCANMessage& frame);

    std::unique_ptr<QTemporaryDir> privateFolder;
    std::string name;
    std::unique_ptr<KX::CanBus::CANSender> sender;
    std::uint64_t firstSocket = 0; ///< of a virtual bus: the number of its file at the start
};

} // namespace Terminal
