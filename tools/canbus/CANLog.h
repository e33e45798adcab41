#pragma once

#include "platform/KXCANMessage.h"

#include <chrono>
#include <string>
#include <string_view>

namespace CanBus {

/// Frames as text, in the notation of can-utils:
///
///     18FF0001#0102030405060708   eight hexadecimal digits of identifier: an extended one (29 bits)
///     123#01.02                   three digits: a standard one (11 bits); dots may stand between bytes
///     123#R4                      a remote frame that asks for 4 bytes; none without a number
///     20000004#0004000000000000   an error frame, as a bus driver reports it: eight digits, bit 29 set
///
/// Parsing and formatting are inverse to each other: what was formatted is parsed into the same again, and a
/// text in upper case without dots, blanks in excess or "R0" comes back as it was.

/// One line of a log: `(1436509052.249713) can0 18FF0001#0102`, with ` R` or ` T` behind it in some.
struct CANLogLine {
    std::chrono::microseconds time{0}; ///< since an epoch that is the log's business; 0 to below 10^12 s
    std::string bus;                   ///< the interface on which the frame was seen; no blanks
    KX::KXCANMessage frame;            ///< canId with its flags, canAux 0
    char direction = '\0';             ///< 'R' received, 'T' sent, or '\0' where the log does not tell
};

/// \throws std::runtime_error  the text is no frame; the message says on one line why. CAN FD is refused
KX::KXCANMessage parseCANFrame(std::string_view text);

/// \param frame  canLength at most 8, canId within the bits of its kind
std::string formatCANFrame(const KX::KXCANMessage& frame);

/// \param text  without its line end; blanks around it do not matter
/// \throws std::runtime_error  the text is no line of a log; the message says on one line why
CANLogLine parseCANLogLine(std::string_view text);

std::string formatCANLogLine(const CANLogLine& line);

/// Whether a line of a log says nothing: it is empty or a comment, which begins with #.
bool isCANLogComment(std::string_view text);

} // namespace CanBus
