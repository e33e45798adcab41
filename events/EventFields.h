#pragma once

#include "events/KXEvent.h"

#include <algorithm>
#include <iterator>

namespace KX {

// The parts of an event that travel through a queue. Assigning whole events would take their flags along, and
// in a diamond would assign the shared parts once for every path that leads to them.

inline void copyEventFields(KXEvent& to, const KXEvent& from) {
    to.KXEvent::operator=(from);
}

inline void copyInputFields(KXInputEvent& to, const KXInputEvent& from) {
    to.keyCode = from.keyCode;
    to.osKeyCode = from.osKeyCode;
    to.inputValue = from.inputValue;
    std::copy(std::begin(from.inputData), std::end(from.inputData), std::begin(to.inputData));
}

} // namespace KX
