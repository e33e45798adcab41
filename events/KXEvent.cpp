#include "events/KXEvent.h"

#include "events/EventClass.h"

// Copying is defined here and not left to each user's compiler, so that what a copy carries is part of the
// library and a program built against an older header agrees with it.

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

} // namespace KX
