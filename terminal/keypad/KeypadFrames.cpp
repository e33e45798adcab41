#include "terminal/keypad/KeypadFrames.h"

#include "recording/KXCANIdentifier.h"
#include "recording/KXKeyLayout.h"

namespace Terminal {

KeypadFrames::KeypadFrames(const KX::CANRemoteOptions& keyLayout) : layout(keyLayout) {}

KX::KXCANMessage KeypadFrames::setKey(int entry, bool pressed) {
    pressedKeys.at(static_cast<std::size_t>(entry)) = pressed;
    return frame(static_cast<std::uint32_t>(layout.keys[entry].canId));
}

bool KeypadFrames::isPressed(int entry) const {
    return pressedKeys.at(static_cast<std::size_t>(entry));
}

KX::KXCANMessage KeypadFrames::turn(bool up) {
    counter = static_cast<std::uint16_t>(up ? counter + 1 : counter - 1);
    return frame(layout.encoderCANId);
}

std::optional<bool> KeypadFrames::keyIn(const KX::KXCANMessage& message, int entry) const {
    const KX::KeyOptionsCANRemote& key = layout.keys[entry];
    if (!KX::KeyLayout::isUsed(key) ||
        static_cast<std::uint32_t>(key.canId) != (message.canId & KX::CanBus::extendedIdentifierBits))
        return std::nullopt;
    return (message.canData[key.byteIndex] >> key.bitIndex & 1U) != 0;
}

std::optional<int> KeypadFrames::detentsIn(const KX::KXCANMessage& message) const {
    if (!KX::KeyLayout::hasEncoder(layout) ||
        layout.encoderCANId != (message.canId & KX::CanBus::extendedIdentifierBits))
        return std::nullopt;
    const int low = layout.encoderByteIndex;
    const int high = layout.encoderLittleEndian ? low + 1 : low - 1;
    const unsigned int position = message.canData[low] | static_cast<unsigned int>(message.canData[high]) << 8U;
    const std::uint32_t detent = layout.encoderMask & (~layout.encoderMask + 1);
    return static_cast<int>((position & layout.encoderMask) / detent);
}

KX::KXCANMessage KeypadFrames::frame(std::uint32_t identifier) const {
    KX::KXCANMessage message;
    message.canId = identifier | KX::CanBus::extendedFlag;
    for (std::size_t i = 0; i < pressedKeys.size(); ++i) {
        const KX::KeyOptionsCANRemote& key = layout.keys[i];
        if (pressedKeys[i] && static_cast<std::uint32_t>(key.canId) == identifier)
            message.canData[key.byteIndex] |= static_cast<unsigned char>(1U << key.bitIndex);
    }
    if (KX::KeyLayout::hasEncoder(layout) && layout.encoderCANId == identifier)
        addPosition(message);
    return message;
}

void KeypadFrames::addPosition(KX::KXCANMessage& message) const {
    // One detent is the lowest bit of the mask.
    const std::uint32_t detent = layout.encoderMask & (~layout.encoderMask + 1);
    const std::uint32_t position = counter * detent & layout.encoderMask;
    const int low = layout.encoderByteIndex;
    const int high = layout.encoderLittleEndian ? low + 1 : low - 1;
    message.canData[low] |= static_cast<unsigned char>(position & 0xFFU);
    message.canData[high] |= static_cast<unsigned char>(position >> 8U);
}

} // namespace Terminal
