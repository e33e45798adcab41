#include "actions/KXActionQueue.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <set>
#include <vector>

namespace KX {
namespace {

using Item = KXActionQueue::actionItem;
using ItemSet = KXActionQueue::itemSet;

Item makeItem(unsigned int action, unsigned int trigger, int eventType, unsigned int userData,
              unsigned int count = 0) {
    const auto pointer = [](unsigned int number) { return static_cast<std::uintptr_t>(number) * 8; };
    return {reinterpret_cast<KXAction*>(pointer(action)),
            reinterpret_cast<KXAction*>(pointer(trigger)),
            eventType,
            reinterpret_cast<void*>(pointer(userData)),
            count,
            0};
}

// Whether both have the same items in the same order. The counts show which of two equal items stayed.
template<class Expected>
void expectSame(const ItemSet& items, const Expected& expected) {
    EXPECT_EQ(items.empty(), expected.empty());
    ASSERT_EQ(items.size(), expected.size());
    auto wanted = expected.begin();
    for (const Item& item : items) {
        EXPECT_FALSE(item < *wanted || *wanted < item);
        EXPECT_EQ(item.executedCount, wanted->executedCount);
        ++wanted;
    }
}

TEST(HashedSet, is_walked_through_in_order_whatever_the_order_of_adding) {
    ItemSet items;
    expectSame(items, std::vector<Item>());
    for (const unsigned int number : {5U, 1U, 4U, 2U, 3U})
        items.insert(makeItem(number, 9, 9, 9));
    expectSame(items, std::vector<Item>{makeItem(1, 9, 9, 9), makeItem(2, 9, 9, 9), makeItem(3, 9, 9, 9),
                                        makeItem(4, 9, 9, 9), makeItem(5, 9, 9, 9)});
}

TEST(HashedSet, keeps_the_first_of_two_that_are_equal) {
    ItemSet items;
    EXPECT_TRUE(items.insert(makeItem(1, 2, 3, 4, 10)).second);
    const auto [place, isNew] = items.insert(makeItem(1, 2, 3, 4, 20));
    EXPECT_FALSE(isNew);
    EXPECT_EQ(place->executedCount, 10U);
    EXPECT_EQ(items.size(), 1U);
}

TEST(HashedSet, tells_apart_by_each_of_four_fields) {
    // Enough items for the hash table.
    for (const unsigned int others : {0U, 7U, 8U, 100U}) {
        ItemSet items;
        for (unsigned int i = 0; i < others; ++i)
            items.insert(makeItem(1000 + i, 0, 0, 0));
        items.insert(makeItem(1, 2, 3, 4));
        EXPECT_EQ(items.count(makeItem(1, 2, 3, 4)), 1U);
        for (const Item& other :
             {makeItem(9, 2, 3, 4), makeItem(1, 9, 3, 4), makeItem(1, 2, 9, 4), makeItem(1, 2, 3, 9)}) {
            EXPECT_EQ(items.count(other), 0U);
            EXPECT_EQ(items.find(other), items.end());
        }
    }
}

TEST(HashedSet, is_walked_through_forwards_and_backwards) {
    ItemSet items;
    for (const unsigned int number : {2U, 3U, 1U})
        items.add(makeItem(number, 9, 9, 9));
    EXPECT_TRUE(*items.cbegin() == makeItem(1, 9, 9, 9));
    EXPECT_EQ(std::distance(items.cbegin(), items.cend()), 3);
    EXPECT_TRUE(*items.rbegin() == makeItem(3, 9, 9, 9));
    EXPECT_EQ(std::distance(items.rbegin(), items.rend()), 3);
}

// The low bits of a hash select the slot of the table. Without them every search would walk over all items.
TEST(HashedSet, spreads_items_that_differ_in_any_one_field_over_its_slots) {
    constexpr unsigned int number = 1024;
    const auto countSlots = [](auto makeItemOf) {
        std::set<std::uint32_t> slots;
        for (unsigned int i = 0; i < number; ++i)
            slots.insert(KXActionQueue::itemHash()(makeItemOf(i)) % number);
        return slots.size();
    };
    EXPECT_GT(countSlots([](unsigned int i) { return makeItem(i, 1, 1, 1); }), number / 16);
    EXPECT_GT(countSlots([](unsigned int i) { return makeItem(1, i, 1, 1); }), number / 16);
    EXPECT_GT(countSlots([](unsigned int i) { return makeItem(1, 1, static_cast<int>(i), 1); }), number / 16);
    EXPECT_GT(countSlots([](unsigned int i) { return makeItem(1, 1, 1, i); }), number / 16);
}

struct SameHash {
    std::uint32_t operator()(const Item&) const { return 7; }
};

TEST(HashedSet, tells_items_of_one_hash_apart) {
    KXHashedSet<Item, SameHash> items;
    constexpr unsigned int number = 20; // enough for the hash table
    for (unsigned int i = 0; i < number; ++i)
        EXPECT_TRUE(items.add(makeItem(i, 1, 1, 1, i)));
    for (unsigned int i = 0; i < number; ++i) {
        const Item* const found = items.lookUp(makeItem(i, 1, 1, 1));
        ASSERT_TRUE(found);
        EXPECT_EQ(found->executedCount, i);
    }
    EXPECT_FALSE(items.lookUp(makeItem(number, 1, 1, 1)));
}

TEST(HashedSet, holds_nothing_after_it_was_cleared_and_can_be_filled_again) {
    ItemSet items;
    for (const unsigned int number : {3U, 8U, 9U, 200U, 5000U, 10U}) {
        for (unsigned int i = 0; i < number; ++i)
            items.add(makeItem(i, 1, 1, 1));
        EXPECT_EQ(items.size(), number);
        EXPECT_EQ(items.count(makeItem(number - 1, 1, 1, 1)), 1U);
        items.clear();
        expectSame(items, std::vector<Item>());
        EXPECT_EQ(items.count(makeItem(number - 1, 1, 1, 1)), 0U);
    }
}

TEST(HashedSet, shows_an_item_that_was_added_after_a_walk) {
    ItemSet items;
    items.insert(makeItem(2, 1, 1, 1));
    expectSame(items, std::vector<Item>{makeItem(2, 1, 1, 1)});
    items.add(makeItem(1, 1, 1, 1));
    expectSame(items, std::vector<Item>{makeItem(1, 1, 1, 1), makeItem(2, 1, 1, 1)});
    // As many items as before the iteration, but other ones.
    EXPECT_EQ(items.erase(makeItem(2, 1, 1, 1)), 1U);
    items.add(makeItem(3, 1, 1, 1));
    expectSame(items, std::vector<Item>{makeItem(1, 1, 1, 1), makeItem(3, 1, 1, 1)});
}

TEST(HashedSet, shows_items_that_were_added_after_it_was_walked_through_and_cleared) {
    ItemSet items;
    items.add(makeItem(2, 1, 1, 1));
    expectSame(items, std::vector<Item>{makeItem(2, 1, 1, 1)});
    items.clear();
    items.add(makeItem(1, 1, 1, 1));
    expectSame(items, std::vector<Item>{makeItem(1, 1, 1, 1)});
}

TEST(HashedSet, takes_many_more_than_it_holds) {
    for (const unsigned int own : {1U, 9U}) {
        ItemSet items;
        ItemSet others;
        for (unsigned int i = 0; i < own; ++i)
            items.add(makeItem(i, 1, 1, 1));
        for (unsigned int i = 0; i < 1000; ++i)
            others.add(makeItem(100 + i, 1, 1, 1));
        items.addAll(others);
        EXPECT_EQ(items.size(), own + 1000);
        EXPECT_EQ(items.count(makeItem(1099, 1, 1, 1)), 1U);
        EXPECT_EQ(items.count(makeItem(1100, 1, 1, 1)), 0U);
    }
}

TEST(HashedSet, takes_what_another_holds_and_keeps_its_own_where_both_hold_one) {
    for (const unsigned int number : {1U, 8U, 9U, 100U}) {
        ItemSet items;
        ItemSet others;
        for (unsigned int i = 0; i < number; ++i) {
            items.add(makeItem(i, 1, 1, 1, 10));
            others.add(makeItem(number / 2 + i, 1, 1, 1, 20));
        }
        items.addAll(others);
        EXPECT_EQ(items.size(), number + number / 2);
        for (unsigned int i = 0; i < number + number / 2; ++i)
            EXPECT_EQ(items.lookUp(makeItem(i, 1, 1, 1))->executedCount, i < number ? 10U : 20U) << i;
    }
}

TEST(HashedSet, allocates_nothing_for_what_room_was_made_for) {
    for (const std::size_t number : {1U, 8U, 9U, 1000U}) {
        ItemSet items;
        items.add(makeItem(0, 1, 1, 1));
        items.reserve(number);
        const Item* const first = items.lookUp(makeItem(0, 1, 1, 1));
        for (unsigned int i = 1; i < number; ++i)
            items.add(makeItem(i, 1, 1, 1));
        EXPECT_EQ(items.lookUp(makeItem(0, 1, 1, 1)), first) << "it would have moved";
    }
}

TEST(HashedSet, is_copied_whole) {
    ItemSet items;
    for (unsigned int i = 0; i < 100; ++i)
        items.insert(makeItem(i, 1, 1, 1));
    const ItemSet copy = items;
    items.clear();
    EXPECT_EQ(copy.size(), 100U);
    EXPECT_EQ(copy.count(makeItem(99, 1, 1, 1)), 1U);
}

TEST(HashedSet, holds_what_an_ordered_set_holds_after_random_calls) {
    std::mt19937 generator(1);
    const auto random = [&] { return static_cast<unsigned int>(generator()); };
    for (const unsigned int range : {2U, 4U, 12U}) {
        ItemSet items;
        std::set<Item> expected;
        for (unsigned int step = 0; step < 1000; ++step) {
            const Item item = makeItem(random() % range, random() % range, static_cast<int>(random() % 3) - 1,
                                       random() % range, step);
            EXPECT_EQ(items.count(item), expected.count(item));
            EXPECT_EQ(items.insert(item).second, expected.insert(item).second);
            const Item other =
                makeItem(random() % range, random() % range, static_cast<int>(random() % 3) - 1, random() % range);
            EXPECT_EQ(std::distance(items.begin(), items.lower_bound(other)),
                      std::distance(expected.begin(), expected.lower_bound(other)));
            if (random() % 3 == 0)
                EXPECT_EQ(items.erase(other), expected.erase(other));
            if (random() % 400 == 0) {
                items.clear();
                expected.clear();
            }
            if (step % 50 == 0)
                expectSame(items, expected);
        }
        expectSame(items, expected);
    }
}

} // namespace
} // namespace KX
