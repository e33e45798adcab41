#pragma once

#include <array>
#include <cstdint>

namespace KX {

class KXEvent;
class KXSomeEvent;

/// One event as it travels through a pipe: the image that a KXSomeEvent has in the memory of a 32-bit
/// little-endian machine, but the same bytes on every machine. Slots of type tables, flags and padding are
/// written as 0 and skipped when read.
using EventRecord = std::array<std::uint8_t, 136>;

/// The record of the holder that would be made from \p event, without making the holder: that saves a tenth of a post.
/// \throws std::bad_cast  the event claims a class that it is not
EventRecord encodeEvent(KXEvent& event);

/// Puts the fields of a record into \p event, which keeps its flags and its own type tables.
void decodeEvent(const EventRecord& record, KXSomeEvent& event);

} // namespace KX
