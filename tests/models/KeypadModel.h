#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace KX::test {

/// A key event on its way to the toolkit: whether it is a press, and the library's key code.
struct KeyModelEvent {
    bool isPress;
    int keyCode;
};

/// The description of one key.
struct KeyLayoutModel {
    int keyNumber = 0;
    int keyCode = 0;
    int byteIndex = 0;
    int bitIndex = 0;
    int canId = 0;
};

struct KeypadLayoutModel {
    int upKeyCode = 4;
    int downKeyCode = 5;
    KeyLayoutModel keys[16];
    std::uint32_t encoderCANId = 0;
    int encoderByteIndex = 0;
    std::uint32_t encoderMask = 0xFFFF;
    bool isLittleEndian = true;
};

struct FrameModel {
    std::uint32_t canId = 0;
    unsigned char data[8] = {};
};

/// Decodes a keypad's frames with 64-bit numbers. The encoder's last position is a parameter, because all keypads
/// of a process share it.
class KeypadModel {
public:
    explicit KeypadModel(std::int64_t* theLastPosition) : lastPosition(theLastPosition) {}

    /// Replaces the layout. Frames of the old layout still reach the key at the same place.
    void take(const KeypadLayoutModel& wanted) {
        layout = wanted;
        for (int place = 0; place < 16; ++place) {
            listeners.emplace_back(wanted.keys[place].canId, place);
            isPressed[place] = false;
        }
    }

    void decode(const FrameModel& frame) {
        const std::int64_t frameId = frame.canId % 0x20000000;
        if (frame.canId != 0 && frameId == layout.encoderCANId)
            turnEncoder(positionIn(frame));
        for (const auto& [canId, place] : listeners)
            if (canId == frameId)
                lookAtKey(place, frame);
    }

    KeypadLayoutModel layout;
    std::string output;
    std::vector<KeyModelEvent> events;
    unsigned int wraps = 0;
    unsigned int turns = 0;
    unsigned int keyChanges = 0;

private:
    static std::int64_t byteOf(const FrameModel& frame, int index) {
        return index >= 0 && index <= 7 ? frame.data[index] : 0;
    }

    std::int64_t positionIn(const FrameModel& frame) const {
        const int highIndex = layout.isLittleEndian ? layout.encoderByteIndex + 1 : layout.encoderByteIndex - 1;
        const std::int64_t whole = byteOf(frame, layout.encoderByteIndex) + 256 * byteOf(frame, highIndex);
        return whole & std::int64_t{layout.encoderMask};
    }

    /// The smallest move that is a wrap; a signed number of 32 bits, whatever the mask.
    std::int64_t wrapThreshold() const {
        const std::int64_t cut = (std::int64_t{layout.encoderMask} + 0x100000000 - 9) % 0x100000000;
        return cut >= 0x80000000 ? cut - 0x100000000 : cut;
    }

    void turnEncoder(std::int64_t position) {
        const std::int64_t last = *lastPosition;
        if (position == last)
            return;
        const bool isGreater = position > last;
        const std::int64_t distance = isGreater ? position - last : last - position;
        const bool isWrap = distance >= wrapThreshold();
        const bool isUp = isGreater != isWrap;
        output += isUp ? "ENCODER UP" : "ENCODER DOWN";
        if (isWrap)
            output += isUp ? " overflow" : " underflow";
        output += ": " + std::to_string(position) + " (" + std::to_string(last) + ")\n";
        events.push_back({true, isUp ? layout.upKeyCode : layout.downKeyCode});
        *lastPosition = position % 0x10000;
        ++turns;
        wraps += isWrap;
    }

    void lookAtKey(int place, const FrameModel& frame) {
        const KeyLayoutModel& key = layout.keys[place];
        const bool isInByte = key.bitIndex >= 0 && key.bitIndex <= 7;
        bool isSet = false;
        if (isInByte)
            isSet = byteOf(frame, key.byteIndex) / (std::int64_t{1} << key.bitIndex) % 2 == 1;
        if (isSet == isPressed[place])
            return;
        isPressed[place] = isSet;
        output += "Key " + std::to_string(key.keyNumber) + ", KeyCode: " + std::to_string(key.keyCode) + ", " +
                  (isSet ? "pressed" : "released") + "\n";
        events.push_back({isSet, key.keyCode});
        ++keyChanges;
    }

    std::int64_t* lastPosition;
    std::vector<std::pair<int, int>> listeners; // identifier and place, in the order of registration
    bool isPressed[16] = {};
};

} // namespace KX::test
