#include "events/EventParts.h"

#include "events/DiagnosticLine.h"

#include <iostream>
#include <typeinfo>

namespace KX {

namespace {

// Sets part and returns true if the event is exactly a Class.
template<class Class, class Part>
bool findPart(KXEvent& event, Part*& part) {
    if (&typeid(event) != &typeid(Class))
        return false;
    Class& object = *static_cast<Class*>(dynamic_cast<void*>(&event));
    part = &static_cast<Part&>(object);
    return true;
}

// Nearly every event is exactly a Part or one of Derived. Only the others need a checked cast through the diamond.
template<class Part, class... Derived>
Part* claimedPart(KXEvent& event) {
    Part* part = nullptr;
    if (findPart<Part>(event, part) || (findPart<Derived>(event, part) || ...))
        return part;
    return &dynamic_cast<Part&>(event);
}

[[gnu::noinline]] void reportUnknownClass(int eventClass) {
    writeLine(std::cerr, {"KXSomeEvent(KXEvent &): ERRROR - created from unknown event class ", eventClass});
}

} // namespace

// The class number decides: an object of an application's derived class travels as the class that it claims. The
// casts check that the object has the part of that class.
EventParts partsOf(KXEvent& event) {
    EventParts parts;
    parts.sourceClass = event.eventClass;
    switch (event.eventClass) {
    case EVENT_CLASS: break;
    case INCIDENT_CLASS: claimedPart<KXIncident, KXSomeEvent>(event); break;
    case TOOLKIT_EVENT_CLASS: parts.input = claimedPart<KXToolkitEvent, KXSomeEvent>(event); break;
    case INPUT_EVENT_CLASS: parts.input = claimedPart<KXInputEvent, KXToolkitEvent, KXSomeEvent>(event); break;
    case NAVIGATION_EVENT_CLASS: claimedPart<KXNavigationEvent, KXSomeEvent>(event); break;
    case TRIGGER_CLASS: claimedPart<KXTrigger, KXSomeEvent>(event); break;
    case SIGNAL_CLASS: parts.signal = claimedPart<KXSignal, KXSomeEvent>(event); break;
    case SOME_EVENT_CLASS: {
        const KXSomeEvent* const holder = claimedPart<KXSomeEvent>(event);
        parts.input = holder;
        parts.signal = holder;
        parts.sourceClass = holder->sourceClass;
        break;
    }
    default: reportUnknownClass(event.eventClass); parts.isKnownClass = false;
    }
    return parts;
}

} // namespace KX
