#include "events/KXSomeEvent.h"

#include "events/EventFields.h"
#include "events/EventParts.h"

// Copying is not inline, so that programs built with older headers copy the same fields. One source for the whole
// family lets the compiler make, copy and destroy a holder in one function, without a call for each base.

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

KXSomeEvent::KXSomeEvent() {
    eventClass = SOME_EVENT_CLASS;
}

KXSomeEvent::KXSomeEvent(KXEvent& source) : KXSomeEvent(source, partsOf(source)) {}

KXSomeEvent::KXSomeEvent(const KXEvent& source, const EventParts& parts) {
    if (!parts.isKnownClass) {
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

// The flags of a copy are false, even if those of the original are set.
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
