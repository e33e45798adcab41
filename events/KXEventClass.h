#pragma once

namespace KX {

/// The values of \c eventClass: the class that an event claims to be.
enum KXEventClass : int {
    EVENT_CLASS = 0,            ///< KXEvent
    INCIDENT_CLASS = 1,         ///< KXIncident
    TOOLKIT_EVENT_CLASS = 2,    ///< KXToolkitEvent
    INPUT_EVENT_CLASS = 3,      ///< KXInputEvent
    NAVIGATION_EVENT_CLASS = 4, ///< KXNavigationEvent
    TRIGGER_CLASS = 5,          ///< KXTrigger
    SIGNAL_CLASS = 6,           ///< KXSignal
    SOME_EVENT_CLASS = 7,       ///< KXSomeEvent, a holder that was not made from another event
};

} // namespace KX
