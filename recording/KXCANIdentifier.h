#pragma once

#include <cstdint>

/// The bits of KXCANMessage::canId.
namespace KX::CanBus {

constexpr std::uint32_t extendedFlag = 0x80000000; ///< the identifier has 29 bits; without this flag 11
constexpr std::uint32_t remoteFlag = 0x40000000;   ///< a remote frame: it asks for data and has none
constexpr std::uint32_t errorFlag = 0x20000000;    ///< an error frame, which the bus driver makes

constexpr std::uint32_t extendedIdentifierBits = 0x1FFFFFFF; ///< of an identifier of 29 bits
constexpr std::uint32_t standardIdentifierBits = 0x7FF;      ///< of an identifier of 11 bits

} // namespace KX::CanBus
