#pragma once

#include "input/CANRemoteOptions.h"
#include "platform/KXCANMessage.h"

#include <Qt>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>

namespace Bench {

/// What happens on a full bus: frame by frame, the same in the process that sends and in the one that checks.
///
/// 1,900 extended frames of 8 bytes a second fill a bus of 250 kbit/s. Every twentieth, and so the last one of each
/// second, is the keypad's: in turn one with its keys and one whose encoder moved up by a step. The keys in use are
/// pressed and released one after the other; the others have their turn, too, but stay as they are. Each frame carries
/// its number, so a lost one is noticed whosever it was.
class BusTraffic {
public:
    static constexpr std::uint32_t framesPerSecond = 1900;
    static constexpr std::uint32_t keyCount = 16;

    explicit BusTraffic(std::uint32_t newKeysInUse) : keysInUse(newKeysInUse) {}

    KX::KXCANMessage makeFrame(std::uint32_t number) const {
        KX::KXCANMessage frame;
        std::memcpy(frame.canData + numberIndex, &number, sizeof number);
        frame.canId = (othersId + number % framesPerKeypadFrame) | extendedFlag;
        if (number % framesPerKeypadFrame != framesPerKeypadFrame - 1)
            return frame;
        const std::uint32_t keypadFrame = number / framesPerKeypadFrame;
        const std::uint32_t turn = keypadFrame / 2;
        std::uint32_t value = turn + 1; // the encoder's
        if (keypadFrame % 2 == 0) {
            // One key at a time: its bit is set by a press and cleared again by its release.
            const std::uint32_t key = turn / 2 % keyCount;
            value = isPress(turn) && key < keysInUse ? 1U << key : 0;
        }
        frame.canId = (keypadFrame % 2 == 0 ? keysId : encoderId) | extendedFlag;
        frame.canData[0] = static_cast<unsigned char>(value & 0xFF);
        frame.canData[1] = static_cast<unsigned char>(value >> 8 & 0xFF);
        return frame;
    }

    static std::uint32_t getNumber(const unsigned char* data) {
        std::uint32_t number = 0;
        std::memcpy(&number, data + numberIndex, sizeof number);
        return number;
    }

    /// How many presses and releases of keys are in the first frames.
    std::uint32_t countKeyChanges(std::uint32_t frames) const {
        const std::uint32_t keyFrames = (frames / framesPerKeypadFrame + 1) / 2;
        const std::uint32_t keyFramesInARound = 2 * keyCount;
        const std::uint32_t changesInARound = 2 * keysInUse;
        return keyFrames / keyFramesInARound * changesInARound +
               std::min(keyFrames % keyFramesInARound, changesInARound);
    }

    static std::uint32_t countEncoderFrames(std::uint32_t frames) { return frames / framesPerKeypadFrame / 2; }

    /// Which key code the change of this number, counted from 0, is about.
    int getKeyCode(std::uint32_t keyChange) const {
        return firstKeyCode + static_cast<int>(keyChange / 2 % keysInUse);
    }

    static bool isPress(std::uint32_t keyChange) { return keyChange % 2 == 0; }

    /// The keypad as the library is to know it.
    static KX::CANRemoteOptions makeLayout() {
        KX::CANRemoteOptions options;
        options.enabled = true;
        options.encoderCANId = encoderId;
        for (int i = 0; i < static_cast<int>(keyCount); ++i) {
            options.keys[i].keyNumber = i + 1;
            options.keys[i].keyCode = firstKeyCode + i;
            options.keys[i].byteIndex = i / 8;
            options.keys[i].bitIndex = i % 8;
            options.keys[i].canId = static_cast<int>(keysId);
        }
        return options;
    }

    static std::map<int, int> makeKeyMapping() {
        std::map<int, int> mapping;
        for (int i = 0; i < static_cast<int>(keyCount); ++i)
            mapping[Qt::Key_F1 + i] = firstKeyCode + i;
        return mapping;
    }

private:
    static constexpr std::uint32_t extendedFlag = 0x80000000;
    static constexpr std::uint32_t keysId = 0x18FF0001;
    static constexpr std::uint32_t encoderId = 0x18FF0002;
    static constexpr std::uint32_t othersId = 0x0CF00400;
    static constexpr std::uint32_t framesPerKeypadFrame = 20;
    static constexpr int firstKeyCode = 100;
    static constexpr std::size_t numberIndex = 4;

    std::uint32_t keysInUse; // 1 to keyCount
};

} // namespace Bench
