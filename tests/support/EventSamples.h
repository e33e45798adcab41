#pragma once

#include "events/KXSomeEvent.h"

#include <algorithm>
#include <array>
#include <ostream>

namespace KX::test {

/// All fields of all event classes except the flags, for comparing and printing.
struct Fields {
    int eventClass = 0;
    int eventType = 0;
    unsigned int timeStamp = 0;
    std::array<unsigned int, 4> eventData{};
    int value = 0;
    int count = -1;
    int keyCode = -1;
    int osKeyCode = -1;
    int inputValue = 0;
    std::array<unsigned int, 4> inputData{};
    std::array<std::uint64_t, 2> signalData{};
    int sourceClass = 0;

    bool operator==(const Fields& other) const {
        return eventClass == other.eventClass && eventType == other.eventType && timeStamp == other.timeStamp &&
               eventData == other.eventData && value == other.value && count == other.count &&
               keyCode == other.keyCode && osKeyCode == other.osKeyCode && inputValue == other.inputValue &&
               inputData == other.inputData && signalData == other.signalData && sourceClass == other.sourceClass;
    }

    friend std::ostream& operator<<(std::ostream& out, const Fields& fields) {
        out << "class=" << fields.eventClass << " source=" << fields.sourceClass << " type=" << fields.eventType
            << " t=" << fields.timeStamp << " value=" << fields.value << " count=" << fields.count
            << " key=" << fields.keyCode << " os=" << fields.osKeyCode << " inputValue=" << fields.inputValue
            << " data=";
        for (const auto word : fields.eventData)
            out << word << ",";
        out << " inputData=";
        for (const auto word : fields.inputData)
            out << word << ",";
        return out << " signalData=" << fields.signalData[0] << "," << fields.signalData[1];
    }
};

template<class Word, std::size_t size>
std::array<Word, size> toArray(const Word (&words)[size]) {
    std::array<Word, size> result{};
    std::copy(std::begin(words), std::end(words), result.begin());
    return result;
}

/// The fields of an event of class \c Event; fields of other classes have their defaults.
template<class Event>
Fields fieldsOf(const Event& event) {
    Fields fields;
    fields.eventClass = event.eventClass;
    fields.eventType = event.eventType;
    fields.timeStamp = event.timeStamp;
    fields.eventData = toArray(event.eventData);
    fields.value = event.value;
    fields.count = event.count;
    if constexpr (std::is_base_of_v<KXInputEvent, Event>) {
        fields.keyCode = event.keyCode;
        fields.osKeyCode = event.osKeyCode;
        fields.inputValue = event.inputValue;
        fields.inputData = toArray(event.inputData);
    }
    if constexpr (std::is_base_of_v<KXSignal, Event>)
        fields.signalData = toArray(event.signalData);
    if constexpr (std::is_same_v<KXSomeEvent, Event>)
        fields.sourceClass = event.sourceClass;
    return fields;
}

/// Gives every field of an event, flags included, a value of its own.
template<class Event>
void fillEveryField(Event& event) {
    event.eventType = 24;
    event.timeStamp = 0xFFFFFFF0U;
    event.eventData[0] = 11;
    event.eventData[1] = 0x80000012U;
    event.eventData[2] = 13;
    event.eventData[3] = 0xFFFFFFFFU;
    event.value = -15;
    event.count = 16;
    if constexpr (std::is_base_of_v<KXIncident, Event>)
        event.incidentFlag = true;
    if constexpr (std::is_base_of_v<KXInputEvent, Event>) {
        event.keyCode = -21;
        event.osKeyCode = 0x01000013;
        event.inputValue = -23;
        event.inputData[0] = 24;
        event.inputData[1] = 25;
        event.inputData[2] = 0x8000001AU;
        event.inputData[3] = 27;
    }
    if constexpr (std::is_base_of_v<KXToolkitEvent, Event>)
        event.toolkitFlag = true;
    if constexpr (std::is_base_of_v<KXNavigationEvent, Event>)
        event.navigationFlag = true;
    if constexpr (std::is_base_of_v<KXTrigger, Event>)
        event.triggerFlag = true;
    if constexpr (std::is_base_of_v<KXSignal, Event>) {
        event.signalData[0] = 0x8123456789ABCDEFULL;
        event.signalData[1] = 0x00000001FFFFFFFEULL;
    }
    if constexpr (std::is_same_v<KXSomeEvent, Event>)
        event.sourceClass = 3;
}

} // namespace KX::test
