#include "events/KXSomeEvent.h"
#include "platform/KXCANMessage.h"
#include "tests/support/EventSamples.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <typeinfo>

namespace KX {
namespace {

using test::Fields;
using test::fieldsOf;
using test::fillEveryField;

template<class Event>
class EveryEventClass : public testing::Test {};
using EventClasses = testing::Types<KXEvent, KXIncident, KXToolkitEvent, KXInputEvent, KXNavigationEvent,
                                    KXTrigger, KXSignal, KXSomeEvent>;

template<class Event>
constexpr int numberOf = -1;
template<>
constexpr int numberOf<KXEvent> = 0;
template<>
constexpr int numberOf<KXIncident> = 1;
template<>
constexpr int numberOf<KXToolkitEvent> = 2;
template<>
constexpr int numberOf<KXInputEvent> = 3;
template<>
constexpr int numberOf<KXNavigationEvent> = 4;
template<>
constexpr int numberOf<KXTrigger> = 5;
template<>
constexpr int numberOf<KXSignal> = 6;
template<>
constexpr int numberOf<KXSomeEvent> = 7;

struct Flags {
    bool incident = false, toolkit = false, navigation = false, trigger = false;

    bool operator==(const Flags& other) const {
        return incident == other.incident && toolkit == other.toolkit && navigation == other.navigation &&
               trigger == other.trigger;
    }
};

template<class Event>
Flags flagsOf(const Event& event) {
    Flags flags;
    if constexpr (std::is_base_of_v<KXIncident, Event>)
        flags.incident = event.incidentFlag;
    if constexpr (std::is_base_of_v<KXToolkitEvent, Event>)
        flags.toolkit = event.toolkitFlag;
    if constexpr (std::is_base_of_v<KXNavigationEvent, Event>)
        flags.navigation = event.navigationFlag;
    if constexpr (std::is_base_of_v<KXTrigger, Event>)
        flags.trigger = event.triggerFlag;
    return flags;
}

class EventClassName {
public:
    template<class Event>
    static std::string GetName(int) {
        return "class_" + std::to_string(numberOf<Event>);
    }
};

TYPED_TEST_SUITE(EveryEventClass, EventClasses, EventClassName);

TYPED_TEST(EveryEventClass, starts_with_its_number_and_the_defaults) {
    const TypeParam event;
    Fields defaults;
    defaults.eventClass = numberOf<TypeParam>;
    EXPECT_EQ(fieldsOf(event), defaults);
    EXPECT_EQ(flagsOf(event), Flags());
}

TYPED_TEST(EveryEventClass, copy_construction_keeps_every_field) {
    TypeParam event;
    fillEveryField(event);
    const TypeParam copy(event);
    EXPECT_EQ(fieldsOf(copy), fieldsOf(event));
    if constexpr (std::is_same_v<TypeParam, KXSomeEvent>)
        EXPECT_EQ(flagsOf(copy), Flags()) << "a holder's copy drops the flags";
    else
        EXPECT_EQ(flagsOf(copy), flagsOf(event));
}

TYPED_TEST(EveryEventClass, assignment_keeps_every_field_and_flag) {
    TypeParam event;
    fillEveryField(event);
    TypeParam copy;
    TypeParam& result = copy = event;
    EXPECT_EQ(&result, &copy);
    EXPECT_EQ(fieldsOf(copy), fieldsOf(event));
    EXPECT_EQ(flagsOf(copy), flagsOf(event));
}

TYPED_TEST(EveryEventClass, assignment_to_itself_changes_nothing) {
    TypeParam event;
    fillEveryField(event);
    const Fields before = fieldsOf(event);
    const TypeParam& same = event;
    event = same;
    EXPECT_EQ(fieldsOf(event), before);
}

TYPED_TEST(EveryEventClass, a_holder_takes_over_the_fields_of_its_class_and_no_flag) {
    TypeParam event;
    fillEveryField(event);
    const KXSomeEvent holder(static_cast<KXEvent&>(event));

    Fields expected = fieldsOf(event);
    expected.sourceClass = std::is_same_v<TypeParam, KXSomeEvent> ? 3 : numberOf<TypeParam>;
    EXPECT_EQ(fieldsOf(holder), expected);
    EXPECT_EQ(flagsOf(holder), Flags());
}

TYPED_TEST(EveryEventClass, a_holder_of_a_holder_keeps_all_but_flags) {
    TypeParam event;
    fillEveryField(event);
    KXSomeEvent first(static_cast<KXEvent&>(event));
    first.triggerFlag = true;
    const KXSomeEvent second(static_cast<KXEvent&>(first));

    // The first holder claims the event's class and is copied as that class: a signal keeps its words, an input
    // event its key codes.
    EXPECT_EQ(fieldsOf(second), fieldsOf(first));
    EXPECT_EQ(flagsOf(second), Flags());
}

TYPED_TEST(EveryEventClass, is_destroyed_through_the_root) {
    static_assert(std::has_virtual_destructor_v<TypeParam>);
    const KXEvent* event = new TypeParam;
    EXPECT_EQ(typeid(*event), typeid(TypeParam));
    delete event;
}

TEST(EventClass, there_is_one_event_part_in_a_holder) {
    KXSomeEvent holder;
    KXEvent* const byToolkit = static_cast<KXToolkitEvent*>(&holder);
    KXEvent* const byNavigation = static_cast<KXNavigationEvent*>(&holder);
    KXEvent* const bySignal = static_cast<KXSignal*>(&holder);
    EXPECT_EQ(byToolkit, byNavigation);
    EXPECT_EQ(byToolkit, bySignal);
}

TEST(EventClass, an_application_class_bears_the_number_of_the_class_it_derives_from) {
    struct SoftKeyEvent : KXInputEvent {};
    SoftKeyEvent event;
    EXPECT_EQ(event.eventClass, 3);
    event.keyCode = 9;
    EXPECT_EQ(KXSomeEvent(event).keyCode, 9);
}

TEST(Holder, of_a_plain_event_has_no_key_codes) {
    KXEvent event;
    event.eventType = 24;
    event.timeStamp = 77;
    const KXSomeEvent holder(event);
    Fields expected;
    expected.eventType = 24;
    expected.timeStamp = 77;
    EXPECT_EQ(fieldsOf(holder), expected);
}

TEST(Holder, of_an_input_event_has_both_key_codes) {
    KXInputEvent event;
    event.keyCode = 5;
    event.osKeyCode = 100;
    const KXSomeEvent holder(event);
    EXPECT_EQ(holder.eventClass, 3);
    EXPECT_EQ(holder.sourceClass, 3);
    EXPECT_EQ(holder.keyCode, 5);
    EXPECT_EQ(holder.osKeyCode, 100);
}

TEST(Holder, throws_for_an_event_that_claims_a_class_that_it_is_not) {
    KXEvent event;
    for (const int claimed : {1, 2, 3, 4, 5, 6, 7}) {
        event.eventClass = claimed;
        EXPECT_THROW(KXSomeEvent{event}, std::bad_cast) << "claimed class " << claimed;
    }
    event.eventClass = 0;
    EXPECT_NO_THROW(KXSomeEvent{event});
}

TEST(Holder, goes_by_the_class_number_where_the_object_is_more) {
    KXToolkitEvent event;
    fillEveryField(event);
    event.eventClass = 1;
    const KXSomeEvent holder(event);
    EXPECT_EQ(holder.eventClass, 1);
    EXPECT_EQ(holder.keyCode, -1) << "an incident has no keys";
    EXPECT_EQ(holder.value, -15);
}

TEST(Holder, of_an_unknown_class_says_so_and_keeps_the_type_alone) {
    for (const int unknown : {42, 8, -1}) {
        KXInputEvent event;
        fillEveryField(event);
        event.eventClass = unknown;
        testing::internal::CaptureStderr();
        const KXSomeEvent holder(event);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "KXSomeEvent(KXEvent &): ERRROR - created from unknown event class " + std::to_string(unknown) +
                      "\n");
        Fields expected;
        expected.eventClass = 7;
        expected.eventType = 24;
        EXPECT_EQ(fieldsOf(holder), expected);
    }
}

TEST(Layout, a_signal_is_aligned_for_64_bit_words) {
    EXPECT_EQ(alignof(KXSignal), 8U);
    EXPECT_EQ(alignof(KXSomeEvent), 8U);
}

TEST(CANMessage, starts_with_eight_bytes_of_zero) {
    const KXCANMessage message;
    EXPECT_EQ(message.canId, 0U);
    EXPECT_EQ(message.canLength, 8U);
    EXPECT_EQ(message.canAux, 0U);
    for (const unsigned char byte : message.canData)
        EXPECT_EQ(byte, 0);
}

} // namespace
} // namespace KX
