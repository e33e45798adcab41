#include "terminal/KeypadFrames.h"

#include "tools/keylayout/KeyLayout.h"

namespace {

// The frame has an identifier of 29 bits.
constexpr std::uint32_t extendedFrame = 0x80000000U;

} // namespace

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

KX::KXCANMessage KeypadFrames::frame(std::uint32_t identifier) const {
    KX::KXCANMessage message;
    message.canId = identifier | extendedFrame;
    for (std::size_t i = 0; i < pressedKeys.size(); ++i) {
        const KX::KeyOptionsCANRemote& key = layout.keys[i];
        if (pressedKeys[i] && static_cast<std::uint32_t>(key.canId) == identifier)
            message.canData[key.byteIndex] |= static_cast<unsigned char>(1U << key.bitIndex);
    }
    if (KeyLayout::hasEncoder(layout) && layout.encoderCANId == identifier)
        addPosition(message);
    return message;
}

void KeypadFrames::addPosition(KX::KXCANMessage& message) const {
    // A detent is the lowest bit of the mask.
    const std::uint32_t detent = layout.encoderMask & (~layout.encoderMask + 1);
    const std::uint32_t position = counter * detent & layout.encoderMask;
    const int low = layout.encoderByteIndex;
    const int high = layout.encoderLittleEndian ? low + 1 : low - 1;
    message.canData[low] |= static_cast<unsigned char>(position & 0xFFU);
    message.canData[high] |= static_cast<unsigned char>(position >> 8U);
}
