#include "bench/fullbus/BusTraffic.h"

#include <Qt>

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint32_t extendedFlag = 0x80000000;
constexpr std::uint32_t keysId = 0x18FF0001;
constexpr std::uint32_t encoderId = 0x18FF0002;
constexpr std::uint32_t othersId = 0x0CF00400;

constexpr std::uint32_t framesPerKeypadFrame = 20;
constexpr std::uint32_t keyFramesInARound = 2 * BusTraffic::keyCount; // each key is pressed and released
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

BusTraffic::BusTraffic(std::uint32_t newKeysInUse) : keysInUse(newKeysInUse) {}

KX::KXCANMessage BusTraffic::makeFrame(std::uint32_t number) const {
    KX::KXCANMessage frame;
    std::memcpy(frame.canData + numberIndex, &number, sizeof(number));
    frame.canId = (othersId + number % framesPerKeypadFrame) | extendedFlag;
    if (!isKeypads(number))
        return frame;
    const std::uint32_t keypadFrame = number / framesPerKeypadFrame;
    const std::uint32_t turn = keypadFrame / 2;
    if (keypadFrame % 2 == 0) {
        frame.canId = keysId | extendedFlag;
        // One key at a time: its bit is set by a press and cleared again by its release.
        const std::uint32_t key = turn / 2 % keyCount;
        storeLittleEndian(isPress(turn) && key < keysInUse ? 1U << key : 0, frame.canData);
    } else {
        frame.canId = encoderId | extendedFlag;
        storeLittleEndian(turn + 1, frame.canData);
    }
    return frame;
}

std::uint32_t BusTraffic::getNumber(const unsigned char* data) {
    std::uint32_t number = 0;
    std::memcpy(&number, data + numberIndex, sizeof(number));
    return number;
}

std::uint32_t BusTraffic::countKeyChanges(std::uint32_t frames) const {
    const std::uint32_t keyFrames = (frames / framesPerKeypadFrame + 1) / 2;
    const std::uint32_t changesInARound = 2 * keysInUse;
    return keyFrames / keyFramesInARound * changesInARound +
           std::min(keyFrames % keyFramesInARound, changesInARound);
}

std::uint32_t BusTraffic::countEncoderFrames(std::uint32_t frames) {
    return frames / framesPerKeypadFrame / 2;
}

int BusTraffic::getKeyCode(std::uint32_t keyChange) const {
    return firstKeyCode + static_cast<int>(keyChange / 2 % keysInUse);
}

bool BusTraffic::isPress(std::uint32_t keyChange) {
    return keyChange % 2 == 0;
}

KX::CANRemoteOptions BusTraffic::makeLayout() {
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

std::map<int, int> BusTraffic::makeKeyMapping() {
    std::map<int, int> mapping;
    for (int i = 0; i < static_cast<int>(keyCount); ++i)
        mapping[Qt::Key_F1 + i] = firstKeyCode + i;
    return mapping;
}
