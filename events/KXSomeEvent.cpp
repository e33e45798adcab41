#include "events/KXSomeEvent.h"

#include "events/EventClass.h"
#include "events/EventFields.h"

#include <iostream>

namespace KX {

KXSomeEvent::KXSomeEvent() {
    eventClass = SOME_EVENT_CLASS;
}

KXSomeEvent::KXSomeEvent(KXEvent& source) {
    eventClass = SOME_EVENT_CLASS;
    eventType = source.eventType;
    sourceClass = source.eventClass;

    // The number decides, so that an object of a class derived by the application travels as what it says it
    // is; the casts make sure that it really has the part that is read.
    switch (source.eventClass) {
    case EVENT_CLASS:
        copyEventFields(*this, source);
        break;
    case INCIDENT_CLASS:
        copyEventFields(*this, dynamic_cast<KXIncident&>(source));
        break;
    case TOOLKIT_EVENT_CLASS:
        takeInputEvent(dynamic_cast<KXToolkitEvent&>(source));
        break;
    case INPUT_EVENT_CLASS:
        takeInputEvent(dynamic_cast<KXInputEvent&>(source));
        break;
    case NAVIGATION_EVENT_CLASS:
        copyEventFields(*this, dynamic_cast<KXNavigationEvent&>(source));
        break;
    case TRIGGER_CLASS:
        copyEventFields(*this, dynamic_cast<KXTrigger&>(source));
        break;
    case SIGNAL_CLASS:
        takeSignal(dynamic_cast<KXSignal&>(source));
        break;
    case SOME_EVENT_CLASS: {
        auto& holder = dynamic_cast<KXSomeEvent&>(source);
        takeInputEvent(holder);
        takeSignal(holder);
        sourceClass = holder.sourceClass;
        break;
    }
    default:
        std::cerr << "KXSomeEvent(KXEvent &): ERRROR - created from unknown event class " << source.eventClass
                  << std::endl;
        sourceClass = EVENT_CLASS;
    }
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

void KXSomeEvent::takeInputEvent(const KXInputEvent& source) {
    copyInputFields(*this, source);
    copyEventFields(*this, source);
}

void KXSomeEvent::takeSignal(const KXSignal& source) {
    std::copy(std::begin(source.signalData), std::end(source.signalData), std::begin(signalData));
    copyEventFields(*this, source);
}

} // namespace KX
