#include "events/EventRecord.h"

#include "events/EventParts.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace KX {

// On a 32-bit machine a record has the layout of a holder in memory.
static_assert(sizeof(void*) != 4 || (sizeof(KXSomeEvent) == sizeof(EventRecord) && alignof(KXSomeEvent) == 8));

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "records are little-endian, and so is every terminal");

namespace {

constexpr std::size_t placeOfSignal = 24;
constexpr std::size_t placeOfSourceClass = 40;

// Writing and reading share these lists of fields and their places, so they cannot differ.

template<class Event, class Visitor>
void visitInputFields(Event& event, Visitor&& visit) {
    visit(48, event.keyCode);
    visit(52, event.osKeyCode);
    visit(56, event.inputValue);
    visit(60, event.inputData);
}

template<class Event, class Visitor>
void visitEventFields(Event& event, Visitor&& visit) {
    visit(88, event.eventClass);
    visit(92, event.eventType);
    visit(96, event.timeStamp);
    visit(100, event.eventData);
    visit(116, event.value);
    visit(120, event.count);
}

// Bytes between the fields, written as 0.
struct Gap {
    std::size_t begin;
    std::size_t end;
};
constexpr Gap gaps[] = {{0, 24}, {44, 48}, {76, 88}, {124, std::tuple_size_v<EventRecord>}};

struct Writer {
    template<class Field>
    void operator()(std::size_t place, const Field& field) const {
        std::memcpy(&record[place], &field, sizeof(Field));
    }

    EventRecord& record;
};

struct Reader {
    template<class Field>
    void operator()(std::size_t place, Field& field) const {
        std::memcpy(&field, &record[place], sizeof(Field));
    }

    const EventRecord& record;
};

void writeNoInput(const Writer& write) {
    constexpr int noWords[4] = {};
    write(48, int{KX_KEY_NONE});
    write(52, int{KX_KEY_NONE});
    write(56, 0);
    write(60, noWords);
}

void writeParts(EventRecord& record, const KXEvent& event, const EventParts& parts) {
    // Every byte is written once: clearing the whole record first costs more than filling it.
    const Writer write{record};
    for (const Gap& gap : gaps)
        std::fill(record.begin() + gap.begin, record.begin() + gap.end, std::uint8_t{0});
    constexpr std::uint64_t noSignal[2] = {};
    write(placeOfSignal, parts.signal ? parts.signal->signalData : noSignal);
    write(placeOfSourceClass, parts.sourceClass);
    if (parts.input)
        visitInputFields(*parts.input, write);
    else
        writeNoInput(write);
    visitEventFields(event, write);
}

// Out of line: unknown class numbers are rare.
[[gnu::noinline]] void writeUnknown(EventRecord& record, const KXEvent& event, const EventParts& eventParts) {
    KXSomeEvent holder(event, eventParts);
    writeParts(record, holder, partsOf(holder));
}

} // namespace

EventRecord encodeEvent(KXEvent& event) {
    EventRecord record;
    const EventParts parts = partsOf(event);
    if (parts.isKnownClass)
        writeParts(record, event, parts);
    else
        writeUnknown(record, event, parts);
    return record;
}

void decodeEvent(const EventRecord& record, KXSomeEvent& event) {
    const Reader read{record};
    read(placeOfSignal, event.signalData);
    read(placeOfSourceClass, event.sourceClass);
    visitInputFields(static_cast<KXInputEvent&>(event), read);
    visitEventFields(static_cast<KXEvent&>(event), read);
}

} // namespace KX
