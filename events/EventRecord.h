#pragma once

#include <array>
#include <cstdint>

namespace KX {

class KXSomeEvent;

/// One event as it travels through a pipe: the image that a KXSomeEvent has in the memory of a 32-bit
/// little-endian machine, but the same bytes on every machine. Slots of type tables, flags and padding are
/// written as 0 and skipped when read.
using EventRecord = std::array<std::uint8_t, 136>;

EventRecord encodeEvent(const KXSomeEvent& event);

/// Puts the fields of a record into \p event, which keeps its flags and its own type tables.
void decodeEvent(const EventRecord& record, KXSomeEvent& event);

} // namespace KX
