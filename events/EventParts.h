#pragma once

#include "events/KXSomeEvent.h"

namespace KX {

/// What an event carries into a holder or a record, by the class that it claims.
struct EventParts {
    bool isKnownClass = true; ///< else only the type is carried
    int sourceClass;          ///< class number of the event that was first put into a holder
    const KXInputEvent* input = nullptr;
    const KXSignal* signal = nullptr;
};

/// \throws std::bad_cast  the event claims a class that it is not
EventParts partsOf(KXEvent& event);

} // namespace KX
