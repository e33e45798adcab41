#include "HolderModel.h"
#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventQueueAsQueue.h"

#include <array>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace KX::test {
namespace {

// Each event has the numbers of its poster and of itself; its other fields follow from both. So a single event
// shows whether it is whole.

constexpr unsigned int posters = 4;

std::atomic<unsigned int> hookCalls{0};

void countHookCall() {
    hookCalls.fetch_add(1, std::memory_order_relaxed);
}

PlainEvent numberedEvent(std::uint32_t seed, unsigned int poster, unsigned int number) {
    Random random(seed + poster * 0x10000000U + number);
    PlainEvent event = randomEvent(random);
    // The event claims a class that it is. A poster's objects rotate through all eight classes.
    event.objectClass = static_cast<int>((poster + number) % 8);
    event.fields.eventClass = event.objectClass;
    event.fields.timeStamp = number;
    event.fields.eventData[0] = poster;
    event.fields.sourceClass = 7; // not 0, the mark of an empty queue
    return event;
}

/// Complaint about one event that was taken; empty when it is whole.
std::string wrongWith(const KXSomeEvent& taken, std::uint32_t seed) {
    std::string said;
    const PlainEvent posted = numberedEvent(seed, taken.eventData[0], taken.timeStamp);
    const auto expected = holderOf(posted, said);
    return differs(taken, *expected);
}

bool isEmptyHolder(const KXSomeEvent& event) {
    return event.eventClass == 7 && event.sourceClass == 0;
}

/// The events of one taker. They are checked at the end: checking in between would reduce contention.
struct Taken {
    std::vector<KXSomeEvent> events;
    std::array<std::vector<unsigned int>, posters> numbers; // by poster, in the order in which they came
    std::string complaint;

    bool hasGivenUp() const { return !events.empty() && isEmptyHolder(events.back()); }

    void check(std::uint32_t seed) {
        for (const auto& event : events)
            if (complaint.empty())
                complaint = check(event, seed);
    }

private:
    std::string check(const KXSomeEvent& event, std::uint32_t seed) {
        const unsigned int poster = event.eventData[0];
        if (isEmptyHolder(event))
            return "\n  no event came for 30 s";
        if (event.eventClass < 0 || event.eventClass > 7 || poster >= posters)
            return "\n  an event that nobody posted";
        numbers[poster].push_back(event.timeStamp);
        return wrongWith(event, seed);
    }
};

class Posters {
public:
    /// \p limit: posters wait while the queue holds so many events, because a pipe can be full.
    Posters(KXEventQueue& queue, std::uint32_t seed, unsigned int each, unsigned int limit) {
        for (unsigned int poster = 0; poster < posters; ++poster)
            threads.emplace_back([this, &queue, seed, each, limit, poster] {
                std::vector<std::unique_ptr<KXEvent>> events; // made before, for more contention
                for (unsigned int number = 0; number < each; ++number)
                    events.push_back(objectOf(numberedEvent(seed, poster, number), true));
                for (const auto& event : events)
                    post(queue, *event, limit);
            });
    }

    /// \p isInVain: nobody takes events any more, so posters need not wait for room.
    void join(bool isInVain) {
        isAbandoned = isInVain;
        for (auto& thread : threads)
            thread.join();
    }

private:
    void post(KXEventQueue& queue, KXEvent& event, unsigned int limit) {
        while (queue.getSize() >= limit && !isAbandoned)
            std::this_thread::yield();
        if (!isAbandoned)
            queue.postEvent(event);
    }

