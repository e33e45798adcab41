#pragma once

#include "events/KXEvent.h"

#include <string>
#include <string_view>

/// Toolkit events as words: `TOOLKIT_KEY_PRESS_EVENT time=8933600 os=0x1000000`. Fields with their default value
/// are left out.
namespace Recording {

/// \param tick  the default of the time stamp
std::string formatToolkitEvent(const KX::KXToolkitEvent& event, unsigned int tick);

/// \param unknown  set to an unknown word, which is ignored
/// \throws std::runtime_error  the problem, in one line
KX::KXToolkitEvent parseToolkitEvent(std::string_view words, unsigned int tick, std::string& unknown);

} // namespace Recording
