#pragma once

#include <cstdint>

/// The frames that the library takes from its bus, seen where it takes them: at its calls of recv.
namespace FrameCount {

/// Frames taken.
std::uint32_t get();

/// Frames that did not bear the number that follows that of their predecessor.
std::uint32_t getOutOfOrder();

} // namespace FrameCount
