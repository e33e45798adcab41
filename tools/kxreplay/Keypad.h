#pragma once

#include "input/CANRemoteOptions.h"

#include <memory>
#include <string>

namespace Replay {

/// Reads the layout of a keypad for the log of a CAN bus.
/// \throws BadInput
std::shared_ptr<const KX::CANRemoteOptions> readKeypad(const std::string& file);

} // namespace Replay
