#pragma once

#include "events/KXEvent.h"

#include <cstring>

namespace KX {

// The parts of an event that travel through a queue. Assigning whole events would take their flags along, and
// in a diamond would assign the shared parts once for every path that leads to them.

// The compiler calls a function for what std::copy does with a range, even where it knows how long that is.
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
