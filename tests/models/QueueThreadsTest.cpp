#include "HolderModel.h"
#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventQueueAsQueue.h"

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace KX::test {
namespace {

// Each event says in its fields who posted it and as which, and carries contents that both tell: a taker can see
// from one event alone whether it came whole.

constexpr unsigned int posters = 4;

std::atomic<unsigned int> hookCalls{0};

void countHookCall() {
    hookCalls.fetch_add(1, std::memory_order_relaxed);
}

PlainEvent numberedEvent(std::uint32_t seed, unsigned int poster, unsigned int number) {
    Random random(seed + poster * 0x10000000U + number);
    PlainEvent event = randomEvent(random);
    // A class that the event is, so that it arrives: a poster's own objects rotate through all eight.
    event.objectClass = static_cast<int>((poster + number) % 8);
    event.fields.eventClass = event.objectClass;
    event.fields.timeStamp = number;
    event.fields.eventData[0] = poster;
    event.fields.sourceClass = 7; // not 0, by which an empty queue is known
    return event;
}

/// Complaint about one event that was taken; empty when it is one that was posted, whole.
std::string wrongWith(const KXSomeEvent& taken, std::uint32_t seed) {
    std::string said;
    const PlainEvent posted = numberedEvent(seed, taken.eventData[0], taken.timeStamp);
    const auto expected = holderOf(posted, said);
    return differs(taken, *expected);
}

/// What one taking thread saw.
struct Taken {
    std::array<std::vector<unsigned int>, posters> numbers; // by poster, in the order in which they came
    std::string complaint;

    void add(const KXSomeEvent& event, std::uint32_t seed) {
        const unsigned int poster = event.eventData[0];
        if (event.eventClass < 0 || event.eventClass > 7 || poster >= posters) {
            complaint += complaint.empty() ? "\n  an event that nobody posted" : "";
            return;
        }
        if (complaint.empty())
            complaint = wrongWith(event, seed);
        numbers[poster].push_back(event.timeStamp);
    }

    std::size_t size() const {
        std::size_t sum = 0;
        for (const auto& list : numbers)
            sum += list.size();
        return sum;
    }
};

class Posters {
public:
    /// \p limit: a poster waits while the queue holds that many, for a pipe takes only so much.
    Posters(KXEventQueue& queue, std::uint32_t seed, unsigned int each, unsigned int limit) {
        for (unsigned int poster = 0; poster < posters; ++poster)
            threads.emplace_back([&queue, seed, each, limit, poster] {
                for (unsigned int number = 0; number < each; ++number) {
                    while (queue.getSize() >= limit)
                        std::this_thread::yield();
                    const auto event = objectOf(numberedEvent(seed, poster, number), true);
                    queue.postEvent(*event);
                }
            });
    }

    void join() {
        for (auto& thread : threads)
            thread.join();
    }

private:
    std::vector<std::thread> threads;
};

unsigned int eventsOfEachPoster() {
    return stepsOfRun() / posters / static_cast<unsigned int>(seedsOfRun().size()) + 1;
}

/// Takes until \p left events have been taken by all takers together.
void takeUntilNoneIsLeft(KXEventQueue& queue, std::atomic<int>& left, std::uint32_t seed, Taken& taken) {
    while (left.load() > 0) {
        // Whoever gets a ticket takes an event that is surely coming: a consumer of the in-process queue may
        // wait for one, and without tickets the last wait would never end.
        if (left.fetch_sub(1) <= 0)
            return;
        while (queue.isEmpty())
            std::this_thread::yield();
        KXSomeEvent event = queue.getNextEvent();
        while (event.eventClass == 7 && event.sourceClass == 0) { // another taker was faster
            std::this_thread::yield();
            event = queue.getNextEvent();
        }
        taken.add(event, seed);
    }
}

std::vector<unsigned int> allNumbers(unsigned int count) {
    std::vector<unsigned int> numbers(count);
    for (unsigned int i = 0; i < count; ++i)
        numbers[i] = i;
    return numbers;
}

void expectAllInOrder(KXEventQueue& queue, std::uint32_t seed, unsigned int limit) {
    const unsigned int each = eventsOfEachPoster();
    hookCalls = 0;
    queue.setAfterPostFunction(&countHookCall);
    std::atomic<int> left{static_cast<int>(each * posters)};
    Taken taken;
    Posters posting(queue, seed, each, limit);
    takeUntilNoneIsLeft(queue, left, seed, taken);
    posting.join();

    EXPECT_EQ(taken.complaint, "") << "KX_TEST_SEED=" << seed;
    for (unsigned int poster = 0; poster < posters; ++poster)
        EXPECT_EQ(taken.numbers[poster], allNumbers(each)) << "KX_TEST_SEED=" << seed << ", poster " << poster;
    EXPECT_EQ(hookCalls.load(), each * posters);
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(queue.getSize(), 0U);
}

TEST(QueueThreads, pipeGivesOneTakerAllEventsOfFourPostersWholeAndInTheirOrder) {
    for (const std::uint32_t seed : seedsOfRun()) {
        KXEventQueueAsPipe queue;
        ASSERT_TRUE(queue.isConnected());
        // 64 KiB, the size of a pipe without privilege, hold 481 records; four posters may look at once.
        expectAllInOrder(queue, seed, 400);
    }
}

TEST(QueueThreads, inProcessQueueGivesOneTakerAllEventsOfFourPostersInTheirOrder) {
    for (const std::uint32_t seed : seedsOfRun()) {
        KXEventQueueAsQueue queue;
        expectAllInOrder(queue, seed, 100000000);
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
            threads.emplace_back([&queue, &left, seed, &own] { takeUntilNoneIsLeft(queue, left, seed, own); });
        posting.join();
        for (auto& thread : threads)
            thread.join();

        for (unsigned int poster = 0; poster < posters; ++poster) {
            std::vector<unsigned int> numbers;
            for (const auto& own : taken) {
                EXPECT_EQ(own.complaint, "") << "KX_TEST_SEED=" << seed;
                EXPECT_TRUE(std::is_sorted(own.numbers[poster].begin(), own.numbers[poster].end()))
                    << "KX_TEST_SEED=" << seed << ": a taker got events of poster " << poster << " out of order";
                numbers.insert(numbers.end(), own.numbers[poster].begin(), own.numbers[poster].end());
            }
            std::sort(numbers.begin(), numbers.end());
            EXPECT_EQ(numbers, allNumbers(each)) << "KX_TEST_SEED=" << seed << ", poster " << poster;
        }
        EXPECT_EQ(queue.getSize(), 0U);
    }
}

} // namespace
} // namespace KX::test