    std::atomic<bool> isAbandoned{false};
    std::vector<std::thread> threads;
};

unsigned int eventsOfEachPoster() {
    return stepsOfRun() / posters / static_cast<unsigned int>(seedsOfRun().size()) + 1;
}

/// The next event of any poster; an empty holder after a long time without one.
KXSomeEvent nextEvent(KXEventQueue& queue) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    KXSomeEvent event;
    while (isEmptyHolder(event) && std::chrono::steady_clock::now() < deadline) {
        while (queue.isEmpty() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        event = queue.getNextEvent(); // empty if another taker was faster
    }
    return event;
}

/// Takes until \p left events have been taken by all takers together.
void takeUntilNoneIsLeft(KXEventQueue& queue, std::atomic<int>& left, Taken& taken) {
    // A taker with a ticket is sure of an event. Without tickets, the last taker of the in-process queue could
    // wait for ever.
    while (!taken.hasGivenUp() && left.fetch_sub(1) > 0)
        taken.events.push_back(nextEvent(queue));
}

/// Complaint about the numbers of one poster's events; empty when all came once and in order.
std::string wrongOrder(const std::vector<unsigned int>& numbers, unsigned int count) {
    for (unsigned int i = 0; i < numbers.size(); ++i)
        if (numbers[i] != i)
            return "event " + std::to_string(numbers[i]) + " came where " + std::to_string(i) + " was due";
    return numbers.size() == count ? "" : std::to_string(numbers.size()) + " came of " + std::to_string(count);
}

void expectAllInOrder(KXEventQueue& queue, std::uint32_t seed, unsigned int limit) {
    const unsigned int each = eventsOfEachPoster();
    hookCalls = 0;
    queue.setAfterPostFunction(&countHookCall);
    std::atomic<int> left{static_cast<int>(each * posters)};
    Taken taken;
    Posters posting(queue, seed, each, limit);
    takeUntilNoneIsLeft(queue, left, taken);
    posting.join(taken.hasGivenUp());
    taken.check(seed);

    ASSERT_EQ(taken.complaint, "") << "KX_TEST_SEED=" << seed;
    for (unsigned int poster = 0; poster < posters; ++poster)
        EXPECT_EQ(wrongOrder(taken.numbers[poster], each), "") << "KX_TEST_SEED=" << seed << ", poster " << poster;
    EXPECT_EQ(hookCalls.load(), each * posters);
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(queue.getSize(), 0U);
}

TEST(QueueThreads, pipeGivesOneTakerAllEventsOfFourPostersWholeAndInTheirOrder) {
    for (const std::uint32_t seed : seedsOfRun()) {
        KXEventQueueAsPipe queue;
        ASSERT_TRUE(queue.isConnected());
        // A pipe of 64 KiB, the default, holds 481 records. Four posters may check the limit at once.
        expectAllInOrder(queue, seed, 400);
        if (HasFailure())
            return;
    }
}

TEST(QueueThreads, inProcessQueueGivesOneTakerAllEventsOfFourPostersInTheirOrder) {
    for (const std::uint32_t seed : seedsOfRun()) {
        KXEventQueueAsQueue queue;
        expectAllInOrder(queue, seed, 100000000);
        if (HasFailure())
            return;
    }
}

TEST(QueueThreads, inProcessQueueGivesThreeTakersEachEventOfFourPostersOnce) {
    constexpr unsigned int takers = 3;
    for (const std::uint32_t seed : seedsOfRun()) {
        const unsigned int each = eventsOfEachPoster();
        KXEventQueueAsQueue queue;
        std::atomic<int> left{static_cast<int>(each * posters)};
        std::array<Taken, takers> taken;
        Posters posting(queue, seed, each, 100000000);
        std::vector<std::thread> threads;
        for (auto& own : taken)
            threads.emplace_back([&queue, &left, &own] { takeUntilNoneIsLeft(queue, left, own); });
        posting.join(false);
        for (auto& thread : threads)
            thread.join();
        for (auto& own : taken)
            own.check(seed);

        for (unsigned int poster = 0; poster < posters; ++poster) {
            std::vector<unsigned int> numbers;
            for (const auto& own : taken) {
                EXPECT_EQ(own.complaint, "") << "KX_TEST_SEED=" << seed;
                EXPECT_TRUE(std::is_sorted(own.numbers[poster].begin(), own.numbers[poster].end()))
                    << "KX_TEST_SEED=" << seed << ": a taker got events of poster " << poster << " out of order";
                numbers.insert(numbers.end(), own.numbers[poster].begin(), own.numbers[poster].end());
            }
            std::sort(numbers.begin(), numbers.end());
            EXPECT_EQ(wrongOrder(numbers, each), "") << "KX_TEST_SEED=" << seed << ", poster " << poster;
        }
        EXPECT_EQ(queue.getSize(), 0U);
        if (HasFailure())
            return;
    }
}

} // namespace
} // namespace KX::test
