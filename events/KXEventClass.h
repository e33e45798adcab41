#pragma once

namespace KX {

/// Which class of the event family an event says it is, in its \c eventClass.
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
