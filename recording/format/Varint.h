#pragma once

#include <cstdint>

namespace KX::Recording {

/// Numbers as one to ten bytes, seven bits each, the least significant first. Small numbers are short.
inline std::uint8_t* packNumber(std::uint64_t number, std::uint8_t* bytes) {
    for (; number >= 0x80; number >>= 7)
        *bytes++ = static_cast<std::uint8_t>(number | 0x80);
    *bytes++ = static_cast<std::uint8_t>(number);
    return bytes;
}

/// \param bytes  moved behind the number
inline std::uint64_t unpackNumber(const std::uint8_t*& bytes) {
    std::uint64_t number = 0;
    for (unsigned int shift = 0;; shift += 7) {
        const std::uint8_t byte = *bytes++;
        number |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
        if (byte < 0x80)
            return number;
    }
}

/// Signed numbers near 0 are short, too.
inline std::uint64_t foldSign(std::int64_t number) {
    return (static_cast<std::uint64_t>(number) << 1) ^ static_cast<std::uint64_t>(number >> 63);
}

inline std::int64_t unfoldSign(std::uint64_t folded) {
    return static_cast<std::int64_t>(folded >> 1) ^ -static_cast<std::int64_t>(folded & 1);
}

} // namespace KX::Recording
