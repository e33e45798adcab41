#include "events/KXSomeEvent.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace KX {
namespace {

// The bases are not trivial, so the members of a derived class begin where the base's data ends, in its padding.
// The offset of such a member is the size of the data.
template<class Event>
struct WithByte : Event {
    char byteBehind = 0;
};

// Without the virtual bases.
template<class Event>
std::size_t ownSize() {
    const WithByte<Event> probe;
    return static_cast<std::size_t>(&probe.byteBehind - reinterpret_cast<const char*>(&probe));
}

constexpr std::size_t tableSlot = sizeof(void*);

const char* const placesToMend =
    "An event has got or lost a field. These places must know every field:\n"
    "  events/KXEvent.h, events/KXSomeEvent.h    the field, its default and its meaning\n"
    "  events/EventFields.h                      what is copied between events and holders\n"
    "  events/EventRecord.cpp                    its place in the record of 136 bytes, whose layout is fixed\n"
    "  recording/KXEventLine.h                   the printed line of an event\n"
    "  recording/format/RecordingFields.cpp      the line of a recording, and docs/recording.md\n"
    "  terminal/events/EventModel.cpp            the list of events\n"
    "  tests/support/EventSamples.h              the fields that tests compare, and tests/models/HolderModel.h\n"
    "Then set the size here anew.";

TEST(EventFields, are_all_known_where_they_must_be) {
    EXPECT_EQ(ownSize<KXEvent>(), tableSlot + 4 + 4 + 4 + 16 + 4 + 4) << placesToMend;
    EXPECT_EQ(ownSize<KXIncident>(), tableSlot + 1) << placesToMend;
    EXPECT_EQ(ownSize<KXInputEvent>(), tableSlot + 4 + 4 + 4 + 16) << placesToMend;
    EXPECT_EQ(ownSize<KXToolkitEvent>(), tableSlot + 1) << placesToMend;
    EXPECT_EQ(ownSize<KXNavigationEvent>(), tableSlot + 1) << placesToMend;
    EXPECT_EQ(ownSize<KXTrigger>(), tableSlot + 1) << placesToMend;
    EXPECT_EQ(ownSize<KXSignal>(), 8U + 16U) << placesToMend;
}

TEST(EventFields, of_a_holder_are_those_of_its_bases_and_the_source_class) {
    const KXSomeEvent holder;
    const auto* const begin = reinterpret_cast<const char*>(&holder);
    const auto* const sourceClass = reinterpret_cast<const char*>(&holder.sourceClass);
    EXPECT_EQ(sourceClass - begin, sizeof(void*) == 4 ? 40 : 56) << placesToMend;
    EXPECT_EQ(ownSize<KXSomeEvent>(), static_cast<std::size_t>(sourceClass - begin) + 4) << placesToMend;
}

} // namespace
} // namespace KX
