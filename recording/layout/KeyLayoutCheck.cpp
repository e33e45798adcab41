#include "recording/KXCANIdentifier.h"
#include "recording/KXKeyLayout.h"

#include <cstdio>

namespace KX::KeyLayout {

namespace {

using Finding = std::optional<std::string>;

constexpr int lastByte = 7;
constexpr int lastBit = 7;

// The library takes a step as a wrap if it covers the whole range but for this many positions.
constexpr std::uint32_t stepsAcrossWrap = 9;

bool isOutside(int number, int last) {
    return number < 0 || number > last;
}

std::string hexadecimal(std::uint32_t number) {
    char text[9];
    std::snprintf(text, sizeof text, "%X", number);
    return text;
}

std::string notInRange(const char* what, int number, int last) {
    return std::string(what) + " " + std::to_string(number) + " is not in the range 0 to " + std::to_string(last);
}

std::string unknownCode(const char* what, int keyCode) {
    return std::string(what) + std::to_string(keyCode) + " is a key code that the toolkit has no key for";
}

int highByteOf(const CANRemoteOptions& layout) {
    return layout.encoderLittleEndian ? layout.encoderByteIndex + 1 : layout.encoderByteIndex - 1;
}

// Whether the key's bit belongs to the encoder's position.
bool isEncoders(const KeyOptionsCANRemote& key, const CANRemoteOptions& layout) {
    if (!hasEncoder(layout) || static_cast<std::uint32_t>(key.canId) != layout.encoderCANId)
        return false;
    const std::uint32_t bit = 1U << key.bitIndex;
    return (key.byteIndex == layout.encoderByteIndex && (layout.encoderMask & bit) != 0) ||
           (key.byteIndex == highByteOf(layout) && (layout.encoderMask & bit << 8) != 0);
}

bool isSameBit(const KeyOptionsCANRemote& one, const KeyOptionsCANRemote& other) {
    return one.canId == other.canId && one.byteIndex == other.byteIndex && one.bitIndex == other.bitIndex;
}

Finding checkPlace(const KeyOptionsCANRemote& key) {
    if (isOutside(key.byteIndex, lastByte))
        return notInRange("byte", key.byteIndex, lastByte);
    if (isOutside(key.bitIndex, lastBit))
        return notInRange("bit", key.bitIndex, lastBit);
    if (key.canId < 0 || key.canId > static_cast<int>(CanBus::extendedIdentifierBits))
        return "identifier " + hexadecimal(static_cast<std::uint32_t>(key.canId)) + " has more than 29 bits";
    return std::nullopt;
}

Finding checkKey(const CANRemoteOptions& layout, int entry, const ToolkitKeys& toolkitKeys) {
    const KeyOptionsCANRemote& key = layout.keys[entry];
    if (key.keyNumber < 1 || key.keyNumber > keyCount)
        return "its number is not in the range 1 to " + std::to_string(keyCount);
    if (Finding wrong = checkPlace(key))
        return wrong;
    if (toolkitKeys.count(key.keyCode) == 0)
        return unknownCode("code ", key.keyCode);
    for (int i = 0; i < entry; ++i) {
        const KeyOptionsCANRemote& earlier = layout.keys[i];
        if (!isUsed(earlier))
            continue;
        if (earlier.keyNumber == key.keyNumber)
            return "it is there twice";
        if (isSameBit(earlier, key))
            return "its bit is that of key " + std::to_string(earlier.keyNumber);
    }
    if (isEncoders(key, layout))
        return "its bit is one of the encoder's position";
    return std::nullopt;
}

// The position must be contiguous bits: a gap would make it leap. With fewer than four bits every step looks like
// a wrap.
Finding checkMask(std::uint32_t mask) {
    const std::uint32_t lowestBit = mask & (~mask + 1);
    const bool isRun = mask != 0 && mask <= 0xFFFF && ((mask + lowestBit) & mask) == 0;
    if (!isRun)
        return "mask " + hexadecimal(mask) + " is not a run of bits within FFFF";
    if (mask / lowestBit <= stepsAcrossWrap)
        return "mask " + hexadecimal(mask) + " has less than 4 bits";
    return std::nullopt;
}

Finding checkEncoder(const CANRemoteOptions& layout, const ToolkitKeys& toolkitKeys) {
    if (layout.encoderCANId == 0)
        return "identifier 0 is never the encoder's";
    if (layout.encoderCANId > CanBus::extendedIdentifierBits)
        return "identifier " + hexadecimal(layout.encoderCANId) + " has more than 29 bits";
    if (isOutside(layout.encoderByteIndex, lastByte))
        return notInRange("byte", layout.encoderByteIndex, lastByte);
    if (isOutside(highByteOf(layout), lastByte))
        return notInRange("the byte of its high half,", highByteOf(layout), lastByte);
    if (Finding wrong = checkMask(layout.encoderMask))
        return wrong;
    if (toolkitKeys.count(layout.encoderUpKeyCode) == 0)
        return unknownCode("up ", layout.encoderUpKeyCode);
    if (toolkitKeys.count(layout.encoderDownKeyCode) == 0)
        return unknownCode("down ", layout.encoderDownKeyCode);
    return std::nullopt;
}

} // namespace

std::optional<Problem> check(const CANRemoteOptions& layout, const ToolkitKeys& toolkitKeys) {
    if (hasEncoder(layout)) {
        if (Finding wrong = checkEncoder(layout, toolkitKeys))
            return Problem{encoderEntry, "encoder: " + *wrong};
    }
    for (int i = 0; i < keyCount; ++i) {
        if (!isUsed(layout.keys[i]))
            continue;
        if (Finding wrong = checkKey(layout, i, toolkitKeys))
            return Problem{i, "key " + std::to_string(layout.keys[i].keyNumber) + ": " + *wrong};
    }
    return std::nullopt;
}

} // namespace KX::KeyLayout
