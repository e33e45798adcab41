#pragma once

#include "events/KXEventClass.h"
#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "platform/KXExport.h"

#include <cstdint>

namespace KX {

// The family of events. All inheritance is virtual, so every event has each base once:
//
//                     KXEvent
//                    /       \.
//           KXIncident        KXTrigger
//            /      \             \.
//    KXInputEvent  KXNavigationEvent  KXSignal
//          |              |              |
//   KXToolkitEvent        |              |
//           \_____________|_____________/
//                    KXSomeEvent
//
// Events are values and allocate nothing. A copy has all fields; only a copied KXSomeEvent loses its flags.

/// The base of all events. Class number 0.
///
/// Events are values: no call on them locks, blocks or allocates, and one thread at a time uses an event.
class KX_EVENTS_API KXEvent {
public:
    KXEvent();
    KXEvent(const KXEvent& other);            ///< copies all fields
    KXEvent& operator=(const KXEvent& other); ///< copies all fields
    virtual ~KXEvent();

    int eventClass = EVENT_CLASS;   ///< number of the most derived class; selects the fields that queues copy
    int eventType = 0;              ///< what happened, a \ref KXEventType or a number of the application
    unsigned int timeStamp = 0;     ///< tick at which it happened, in ms
    unsigned int eventData[4] = {}; ///< carried unchanged; for mouse events, word 1 is the button
    int value = 0;                  ///< for encoder moves the accelerated increment
    int count = -1;                 ///< for encoder moves the number of raw steps; -1: not set
};

/// Something that happened to a part of the screen or the machine. Class number 1.
class KX_EVENTS_API KXIncident : public virtual KXEvent {
public:
    KXIncident();
    KXIncident(const KXIncident& other);            ///< copies all fields
    KXIncident& operator=(const KXIncident& other); ///< copies all fields
    ~KXIncident() override;

    bool incidentFlag = false; ///< for producers outside the library; queues do not carry it
};

/// Input of the operator. Class number 3.
class KX_EVENTS_API KXInputEvent : public virtual KXIncident {
public:
    KXInputEvent();
    KXInputEvent(const KXInputEvent& other);            ///< copies all fields
    KXInputEvent& operator=(const KXInputEvent& other); ///< copies all fields
    ~KXInputEvent() override;

    int keyCode = KX_KEY_NONE;      ///< in the library's numbering, a \ref KXKeyCode or the application's
    int osKeyCode = KX_KEY_NONE;    ///< in the toolkit's numbering
    int inputValue = 0;             ///< carried unchanged
    unsigned int inputData[4] = {}; ///< carried unchanged
};

/// Input of the operator as the graphical toolkit reports it, before classification. Class number 2.
class KX_EVENTS_API KXToolkitEvent : public virtual KXInputEvent {
public:
    KXToolkitEvent();
    KXToolkitEvent(const KXToolkitEvent& other);            ///< copies all fields
    KXToolkitEvent& operator=(const KXToolkitEvent& other); ///< copies all fields
    ~KXToolkitEvent() override;

    bool toolkitFlag = false; ///< for producers outside the library; queues do not carry it
};

/// A move between screens or fields. Class number 4.
class KX_EVENTS_API KXNavigationEvent : public virtual KXIncident {
public:
    KXNavigationEvent();
    KXNavigationEvent(const KXNavigationEvent& other);            ///< copies all fields
    KXNavigationEvent& operator=(const KXNavigationEvent& other); ///< copies all fields
    ~KXNavigationEvent() override;

    bool navigationFlag = false; ///< for producers outside the library; queues do not carry it
};

/// Something that sets other things going. Class number 5.
class KX_EVENTS_API KXTrigger : public virtual KXEvent {
public:
    KXTrigger();
    KXTrigger(const KXTrigger& other);            ///< copies all fields
    KXTrigger& operator=(const KXTrigger& other); ///< copies all fields
    ~KXTrigger() override;

    bool triggerFlag = false; ///< for producers outside the library; queues do not carry it
};

/// A trigger with a payload. Class number 6.
class KX_EVENTS_API KXSignal : public virtual KXTrigger {
public:
    KXSignal();
    KXSignal(const KXSignal& other);            ///< copies all fields
    KXSignal& operator=(const KXSignal& other); ///< copies all fields
    ~KXSignal() override;

    alignas(8) std::uint64_t signalData[2] = {}; ///< carried unchanged
};

} // namespace KX
