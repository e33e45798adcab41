#pragma once

#include <array>
#include <cstdint>

namespace KX {

class KXEvent;
class KXSomeEvent;

/// One event in a pipe, the same bytes on every machine: the memory image of a KXSomeEvent on a 32-bit
/// little-endian one. Slots of virtual tables, flags and padding are written as 0 and skipped when read.
using EventRecord = std::array<std::uint8_t, 136>;

/// Encodes \p event like a holder made from it, without making the holder.
/// \throws std::bad_cast  the event claims a class that it is not
EventRecord encodeEvent(KXEvent& event);

/// Puts the fields of a record into \p event. The flags of \p event stay.
void decodeEvent(const EventRecord& record, KXSomeEvent& event);

} // namespace KX
