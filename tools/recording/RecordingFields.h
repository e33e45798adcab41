#pragma once

#include "events/KXEvent.h"

#include <string>
#include <string_view>

/// Toolkit events as words: `TOOLKIT_KEY_PRESS_EVENT time=8933600 os=0x1000000`. A field that has its default is
/// left out.
namespace Recording {

/// \param tick  default of the time stamp
std::string formatToolkitEvent(const KX::KXToolkitEvent& event, unsigned int tick);

/// \param unknown  set to a word that is not known; it does not count
/// \throws std::runtime_error  in one line
KX::KXToolkitEvent parseToolkitEvent(std::string_view words, unsigned int tick, std::string& unknown);

} // namespace Recording
