#pragma once

namespace KX {

/// What an event says in its \c eventClass.
enum EventClass : int {
    EVENT_CLASS = 0,
    INCIDENT_CLASS = 1,
    TOOLKIT_EVENT_CLASS = 2,
    INPUT_EVENT_CLASS = 3,
    NAVIGATION_EVENT_CLASS = 4,
    TRIGGER_CLASS = 5,
    SIGNAL_CLASS = 6,
    SOME_EVENT_CLASS = 7,
};

} // namespace KX
