#include "events/KXSomeEvent.h"

#include "events/DiagnosticLine.h"
#include "events/EventFields.h"
#include "events/KXEventClass.h"

#include <iostream>
#include <typeinfo>

// Copying is defined here and not left to each user's compiler, so that what a copy carries is part of the
// library and a program built against an older header agrees with it.
//
// The whole family stands in one source, so that building, copying and destroying a holder is one function each
// and not a call for every part of it: queues do little else.

namespace KX {

KXEvent::KXEvent() {
    eventClass = EVENT_CLASS;
}
KXEvent::KXEvent(const KXEvent& other) = default;
KXEvent& KXEvent::operator=(const KXEvent& other) = default;
KXEvent::~KXEvent() = default;

KXIncident::KXIncident() {
    eventClass = INCIDENT_CLASS;
}
KXIncident::KXIncident(const KXIncident& other) = default;
KXIncident& KXIncident::operator=(const KXIncident& other) = default;
KXIncident::~KXIncident() = default;

KXInputEvent::KXInputEvent() {
    eventClass = INPUT_EVENT_CLASS;
}
KXInputEvent::KXInputEvent(const KXInputEvent& other) = default;
KXInputEvent& KXInputEvent::operator=(const KXInputEvent& other) = default;
KXInputEvent::~KXInputEvent() = default;

KXToolkitEvent::KXToolkitEvent() {
    eventClass = TOOLKIT_EVENT_CLASS;
}
KXToolkitEvent::KXToolkitEvent(const KXToolkitEvent& other) = default;
KXToolkitEvent& KXToolkitEvent::operator=(const KXToolkitEvent& other) = default;
KXToolkitEvent::~KXToolkitEvent() = default;

KXNavigationEvent::KXNavigationEvent() {
    eventClass = NAVIGATION_EVENT_CLASS;
}
KXNavigationEvent::KXNavigationEvent(const KXNavigationEvent& other) = default;
KXNavigationEvent& KXNavigationEvent::operator=(const KXNavigationEvent& other) = default;
KXNavigationEvent::~KXNavigationEvent() = default;

KXTrigger::KXTrigger() {
    eventClass = TRIGGER_CLASS;
}
KXTrigger::KXTrigger(const KXTrigger& other) = default;
KXTrigger& KXTrigger::operator=(const KXTrigger& other) = default;
KXTrigger::~KXTrigger() = default;

KXSignal::KXSignal() {
    eventClass = SIGNAL_CLASS;
}
KXSignal::KXSignal(const KXSignal& other) = default;
KXSignal& KXSignal::operator=(const KXSignal& other) = default;
KXSignal::~KXSignal() = default;

namespace {

// Whether an event is exactly of a class, and then where its part is.
template<class Class, class Part>
bool findPartOf(KXEvent& event, Part*& part) {
    if (&typeid(event) != &typeid(Class))
        return false;
    part = static_cast<Class*>(dynamic_cast<void*>(&event));
    return true;
}

// The part that an event claims to have. Nearly every event is exactly of the class that it claims, or of one of those
// derived from it here: then the part is found at once, without the search of a checked cast through the diamond.
template<class Part, class... Derived>
Part& partOf(KXEvent& event) {
    Part* part = nullptr;
    if (findPartOf<Part>(event, part) || (findPartOf<Derived>(event, part) || ...))
        return *part;
    return dynamic_cast<Part&>(event);
}

[[gnu::noinline]] void reportUnknownClass(int eventClass) {
    writeLine(std::cerr, {"KXSomeEvent(KXEvent &): ERRROR - created from unknown event class ", eventClass});
}

} // namespace

KXSomeEvent::KXSomeEvent() {
    eventClass = SOME_EVENT_CLASS;
}

KXSomeEvent::KXSomeEvent(KXEvent& source) : sourceClass(source.eventClass) {
    // As a whole, and not the class apart, since that is how a copy reads it: a processor waits for what it is to read
    // when that was written in pieces.
    copyEventFields(*this, source);

    // The number decides, so that an object of a class derived by the application travels as what it says it
    // is; the casts make sure that it really has the part that is read.
    const KXInputEvent* input = nullptr;
    const KXSignal* signal = nullptr;
    switch (source.eventClass) {
    case EVENT_CLASS:
        break;
    case INCIDENT_CLASS:
        partOf<KXIncident, KXSomeEvent>(source);
        break;
    case TOOLKIT_EVENT_CLASS:
        input = &partOf<KXToolkitEvent, KXSomeEvent>(source);
        break;
    case INPUT_EVENT_CLASS:
        input = &partOf<KXInputEvent, KXToolkitEvent, KXSomeEvent>(source);
        break;
    case NAVIGATION_EVENT_CLASS:
        partOf<KXNavigationEvent, KXSomeEvent>(source);
        break;
    case TRIGGER_CLASS:
        partOf<KXTrigger, KXSomeEvent>(source);
        break;
    case SIGNAL_CLASS:
        signal = &partOf<KXSignal, KXSomeEvent>(source);
        break;
    case SOME_EVENT_CLASS: {
        const auto& holder = partOf<KXSomeEvent>(source);
        input = &holder;
        signal = &holder;
        sourceClass = holder.sourceClass;
        break;
    }
    default:
        reportUnknownClass(source.eventClass);
        copyEventFields(*this, KXEvent());
        eventClass = SOME_EVENT_CLASS;
        eventType = source.eventType;
        sourceClass = EVENT_CLASS;
    }
    if (input)
        copyInputFields(*this, *input);
    if (signal)
        copyWords(signalData, signal->signalData);
}

// Whatever way a holder came by its flags, a copy does not have them.
KXSomeEvent::KXSomeEvent(const KXSomeEvent& other)
    : KXEvent(other), KXIncident(other), KXInputEvent(other), KXTrigger(other), KXToolkitEvent(other),
      KXNavigationEvent(other), KXSignal(other), sourceClass(other.sourceClass) {
    incidentFlag = false;
    toolkitFlag = false;
    navigationFlag = false;
    triggerFlag = false;
}

KXSomeEvent& KXSomeEvent::operator=(const KXSomeEvent& other) = default;
KXSomeEvent::~KXSomeEvent() = default;

} // namespace KX
