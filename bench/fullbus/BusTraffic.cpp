#include "bench/fullbus/BusTraffic.h"

#include <Qt>

#include <cstring>

namespace BusTraffic {

namespace {

constexpr std::uint32_t extendedFlag = 0x80000000;
constexpr std::uint32_t keysId = 0x18FF0001;
constexpr std::uint32_t encoderId = 0x18FF0002;
constexpr std::uint32_t othersId = 0x0CF00400;

constexpr std::uint32_t framesPerKeypadFrame = 20;
constexpr std::uint32_t keyCount = 16;
constexpr int firstKeyCode = 100;
constexpr std::size_t numberIndex = 4;

bool isKeypads(std::uint32_t number) {
    return number % framesPerKeypadFrame == framesPerKeypadFrame - 1;
}

void storeLittleEndian(std::uint32_t value, unsigned char* data) {
    data[0] = static_cast<unsigned char>(value & 0xFF);
    data[1] = static_cast<unsigned char>(value >> 8 & 0xFF);
}

} // namespace

KX::KXCANMessage makeFrame(std::uint32_t number) {
    KX::KXCANMessage frame;
    std::memcpy(frame.canData + numberIndex, &number, sizeof(number));
    frame.canId = (othersId + number % framesPerKeypadFrame) | extendedFlag;
    if (!isKeypads(number)) {
        return frame;
    }
    const std::uint32_t keypadFrame = number / framesPerKeypadFrame;
    const std::uint32_t turn = keypadFrame / 2;
    if (keypadFrame % 2 == 0) {
        frame.canId = keysId | extendedFlag;
        // One key at a time: its bit is set by a press and cleared again by its release.
        storeLittleEndian(isPress(turn) ? 1U << (turn / 2 % keyCount) : 0, frame.canData);
    } else {
        frame.canId = encoderId | extendedFlag;
        storeLittleEndian(turn + 1, frame.canData);
    }
    return frame;
}

std::uint32_t getNumber(const unsigned char* data) {
    std::uint32_t number = 0;
    std::memcpy(&number, data + numberIndex, sizeof(number));
    return number;
}

std::uint32_t countKeyFrames(std::uint32_t frames) {
    return (frames / framesPerKeypadFrame + 1) / 2;
}

std::uint32_t countEncoderFrames(std::uint32_t frames) {
    return frames / framesPerKeypadFrame / 2;
}

int getKeyCode(std::uint32_t keyFrame) {
    return firstKeyCode + static_cast<int>(keyFrame / 2 % keyCount);
}

bool isPress(std::uint32_t keyFrame) {
    return keyFrame % 2 == 0;
}

KX::CANRemoteOptions makeLayout() {
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

std::map<int, int> makeKeyMapping() {
    std::map<int, int> mapping;
    for (int i = 0; i < static_cast<int>(keyCount); ++i) {
        mapping[Qt::Key_F1 + i] = firstKeyCode + i;
    }
    return mapping;
}

} // namespace BusTraffic
