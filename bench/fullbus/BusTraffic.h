#pragma once

#include "events/KXCANMessage.h"
#include "input/CANRemoteOptions.h"

#include <cstdint>
#include <map>

/// What happens on a full bus: frame by frame, the same in the process that sends and in the one that checks.
///
/// 1,900 extended frames of 8 bytes a second fill a bus of 250 kbit/s. Every twentieth, and so the last one of
/// each second, is the keypad's: in turn one whose keys changed and one whose encoder moved up by a step. Each
/// frame carries its number, so a lost one is noticed whosever it was.
namespace BusTraffic {

constexpr std::uint32_t framesPerSecond = 1900;

KX::KXCANMessage makeFrame(std::uint32_t number);

/// The number in the data of a frame.
std::uint32_t getNumber(const unsigned char* data);

/// How many of the first frames report a key, each a press or a release in turn.
std::uint32_t countKeyFrames(std::uint32_t frames);

/// How many of the first frames report a step of the encoder.
std::uint32_t countEncoderFrames(std::uint32_t frames);

/// Which key code the key frame of this number, counted from 0, changes.
int getKeyCode(std::uint32_t keyFrame);

bool isPress(std::uint32_t keyFrame);

/// The keypad as the library is to know it.
KX::CANRemoteOptions makeLayout();

/// The toolkit's keys for its key codes.
std::map<int, int> makeKeyMapping();

} // namespace BusTraffic
