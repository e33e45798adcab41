#pragma once

#include "events/KXEvent.h"

#include <cstring>

namespace KX {

// Queues copy these fields. Assigning whole events would also copy the flags, and would assign the shared bases
// once for each path through the diamond.

// std::copy compiles to a function call, even for a range of constant length.
template<class Words>
void copyWords(Words& to, const Words& from) {
    std::memcpy(&to, &from, sizeof(Words));
}

inline void copyEventFields(KXEvent& to, const KXEvent& from) {
    to.KXEvent::operator=(from);
}

inline void copyInputFields(KXInputEvent& to, const KXInputEvent& from) {
    to.keyCode = from.keyCode;
    to.osKeyCode = from.osKeyCode;
    to.inputValue = from.inputValue;
    copyWords(to.inputData, from.inputData);
}

} // namespace KX
