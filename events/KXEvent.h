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
class KX_EVENTS_API KXEvent {
public:
    KXEvent();
    KXEvent(const KXEvent& other);
    KXEvent& operator=(const KXEvent& other);
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
    KXIncident(const KXIncident& other);
    KXIncident& operator=(const KXIncident& other);
    ~KXIncident() override;

    bool incidentFlag = false; ///< for producers outside the library; queues do not carry it
};

/// Input of the operator. Class number 3.
class KX_EVENTS_API KXInputEvent : public virtual KXIncident {
public:
    KXInputEvent();
    KXInputEvent(const KXInputEvent& other);
    KXInputEvent& operator=(const KXInputEvent& other);
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
    KXToolkitEvent(const KXToolkitEvent& other);
    KXToolkitEvent& operator=(const KXToolkitEvent& other);
    ~KXToolkitEvent() override;

    bool toolkitFlag = false; ///< for producers outside the library; queues do not carry it
};

/// A move between screens or fields. Class number 4.
class KX_EVENTS_API KXNavigationEvent : public virtual KXIncident {
public:
    KXNavigationEvent();
    KXNavigationEvent(const KXNavigationEvent& other);
    KXNavigationEvent& operator=(const KXNavigationEvent& other);
    ~KXNavigationEvent() override;

    bool navigationFlag = false; ///< for producers outside the library; queues do not carry it
};

/// Something that sets other things going. Class number 5.
class KX_EVENTS_API KXTrigger : public virtual KXEvent {
public:
    KXTrigger();
    KXTrigger(const KXTrigger& other);
    KXTrigger& operator=(const KXTrigger& other);
    ~KXTrigger() override;

    bool triggerFlag = false; ///< for producers outside the library; queues do not carry it
};

/// A trigger with a payload. Class number 6.
class KX_EVENTS_API KXSignal : public virtual KXTrigger {
public:
    KXSignal();
    KXSignal(const KXSignal& other);
    KXSignal& operator=(const KXSignal& other);
    ~KXSignal() override;

    alignas(8) std::uint64_t signalData[2] = {}; ///< carried unchanged
};

} // namespace KX
