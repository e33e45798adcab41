#pragma once

#include "events/KXKeyCode.h"

#include <cstdint>
#include <map>

namespace KX {

/// One key of a keypad on the CAN bus: its bit in a frame, and its key code.
struct KeyOptionsCANRemote {
    int keyNumber = 0; ///< the number on the keypad, for the line on standard output
    int keyCode = 0;   ///< the key code; the toolkit must have a key for it
    int byteIndex = 0; ///< data byte that holds the bit, 0 to 7
    int bitIndex = 0;  ///< bit in that byte, 0 the least significant, to 7
    int canId = 0;     ///< identifier of the frame, of 11 or 29 bits, without flags
    int pressed = 0;   ///< last state seen, 1 or 0; begins with 0
};

/// The layout of a keypad with up to 16 keys and a rotary encoder on the CAN bus.
///
/// Nothing is checked. A bit outside the frame is never pressed. A press of a key code without a toolkit key
/// crashes the program.
///
/// All 16 entries are in use. A default entry means bit 0 of byte 0 in the frame with identifier 0, and sends key
/// code 0, Escape. So give unused entries \c canId -1, which no frame has. KeyLayout::empty does that.
struct CANRemoteOptions {
    bool enabled = false;                              ///< whether to open the bus
    int encoderUpKeyCode = KX_KEY_UP;                  ///< key code of a step towards greater positions
    int encoderDownKeyCode = KX_KEY_DOWN;              ///< key code of a step towards lesser positions
    std::multimap<int, KeyOptionsCANRemote*> keyIndex; ///< leave it empty: the manager makes its own
    KeyOptionsCANRemote keys[16];                      ///< all 16 are listened for
    std::uint32_t encoderCANId = 0;     ///< identifier, as canId; a frame with identifier 0 is never the encoder's
    std::uint8_t encoderByteIndex = 0;  ///< data byte with the low half of the position
    std::uint8_t endPointSetting = 0;   ///< for KXCANRaw::configure, whose driver defines what it means
    std::uint32_t encoderMask = 0xFFFF; ///< bits of the position that count; the position wraps there
    bool encoderLittleEndian = true;    ///< true: the high half is the next byte; false: the byte before
};

} // namespace KX
