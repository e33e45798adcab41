#include "events/EventRecord.h"

#include "events/KXSomeEvent.h"

#include <cstddef>
#include <type_traits>

namespace KX {

// The record is what the target keeps in memory, so one made by copying a holder's bytes would be the same.
static_assert(sizeof(void*) != 4 || sizeof(KXSomeEvent) == sizeof(EventRecord));

namespace {

// Visits every field that travels, with its offset in the record, so that writing and reading cannot differ.
template<class Event, class Visitor>
void visitFields(Event& event, Visitor&& visit) {
    visit(24, event.signalData[0]);
    visit(32, event.signalData[1]);
    visit(40, event.sourceClass);

    auto& input =
        static_cast<std::conditional_t<std::is_const_v<Event>, const KXInputEvent, KXInputEvent>&>(event);
    visit(48, input.keyCode);
    visit(52, input.osKeyCode);
    visit(56, input.inputValue);
    for (std::size_t i = 0; i < 4; ++i)
        visit(60 + 4 * i, input.inputData[i]);

    auto& base = static_cast<std::conditional_t<std::is_const_v<Event>, const KXEvent, KXEvent>&>(event);
    visit(88, base.eventClass);
    visit(92, base.eventType);
    visit(96, base.timeStamp);
    for (std::size_t i = 0; i < 4; ++i)
        visit(100 + 4 * i, base.eventData[i]);
    visit(116, base.value);
    visit(120, base.count);
}

// Byte by byte, low one first: the compiler makes one store of it where the machine is little-endian.
template<class Number>
void writeNumber(std::uint8_t* at, Number number) {
    auto bits = static_cast<std::make_unsigned_t<Number>>(number);
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        at[i] = static_cast<std::uint8_t>(bits >> (8 * i));
}

template<class Number>
void readNumber(const std::uint8_t* at, Number& number) {
    std::make_unsigned_t<Number> bits = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        bits |= static_cast<std::make_unsigned_t<Number>>(at[i]) << (8 * i);
    number = static_cast<Number>(bits);
}

} // namespace

EventRecord encodeEvent(const KXSomeEvent& event) {
    EventRecord record{};
    visitFields(event, [&record](std::size_t offset, auto number) { writeNumber(&record[offset], number); });
    return record;
}

void decodeEvent(const EventRecord& record, KXSomeEvent& event) {
    visitFields(event, [&record](std::size_t offset, auto& number) { readNumber(&record[offset], number); });
}

} // namespace KX
