#include "events/EventTypeName.h"
#include "events/KXEventType.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <map>

namespace KX {
namespace {

// The numbers that applications know, in a list independent of the library's.
std::map<int, std::string> readNumbering() {
    std::map<int, std::string> numbering;
    std::ifstream file(KX_EVENT_TYPES_FILE);
    int number = 0;
    std::string name;
    while (file >> number >> name)
        numbering[number] = name;
    return numbering;
}

std::string unnamed(int type) {
    return "UnknownEventType(" + std::to_string(type) + ")";
}

TEST(EventType, every_named_number_has_its_name_and_every_other_number_up_to_10100_none) {
    const auto numbering = readNumbering();
    ASSERT_EQ(numbering.size(), 115U);
    for (int type = -100; type <= 10100; ++type) {
        const auto entry = numbering.find(type);
        EXPECT_EQ(translateEventTypeToString(type), entry == numbering.end() ? unnamed(type) : entry->second);
    }
}

TEST(EventType, enumerators_bear_the_numbers_of_the_numbering) {
    const auto numbering = readNumbering();
    std::map<int, std::string> enumerators;
#define KX_ENUMERATOR(number, name) enumerators[KX::name] = #name;
    KX_FOR_EACH_EVENT_TYPE(KX_ENUMERATOR)
#undef KX_ENUMERATOR
    EXPECT_EQ(enumerators, numbering);
}

TEST(EventType, zero_is_a_named_value) {
    EXPECT_EQ(translateEventTypeToString(0), "UNKNOWN_EVENT");
}

TEST(EventType, holes_inside_a_family_are_unnamed) {
    EXPECT_EQ(translateEventTypeToString(34), "UnknownEventType(34)");
    EXPECT_EQ(translateEventTypeToString(1102), "UnknownEventType(1102)");
}

TEST(EventType, upper_bound_has_a_name_and_its_neighbours_have_none) {
    EXPECT_EQ(translateEventTypeToString(9998), "UnknownEventType(9998)");
    EXPECT_EQ(translateEventTypeToString(9999), "KX_MAX_EVENT_TYPE_NUMBER");
    EXPECT_EQ(translateEventTypeToString(10000), "UnknownEventType(10000)");
}

TEST(EventType, last_number_below_the_bound_has_a_name_and_its_neighbours_have_none) {
    EXPECT_EQ(translateEventTypeToString(2099), "UnknownEventType(2099)");
    EXPECT_EQ(translateEventTypeToString(2100), "MEDIA_EVENT");
    EXPECT_EQ(translateEventTypeToString(2101), "UnknownEventType(2101)");
}

TEST(EventType, negative_numbers_and_the_limits_of_int_are_unnamed) {
    EXPECT_EQ(translateEventTypeToString(-1), "UnknownEventType(-1)");
    EXPECT_EQ(translateEventTypeToString(-5), "UnknownEventType(-5)");
    EXPECT_EQ(translateEventTypeToString(INT_MAX), "UnknownEventType(2147483647)");
    EXPECT_EQ(translateEventTypeToString(INT_MIN), "UnknownEventType(-2147483648)");
}

TEST(EventType, similar_names_are_distinct_values) {
    EXPECT_EQ(translateEventTypeToString(6), "DISABLE_EVENT");
    EXPECT_EQ(translateEventTypeToString(1002), "DISABLED_EVENT");
}

TEST(EventType, a_plain_int_compares_with_an_event_type) {
    const int type = 24;
    EXPECT_TRUE(type == KEY_PRESS_EVENT);
}

TEST(EventTypeName, is_the_same_text_as_the_string_for_named_and_unnamed_numbers) {
    for (const int type : {0, 24, 34, 1010, 9999, -5, INT_MAX, INT_MIN})
        EXPECT_EQ(EventTypeName(type).text(), translateEventTypeToString(type));
}

} // namespace
} // namespace KX
