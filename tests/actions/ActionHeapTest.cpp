#include "actions/KXActionQueue.h"
#include "events/KXEvent.h"
#include "events/KXEventType.h"
#include "tests/support/HeapCount.h"
#include "tests/support/TestAction.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace KX {
namespace {

using test::farAhead;

constexpr int drained = 0;

/// Actions that each post the next one; a test can ask how many have run.
class Chain {
public:
    explicit Chain(std::size_t length) : links(length) {
        event.eventType = KEY_PRESS_EVENT;
        for (Link& link : links)
            link.chain = this;
    }

    void begin() {
        begun = 0;
        postNext();
    }

    std::size_t getBegun() const { return begun; }

    bool hasFailedToPost() const { return isPosting; }

    KXActionQueue queue;

private:
    struct Link : KXAction {
        bool isReady() override { return true; }

        void execute(void*) override {
            EXPECT_EQ(this, &chain->links[chain->begun]) << "in the order of the chain, each once";
            ++chain->begun;
            chain->postNext();
        }

        Chain* chain = nullptr;
    };

    void postNext() {
        if (begun == links.size())
            return;
        isPosting = true;
        queue.postAction(&links[begun], &event, &links);
        isPosting = false;
    }

    std::vector<Link> links;
    KXEvent event;
    std::size_t begun = 0;
    bool isPosting = false;
};

unsigned long allocationsOfDrain(Chain& chain, bool detectLoops) {
    const unsigned long before = test::heapAllocations;
    chain.begin();
    EXPECT_EQ(chain.queue.executeActions(farAhead, detectLoops), drained);
    return test::heapAllocations - before;
}

TEST(ActionHeap, is_reached_at_most_once_in_16_actions) {
    Chain chain(16000);
    allocationsOfDrain(chain, false);
    EXPECT_LE(allocationsOfDrain(chain, false), 1000U);
    EXPECT_LE(allocationsOfDrain(chain, true), 1000U);
}

TEST(ActionHeap, is_hardly_reached_by_short_chains_with_loop_detection) {
    Chain chain(16);
    allocationsOfDrain(chain, true);
    unsigned long allocations = 0;
    for (int i = 0; i < 100; ++i)
        allocations += allocationsOfDrain(chain, true);
    EXPECT_LE(allocations, 100U);
}

// Drains while some allocations in a row fail, and goes on after each exception.
void drainWhereSomeFail(Chain& chain, unsigned long failing, int number) {
    test::failingAllocation = test::heapAllocations + failing;
    try {
        chain.begin();
    } catch (const std::bad_alloc&) {
        return; // nothing was posted
    }
    for (int status = -1; status != drained && status != 23;)
        try {
            status = chain.queue.executeActions(farAhead, true);
        } catch (const std::bad_alloc&) {
            EXPECT_GT(chain.getBegun(), 0U);
            if (--number > 0)
                test::failingAllocation = test::heapAllocations + 1;
        }
}

// How often the memory for the history was lacking. A drain in which the chain itself could not post does not count.
unsigned int countFailuresInHistory(int number) {
    constexpr std::size_t length = 300;
    unsigned int failuresInHistory = 0;
    for (unsigned long failing = 1; failing < 60; ++failing) {
        Chain chain(length);
        drainWhereSomeFail(chain, failing, number);
        const bool hasFailed = test::heapAllocations >= test::failingAllocation;
        test::failingAllocation = 0;
        if (chain.hasFailedToPost())
            continue;
        EXPECT_EQ(chain.getBegun(), length) << failing;
        EXPECT_TRUE(chain.queue.pendingItems.empty());
        failuresInHistory += hasFailed ? 1 : 0;
    }
    return failuresInHistory;
}

TEST(ActionHeap, loses_no_action_where_memory_is_lacking) {
    EXPECT_GE(countFailuresInHistory(1), 5U);
}

TEST(ActionHeap, loses_no_action_where_memory_stays_lacking) {
    EXPECT_GE(countFailuresInHistory(2), 5U);
}

using Item = KXActionQueue::actionItem;

Item makeItem(std::uintptr_t userData) {
    return {nullptr, nullptr, KEY_PRESS_EVENT, reinterpret_cast<void*>(userData), 0, 0};
}

unsigned long allocationsOfFilling(KXActionQueue::itemSet& items, std::size_t number) {
    const unsigned long before = test::heapAllocations;
    for (std::size_t i = 0; i < number; ++i)
        items.add(makeItem(i));
    return test::heapAllocations - before;
}

TEST(HistoryHeap, keeps_its_memory_for_256_actions_and_frees_it_for_more) {
    for (const std::size_t number : {255U, 256U, 257U}) {
        KXActionQueue::itemSet items;
        items.reserve(number);
        allocationsOfFilling(items, number);
        items.clear();
        const unsigned long allocations = allocationsOfFilling(items, number);
        if (number <= 256)
            EXPECT_EQ(allocations, 0U) << number;
        else
            EXPECT_GT(allocations, 0U) << number;
    }
}

TEST(HistoryHeap, is_unchanged_where_an_action_finds_no_memory) {
    unsigned int failures = 0;
    for (std::size_t number = 0; number < 40; ++number)
        for (unsigned long failing = 1; failing <= 2; ++failing) {
            KXActionQueue::itemSet items;
            allocationsOfFilling(items, number);
            test::failingAllocation = test::heapAllocations + failing;
            try {
                items.add(makeItem(number));
            } catch (const std::bad_alloc&) {
                ++failures;
                EXPECT_EQ(items.size(), number);
                EXPECT_FALSE(items.lookUp(makeItem(number)));
            }
            test::failingAllocation = 0;
        }
    EXPECT_GE(failures, 8U);
}

} // namespace
} // namespace KX
