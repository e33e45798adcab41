#pragma once

#include "input/CANRemoteOptions.h"
#include "platform/KXCANMessage.h"

#include <array>
#include <cstdint>
#include <optional>

namespace Terminal {

/// The electronics of a keypad on the CAN bus. It knows which keys are down and the position of the knob, and
/// makes the frames that report them.
class KeypadFrames {
public:
    /// \p layout must have passed KX::KeyLayout::check.
    explicit KeypadFrames(const KX::CANRemoteOptions& layout);

    /// \param entry  index of the layout's keys
    /// \return the frame with the states of all keys that share it, and with the knob's position if the knob
    /// shares it
    KX::KXCANMessage setKey(int entry, bool pressed);

    bool isPressed(int entry) const;

    /// Turns the knob by one detent. Its counter has 16 bits and wraps.
    KX::KXCANMessage turn(bool up);

    /// What a frame of such a keypad says about a key, or about the knob's counter in detents. Nothing when the
    /// frame does not carry it.
    std::optional<bool> keyIn(const KX::KXCANMessage& message, int entry) const;
    std::optional<int> detentsIn(const KX::KXCANMessage& message) const;

private:
    KX::KXCANMessage frame(std::uint32_t identifier) const;
    void addPosition(KX::KXCANMessage& message) const;

    KX::CANRemoteOptions layout;
    std::array<bool, 16> pressedKeys{};
    std::uint16_t counter = 0; // the library starts here, too
};

} // namespace Terminal
