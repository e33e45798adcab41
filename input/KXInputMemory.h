#pragma once

#include <cstdint>

namespace KX {

/// What the input event manager remembers of earlier input and can still influence what later input becomes.
struct KXInputMemory {
    bool isPressPending = false;     ///< a press that may become long, or a long press without its release
    bool isBundleOpen = false;       ///< of encoder steps
    bool hasPress = false;           ///< whether there was a press; a next one may pair with it
    unsigned int pressTimeStamp = 0; ///< of that press
    unsigned int doublePressMs = 0;
    std::uint64_t stepTimeStamp = 0; ///< of the last encoder step; 0: none
    unsigned int restartGapMs = 0;   ///< the encoder restarts after a longer step
};

} // namespace KX
