#pragma once

#include "events/KXSomeEvent.h"

namespace KX {

/// The parts of an event that a holder or a record takes over. The class that the event claims selects them.
struct EventParts {
    bool isKnownClass = true; ///< if false, only the type is taken over
    int sourceClass;          ///< class number of the event that was first put into a holder
    const KXInputEvent* input = nullptr;
    const KXSignal* signal = nullptr;
};

/// Reports an unknown class number on standard error.
/// \throws std::bad_cast  the event claims a class that it is not
EventParts partsOf(KXEvent& event);

} // namespace KX
