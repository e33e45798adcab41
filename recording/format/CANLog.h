#pragma once

#include "platform/KXCANMessage.h"
#include "recording/KXCANIdentifier.h"

#include <chrono>
#include <string>
#include <string_view>

namespace KX::CanBus {

/// Frames as text, in the notation of can-utils:
///
///     18FF0001#0102030405060708   eight hexadecimal digits of identifier: an extended one (29 bits)
///     123#01.02                   three digits: a standard one (11 bits); dots may stand between bytes
///     123#R4                      a remote frame that asks for 4 bytes; none without a number
///     20000004#0004000000000000   an error frame, as a bus driver reports it: eight digits, bit 29 set
///
/// Parsing a formatted text gives the same again. Formatting a parsed text also does, if the text is in upper case
/// and has no dots, extra blanks or "R0".

/// One line of a log: `(1436509052.249713) can0 18FF0001#0102`. Some logs add ` R` or ` T`.
struct CANLogLine {
    std::chrono::microseconds time{0}; ///< since the epoch of the log; from 0 to below 10^12 s
    std::string bus;                   ///< the interface that received the frame; no blanks
    KXCANMessage frame;                ///< canId with its flags, canAux 0
    char direction = '\0';             ///< 'R' received, 'T' sent, '\0' not in the log
};

/// \throws std::runtime_error  the text is not a frame, or a frame of CAN FD; the message says why in one line
KXCANMessage parseCANFrame(std::string_view text);

/// \param frame  canLength at most 8, canId within the bits of its kind
std::string formatCANFrame(const KXCANMessage& frame);

/// \param text  without its line end; surrounding blanks are ignored
/// \throws std::runtime_error  the text is not a line of a log; the message says why in one line
CANLogLine parseCANLogLine(std::string_view text);

std::string formatCANLogLine(const CANLogLine& line);

/// Whether a line of a log has no content: it is empty or a comment, which begins with #.
bool isCANLogComment(std::string_view text);

} // namespace KX::CanBus
