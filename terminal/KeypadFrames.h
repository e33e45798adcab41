#pragma once

#include "input/CANRemoteOptions.h"
#include "platform/KXCANMessage.h"

#include <array>
#include <cstdint>
#include <optional>

namespace Terminal {

/// The electronics of a keypad on the CAN bus: knows which keys are down and where the knob stands, and makes the
/// frames that tell of it.
class KeypadFrames {
public:
    /// \p layout has passed KeyLayout::check.
    explicit KeypadFrames(const KX::CANRemoteOptions& layout);

    /// \param entry  of the layout's keys
    /// \return the frame with the states of all keys that share it, and the knob's position if that shares it, too
    KX::KXCANMessage setKey(int entry, bool pressed);

    bool isPressed(int entry) const;

    /// Turns the knob by one detent. Its counter has 16 bits and wraps.
    KX::KXCANMessage turn(bool up);

    /// What a frame of such a keypad tells of a key, or of the knob's counter in detents; nothing when it is not theirs.
    std::optional<bool> keyIn(const KX::KXCANMessage& message, int entry) const;
    std::optional<int> detentsIn(const KX::KXCANMessage& message) const;

private:
    KX::KXCANMessage frame(std::uint32_t identifier) const;
    void addPosition(KX::KXCANMessage& message) const;

    KX::CANRemoteOptions layout;
    std::array<bool, 16> pressedKeys{};
    std::uint16_t counter = 0; // where the library begins, too
};

} // namespace Terminal
