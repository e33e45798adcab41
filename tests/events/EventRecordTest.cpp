#include "events/EventRecord.h"
#include "events/KXSomeEvent.h"
#include "tests/support/EventSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <new>

namespace KX {
namespace {

using test::fieldsOf;
using test::fillEveryField;

TEST(EventRecord, has_the_same_bytes_on_every_machine) {
    KXSomeEvent event;
    fillEveryField(event);
    event.eventType = 700;
    // clang-format off
    const EventRecord expected = {
        0, 0, 0, 0,   0,  0, 0, 0,                          //   0 toolkit: slot, flag, padding
        0, 0, 0, 0,   0,  0, 0, 0,                          //   8 navigation: slot, flag, padding
        0, 0, 0, 0,   0, 0, 0, 0,                           //  16 signal: slot, padding
        0xEF, 0xCD, 0xAB, 0x89, 0x67, 0x45, 0x23, 0x81,     //  24 signalData
        0xFE, 0xFF, 0xFF, 0xFF, 0x01, 0x00, 0x00, 0x00,
        3, 0, 0, 0,                                         //  40 sourceClass
        0, 0, 0, 0,                                         //  44 input: slot
        0xEB, 0xFF, 0xFF, 0xFF,                             //  48 keyCode -21
        0x13, 0x00, 0x00, 0x01,                             //  52 osKeyCode
        0xE9, 0xFF, 0xFF, 0xFF,                             //  56 inputValue -23
        24, 0, 0, 0,  25, 0, 0, 0,  0x1A, 0, 0, 0x80,  27, 0, 0, 0, // 60 inputData
        0, 0, 0, 0,   0,  0, 0, 0,                          //  76 incident: slot, flag, padding
        0, 0, 0, 0,                                         //  84 event: slot
        7, 0, 0, 0,                                         //  88 eventClass
        0xBC, 0x02, 0, 0,                                   //  92 eventType 700
        0xF0, 0xFF, 0xFF, 0xFF,                             //  96 timeStamp
        11, 0, 0, 0,  0x12, 0, 0, 0x80,  13, 0, 0, 0,  0xFF, 0xFF, 0xFF, 0xFF, // 100 eventData
        0xF1, 0xFF, 0xFF, 0xFF,                             // 116 value -15
        16, 0, 0, 0,                                        // 120 count
        0, 0, 0, 0,   0,  0, 0, 0,  0, 0, 0, 0,             // 124 trigger: slot, flag, padding
    };
    // clang-format on
    EXPECT_EQ(encodeEvent(event), expected);
}

// A record is made in place, over what earlier calls have left in memory.
EventRecord encodeOver(int rubbish, KXEvent& event) {
    alignas(EventRecord) unsigned char memory[sizeof(EventRecord)];
    std::memset(memory, rubbish, sizeof(memory));
    return *new (memory) EventRecord(encodeEvent(event));
}

TEST(EventRecord, has_every_byte_written_for_each_class) {
    KXEvent plain;
    KXInputEvent input;
    KXSignal signal;
    KXSomeEvent holder;
    for (KXEvent* const event : std::initializer_list<KXEvent*>{&plain, &input, &signal, &holder})
        EXPECT_EQ(encodeOver(0xA5, *event), encodeOver(0, *event)) << "class " << event->eventClass;
}

TEST(EventRecord, comes_back_with_every_field) {
    KXSomeEvent event;
    fillEveryField(event);
    KXSomeEvent back;
    decodeEvent(encodeEvent(event), back);
    EXPECT_EQ(fieldsOf(back), fieldsOf(event));
}

TEST(EventRecord, rubbish_in_slots_flags_and_padding_changes_nothing) {
    KXSomeEvent event;
    fillEveryField(event);
    EventRecord record = encodeEvent(event);
    const struct { std::size_t from, to; } unused[] = {{0, 24}, {44, 48}, {76, 88}, {124, 136}};
    for (const auto& range : unused)
        std::fill(record.begin() + static_cast<std::ptrdiff_t>(range.from),
                  record.begin() + static_cast<std::ptrdiff_t>(range.to), std::uint8_t{0xA5});

    KXSomeEvent back;
    decodeEvent(record, back);
    EXPECT_EQ(fieldsOf(back), fieldsOf(event));
    EXPECT_FALSE(back.incidentFlag || back.toolkitFlag || back.navigationFlag || back.triggerFlag);
    EXPECT_NE(dynamic_cast<KXSignal*>(static_cast<KXEvent*>(&back)), nullptr) << "still a holder of this process";
}

// The offset of a field in a virtual base is no constant expression, so it is taken from an object.
TEST(EventRecord, is_the_image_of_a_holder_where_pointers_have_32_bits) {
    if (sizeof(void*) != 4)
        GTEST_SKIP() << "pointers have " << 8 * sizeof(void*) << " bits here";
    KXSomeEvent event;
    fillEveryField(event);
    EventRecord image;
    ASSERT_EQ(sizeof(event), image.size());
    std::memcpy(image.data(), static_cast<const void*>(&event), image.size());

    for (const std::size_t slot : {0U, 8U, 16U, 44U, 76U, 84U, 124U}) {
        EXPECT_NE(std::count(&image[slot], &image[slot] + 4, 0), 4) << "no type table at " << slot;
        std::fill_n(&image[slot], 4, std::uint8_t{0});
    }
    for (const std::size_t flag : {4U, 12U, 80U, 128U}) {
        EXPECT_EQ(image[flag], 1) << "no flag at " << flag;
        image[flag] = 0; // a holder in a queue has no flags
    }
    const struct { std::size_t from, to; } padding[] = {{5, 8}, {13, 16}, {20, 24}, {81, 84}, {129, 136}};
    for (const auto& gap : padding)
        std::fill(&image[gap.from], image.data() + gap.to, std::uint8_t{0});
    EXPECT_EQ(image, encodeEvent(event));
}

} // namespace
} // namespace KX
