#pragma once

#include "events/KXSomeEvent.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Events as words, `TOOLKIT_KEY_PRESS_EVENT time=8933600 os=0x1000000`, and packed for the memory. Fields with their
/// default value are left out.
///
/// \c Event is KXToolkitEvent, KXInputEvent or KXSomeEvent, which stands for an event of any class.
namespace KX::Recording {

/// Appends the words to \p text.
/// \param tick  the default of the time stamp
template<class Event>
void formatEvent(const Event& event, unsigned int tick, std::string& text);

/// \param unknown  set to an unknown word, which is ignored
/// \throws std::runtime_error  the problem, in one line
template<class Event>
Event parseEvent(std::string_view words, unsigned int tick, std::string& unknown);

/// An event needs at most this many bytes.
constexpr std::size_t mostPackedBytes = 160;

/// \return where the packed bytes end
template<class Event>
std::uint8_t* packEvent(const Event& event, unsigned int tick, std::uint8_t* bytes);

/// \param bytes  moved behind the event
template<class Event>
Event unpackEvent(unsigned int tick, const std::uint8_t*& bytes);

} // namespace KX::Recording
