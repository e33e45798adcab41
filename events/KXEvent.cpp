#include "events/KXSomeEvent.h"

#include "events/DiagnosticLine.h"
#include "events/EventFields.h"
#include "events/EventParts.h"

#include <iostream>

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

[[gnu::noinline]] void reportUnknownClass(int eventClass) {
    writeLine(std::cerr, {"KXSomeEvent(KXEvent &): ERRROR - created from unknown event class ", eventClass});
}

} // namespace

KXSomeEvent::KXSomeEvent() {
    eventClass = SOME_EVENT_CLASS;
}

KXSomeEvent::KXSomeEvent(KXEvent& source) {
    const EventParts parts = partsOf(source);
    if (!parts.isKnownClass) {
        reportUnknownClass(source.eventClass);
        eventClass = SOME_EVENT_CLASS;
        eventType = source.eventType;
        return;
    }
    copyEventFields(*this, source);
    sourceClass = parts.sourceClass;
    if (parts.input)
        copyInputFields(*this, *parts.input);
    if (parts.signal)
        copyWords(signalData, parts.signal->signalData);
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
