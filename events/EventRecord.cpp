#include "events/EventRecord.h"

#include "events/KXSomeEvent.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace KX {

// The record is what the target keeps in memory, so one made by copying a holder's bytes would be the same.
static_assert(sizeof(void*) != 4 || (sizeof(KXSomeEvent) == sizeof(EventRecord) && alignof(KXSomeEvent) == 8));

namespace {

// Visits every field that travels, with its offset in the record, so that writing and reading cannot differ.
template<class Event, class Visitor>
void visitFields(Event& event, Visitor&& visit) {
    visit(24, event.signalData);
    visit(40, event.sourceClass);

    auto& input =
        static_cast<std::conditional_t<std::is_const_v<Event>, const KXInputEvent, KXInputEvent>&>(event);
    visit(48, input.keyCode);
    visit(52, input.osKeyCode);
    visit(56, input.inputValue);
    visit(60, input.inputData);

    auto& base = static_cast<std::conditional_t<std::is_const_v<Event>, const KXEvent, KXEvent>&>(event);
    visit(88, base.eventClass);
    visit(92, base.eventType);
    visit(96, base.timeStamp);
    visit(100, base.eventData);
    visit(116, base.value);
    visit(120, base.count);
}

// What lies between the fields.
struct Gap {
    std::size_t begin;
    std::size_t end;
};
constexpr Gap gaps[] = {{0, 24}, {44, 48}, {76, 88}, {124, std::tuple_size_v<EventRecord>}};

// A number, or each of an array, with its low byte first.
template<class Field>
void swapWhereBigEndian(Field& field) {
    if constexpr (__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__) {
        if constexpr (std::is_array_v<Field>) {
            for (auto& element : field)
                swapWhereBigEndian(element);
        } else {
            auto* const bytes = reinterpret_cast<std::uint8_t*>(&field);
            std::reverse(bytes, bytes + sizeof(Field));
        }
    }
}

template<class Field>
void writeField(std::uint8_t* at, const Field& field) {
    std::remove_const_t<Field> copy;
    std::memcpy(&copy, &field, sizeof(Field));
    swapWhereBigEndian(copy);
    std::memcpy(at, &copy, sizeof(Field));
}

template<class Field>
void readField(const std::uint8_t* at, Field& field) {
    std::memcpy(&field, at, sizeof(Field));
    swapWhereBigEndian(field);
}

} // namespace

EventRecord encodeEvent(const KXSomeEvent& event) {
    // Everything is written once: clearing the whole record first costs more than filling it.
    EventRecord record;
    for (const Gap& gap : gaps)
        std::fill(record.begin() + gap.begin, record.begin() + gap.end, std::uint8_t{0});
    visitFields(event, [&record](std::size_t offset, const auto& field) { writeField(&record[offset], field); });
    return record;
}

void decodeEvent(const EventRecord& record, KXSomeEvent& event) {
    visitFields(
        event, [&record](std::size_t offset, auto& field) { readField(&record[offset], field); });
}

} // namespace KX
