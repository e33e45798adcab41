#pragma once

#include "input/CANRemoteOptions.h"
#include "platform/KXCANMessage.h"

#include <cstdint>
#include <map>

/// What happens on a full bus: frame by frame, the same in the process that sends and in the one that checks.
///
/// 1,900 extended frames of 8 bytes a second fill a bus of 250 kbit/s. Every twentieth, and so the last one of
/// each second, is the keypad's: in turn one with its keys and one whose encoder moved up by a step. The keys in use
/// are pressed and released one after the other; the others have their turn, too, but stay as they are. Each frame
/// carries its number, so a lost one is noticed whosever it was.
class BusTraffic {
public:
    static constexpr std::uint32_t framesPerSecond = 1900;
    static constexpr std::uint32_t keyCount = 16;

    /// \param newKeysInUse  1 to \ref keyCount
    explicit BusTraffic(std::uint32_t newKeysInUse);

    KX::KXCANMessage makeFrame(std::uint32_t number) const;

    /// The number in the data of a frame.
    static std::uint32_t getNumber(const unsigned char* data);

    /// How many keys change in the first frames, each a press or a release in turn.
    std::uint32_t countKeyChanges(std::uint32_t frames) const;

    /// How many of the first frames report a step of the encoder.
    static std::uint32_t countEncoderFrames(std::uint32_t frames);

    /// Which key code the change of this number, counted from 0, is about.
    int getKeyCode(std::uint32_t keyChange) const;

    static bool isPress(std::uint32_t keyChange);

    /// The keypad as the library is to know it.
    static KX::CANRemoteOptions makeLayout();

    /// The toolkit's keys for its key codes.
    static std::map<int, int> makeKeyMapping();

private:
    std::uint32_t keysInUse;
};
