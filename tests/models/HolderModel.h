#pragma once

#include "RandomRun.h"
#include "support/EventSamples.h"

#include <memory>
#include <optional>
#include <sstream>
#include <string>

namespace KX::test {

// Events and holders as plain structs. Numbers of classes:
// 0 event, 1 incident, 2 toolkit, 3 input, 4 navigation, 5 trigger, 6 signal, 7 holder.

/// An event before it is posted: the object's real class and its fields, eventClass included.
struct PlainEvent {
    int objectClass = 0;
    Fields fields;
};

/// Whether class \p objectClass is or derives from class \p wanted.
inline bool isA(int objectClass, int wanted) {
    static const bool table[8][8] = {
        // 0     1      2      3      4      5      6      7
        {true, false, false, false, false, false, false, false}, // event
        {true, true, false, false, false, false, false, false},  // incident
        {true, true, true, true, false, false, false, false},    // toolkit
        {true, true, false, true, false, false, false, false},   // input
        {true, true, false, false, true, false, false, false},   // navigation
        {true, false, false, false, false, true, false, false},  // trigger
        {true, false, false, false, false, true, true, false},   // signal
        {true, true, true, true, true, true, true, true},        // holder
    };
    return table[objectClass][wanted];
}

inline std::string unknownClassLine(int eventClass) {
    return "KXSomeEvent(KXEvent &): ERRROR - created from unknown event class " + std::to_string(eventClass) +
           "\n";
}

inline Fields emptyHolder() {
    Fields fields;
    fields.eventClass = 7;
    return fields;
}

/// The queue's holder of an event; none when the event claims a class that it is not. Appends the text on standard
/// error to \p said.
inline std::optional<Fields> holderOf(const PlainEvent& source, std::string& said) {
    const Fields& from = source.fields;
    Fields holder = emptyHolder();
    holder.eventType = from.eventType;
    if (from.eventClass < 0 || from.eventClass > 7) {
        said += unknownClassLine(from.eventClass);
        return holder;
    }
    if (!isA(source.objectClass, from.eventClass))
        return std::nullopt;

    holder.eventClass = from.eventClass;
    holder.sourceClass = from.eventClass == 7 ? from.sourceClass : from.eventClass;
    holder.timeStamp = from.timeStamp;
    holder.eventData = from.eventData;
    holder.value = from.value;
    holder.count = from.count;
    if (from.eventClass == 2 || from.eventClass == 3 || from.eventClass == 7) {
        holder.keyCode = from.keyCode;
        holder.osKeyCode = from.osKeyCode;
        holder.inputValue = from.inputValue;
        holder.inputData = from.inputData;
    }
    if (from.eventClass == 6 || from.eventClass == 7)
        holder.signalData = from.signalData;
    return holder;
}

/// The name of a type in a trace, for the types that the runs use.
inline std::string nameInTrace(int eventType) {
    switch (eventType) {
    case 0: return "UNKNOWN_EVENT";
    case 24: return "KEY_PRESS_EVENT";
    case 25: return "KEY_RELEASE_EVENT";
    case 700: return "ENCODER_MOVE_EVENT";
    case 1502: return "APPLICATION_EXIT_EVENT";
    case 9999: return "KX_MAX_EVENT_TYPE_NUMBER";
    default: return "UnknownEventType(" + std::to_string(eventType) + ")";
    }
}

inline std::string traceOf(const Fields& event) {
    return "KXEventQueue::postEvent " + std::to_string(event.eventType) + " " + std::to_string(event.count) + " " +
           nameInTrace(event.eventType);
}

template<class Event>
std::unique_ptr<KXEvent> objectWith(const Fields& fields, bool flags) {
    auto event = std::make_unique<Event>();
    event->eventClass = fields.eventClass;
    event->eventType = fields.eventType;
    event->timeStamp = fields.timeStamp;
    std::copy(fields.eventData.begin(), fields.eventData.end(), event->eventData);
    event->value = fields.value;
    event->count = fields.count;
    if constexpr (std::is_base_of_v<KXIncident, Event>)
        event->incidentFlag = flags;
    if constexpr (std::is_base_of_v<KXInputEvent, Event>) {
        event->keyCode = fields.keyCode;
        event->osKeyCode = fields.osKeyCode;
        event->inputValue = fields.inputValue;
        std::copy(fields.inputData.begin(), fields.inputData.end(), event->inputData);
    }
    if constexpr (std::is_base_of_v<KXToolkitEvent, Event>)
        event->toolkitFlag = flags;
    if constexpr (std::is_base_of_v<KXNavigationEvent, Event>)
        event->navigationFlag = flags;
    if constexpr (std::is_base_of_v<KXTrigger, Event>)
        event->triggerFlag = flags;
    if constexpr (std::is_base_of_v<KXSignal, Event>)
        std::copy(fields.signalData.begin(), fields.signalData.end(), event->signalData);
    if constexpr (std::is_same_v<KXSomeEvent, Event>)
        event->sourceClass = fields.sourceClass;
    return event;
}

/// The library's object for a plain event; all its flags are \p flags.
inline std::unique_ptr<KXEvent> objectOf(const PlainEvent& event, bool flags) {
    switch (event.objectClass) {
    case 0: return objectWith<KXEvent>(event.fields, flags);
    case 1: return objectWith<KXIncident>(event.fields, flags);
    case 2: return objectWith<KXToolkitEvent>(event.fields, flags);
    case 3: return objectWith<KXInputEvent>(event.fields, flags);
    case 4: return objectWith<KXNavigationEvent>(event.fields, flags);
    case 5: return objectWith<KXTrigger>(event.fields, flags);
    case 6: return objectWith<KXSignal>(event.fields, flags);
    default: return objectWith<KXSomeEvent>(event.fields, flags);
    }
}

template<std::size_t size>
void fillWithRandom(Random& random, std::array<unsigned int, size>& words) {
    for (auto& word : words)
        word = random.word();
}

inline PlainEvent randomEvent(Random& random) {
    PlainEvent event;
    event.objectClass = random.between(0, 7);
    Fields& fields = event.fields;
    fields.eventClass = event.objectClass;
    if (random.oneIn(6)) // claims another class, often one that the object is not
        fields.eventClass = random.between(0, 7);
    if (random.oneIn(60))
        fields.eventClass = random.oneOf({-1, 8, 42, std::numeric_limits<int>::min(), random.anyInt()});
    fields.eventType = random.oneOf({0, 24, 25, 34, 700, 1502, 9999, 10000, -1, -5});
    fields.timeStamp = random.word();
    fillWithRandom(random, fields.eventData);
    fields.value = random.anyInt();
    fields.count = random.oddInt();
    fields.keyCode = random.anyInt();
    fields.osKeyCode = random.anyInt();
    fields.inputValue = random.anyInt();
    fillWithRandom(random, fields.inputData);
    for (auto& word : fields.signalData)
        word = std::uint64_t{random.word()} << 32 | random.word();
    fields.sourceClass = random.oddInt();
    return event;
}

/// Complaint about a holder of the library; empty when it has the expected fields.
inline std::string differs(const KXSomeEvent& holder, const Fields& expected) {
    std::ostringstream out;
    if (!(fieldsOf(holder) == expected))
        out << "\n  expected " << expected << "\n  actual   " << fieldsOf(holder);
    if (holder.incidentFlag || holder.toolkitFlag || holder.navigationFlag || holder.triggerFlag)
        out << "\n  a holder carries a flag";
    return out.str();
}

} // namespace KX::test
