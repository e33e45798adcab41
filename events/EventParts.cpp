#include "events/EventParts.h"

#include <typeinfo>

namespace KX {

namespace {

// Whether an event is exactly of a class, and then where its part is.
template<class Class, class Part>
bool findPart(KXEvent& event, Part*& part) {
    if (&typeid(event) != &typeid(Class))
        return false;
    part = static_cast<Class*>(dynamic_cast<void*>(&event));
    return true;
}

// The part that an event claims to have. Nearly every event is exactly of the class that it claims, or of one of those
// derived from it here. Then the part is found at once, without the search of a checked cast through the diamond.
template<class Part, class... Derived>
Part* claimedPart(KXEvent& event) {
    Part* part = nullptr;
    if (findPart<Part>(event, part) || (findPart<Derived>(event, part) || ...))
        return part;
    return &dynamic_cast<Part&>(event);
}

} // namespace

// The number decides, so an object of a class derived by the application travels as what it says it is. The casts make
// sure that it really has the part that is read.
EventParts partsOf(KXEvent& event) {
    EventParts parts;
    parts.sourceClass = event.eventClass;
    switch (event.eventClass) {
    case EVENT_CLASS:
        break;
    case INCIDENT_CLASS:
        claimedPart<KXIncident, KXSomeEvent>(event);
        break;
    case TOOLKIT_EVENT_CLASS:
        parts.input = claimedPart<KXToolkitEvent, KXSomeEvent>(event);
        break;
    case INPUT_EVENT_CLASS:
        parts.input = claimedPart<KXInputEvent, KXToolkitEvent, KXSomeEvent>(event);
        break;
    case NAVIGATION_EVENT_CLASS:
        claimedPart<KXNavigationEvent, KXSomeEvent>(event);
        break;
    case TRIGGER_CLASS:
        claimedPart<KXTrigger, KXSomeEvent>(event);
        break;
    case SIGNAL_CLASS:
        parts.signal = claimedPart<KXSignal, KXSomeEvent>(event);
        break;
    case SOME_EVENT_CLASS: {
        const KXSomeEvent* const holder = claimedPart<KXSomeEvent>(event);
        parts.input = holder;
        parts.signal = holder;
        parts.sourceClass = holder->sourceClass;
        break;
    }
    default:
        parts.isKnownClass = false;
    }
    return parts;
}

} // namespace KX
