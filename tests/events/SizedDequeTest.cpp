#include "events/sync/KXSizedDeque.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <numeric>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

namespace KX {
namespace {

using Deque = KXSizedDeque<int, 4>;

std::vector<int> contentOf(const Deque& deque) {
    return {deque.begin(), deque.end()};
}

TEST(SizedDeque, is_empty_at_first) {
    const Deque deque;
    EXPECT_TRUE(deque.empty());
    EXPECT_EQ(deque.size(), 0U);
}

TEST(SizedDeque, gives_items_in_the_order_in_which_they_came_across_blocks) {
    Deque deque;
    for (int i = 0; i < 9; ++i)
        deque.push_back(i);
    EXPECT_EQ(deque.size(), 9U);
    EXPECT_EQ(deque.back(), 8);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(deque.front(), i);
        EXPECT_EQ(deque[0], i);
        deque.pop_front();
        EXPECT_EQ(deque.size(), static_cast<std::size_t>(8 - i));
    }
    EXPECT_TRUE(deque.empty());
}

struct Made {
    explicit Made(const std::function<void()>& whileItIsMade) { whileItIsMade(); }
};

// Another thread that reads the size takes the item next.
TEST(SizedDeque, counts_an_item_only_after_it_is_made) {
    KXSizedDeque<Made, 4> deque;
    std::size_t sizeMeanwhile = 99;
    deque.emplace_back([&] { sizeMeanwhile = deque.size(); });
    EXPECT_EQ(sizeMeanwhile, 0U);
    EXPECT_EQ(deque.size(), 1U);
}

TEST(SizedDeque, does_not_count_an_item_that_could_not_be_made) {
    KXSizedDeque<Made, 4> deque;
    EXPECT_THROW(deque.emplace_back([] { throw std::runtime_error("no"); }), std::runtime_error);
    EXPECT_EQ(deque.size(), 0U);
    EXPECT_TRUE(deque.empty());
}

TEST(SizedDeque, can_be_filled_again_after_it_was_cleared) {
    Deque deque;
    for (int i = 0; i < 9; ++i)
        deque.push_back(i);
    deque.clear();
    EXPECT_TRUE(deque.empty());
    deque.push_back(5);
    EXPECT_EQ(contentOf(deque), std::vector<int>{5});
}

TEST(SizedDeque, holds_what_a_vector_holds_after_random_calls) {
    std::mt19937 generator(1);
    Deque deque;
    std::vector<int> expected;
    for (int step = 0; step < 5000; ++step) {
        if (generator() % 2 == 0 || expected.empty()) {
            deque.push_back(step);
            expected.push_back(step);
        } else {
            deque.pop_front();
            expected.erase(expected.begin());
        }
        ASSERT_EQ(contentOf(deque), expected);
        ASSERT_EQ(deque.size(), expected.size());
    }
}

// A consumer reads the size without the lock. All items counted are there once it has the lock.
TEST(SizedDeque, may_be_asked_for_its_size_without_the_lock) {
    constexpr int itemCount = 20000;
    Deque deque;
    std::mutex mutex;
    std::thread producer([&] {
        for (int i = 1; i <= itemCount; ++i) {
            const std::lock_guard<std::mutex> lock(mutex);
            deque.push_back(i);
        }
    });
    std::int64_t sum = 0;
    for (int taken = 0; taken < itemCount;) {
        if (deque.empty()) {
            std::this_thread::yield();
            continue;
        }
        const std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ(deque.front(), ++taken);
        sum += deque.front();
        deque.pop_front();
    }
    producer.join();
    EXPECT_EQ(sum, std::int64_t{itemCount} * (itemCount + 1) / 2);
}

} // namespace
} // namespace KX
