#include "actions/KXActionQueue.h"
#include "events/KXEvent.h"
#include "tests/support/TestAction.h"

#include <gtest/gtest.h>

#include <atomic>
#include <boost/thread/thread.hpp>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace KX {
namespace {

using test::farAhead;
using test::TestAction;

// Four threads post while one drains: every item runs once, and each thread's items run in their order.
TEST(ActionQueueThreads, run_every_item_once_in_the_order_of_each_poster) {
    constexpr int posters = 4;
    constexpr int posts = 2000;
    KXActionQueue queue;
    std::vector<std::vector<int>> seen(posters);
    std::vector<std::unique_ptr<TestAction>> actions[posters];
    for (int poster = 0; poster < posters; ++poster)
        for (int i = 0; i < posts; ++i)
            actions[poster].push_back(std::make_unique<TestAction>(
                [&seen, poster, i] { seen[static_cast<std::size_t>(poster)].push_back(i); }));

    std::atomic<int> running{posters};
    std::vector<std::thread> threads;
    for (auto& own : actions)
        threads.emplace_back([&queue, &own, &running] {
            KXEvent event;
            event.eventType = 24;
            for (auto& action : own)
                queue.postAction(action.get(), &event, action.get());
            --running;
        });
    while (running > 0)
        queue.executeActions(farAhead, true);
    queue.executeActions(farAhead, true);
    for (auto& thread : threads)
        thread.join();

    for (const auto& order : seen) {
        ASSERT_EQ(order.size(), static_cast<std::size_t>(posts));
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    }
}

TEST(ActionQueueThreads, may_post_one_action_at_once) {
    KXActionQueue queue;
    TestAction action;
    std::vector<std::thread> threads;
    for (int type = 1; type <= 4; ++type)
        threads.emplace_back([&queue, &action, type] {
            KXEvent event;
            event.eventType = type;
            for (int i = 0; i < 1000; ++i)
                queue.postAction(&action, &event, nullptr);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(queue.executeActions(farAhead, true), 0);
    EXPECT_EQ(action.executions, 4000);
    EXPECT_GE(action.triggeringEventType, 1);
    EXPECT_LE(action.triggeringEventType, 4);
}

// Another thread takes the last item after the queue said that it holds one. The test does that on public members.
class OutrunDrain : public testing::Test {
protected:
    void SetUp() override {
        queue.postAction(&action, nullptr, nullptr);
        queue.mutex.lock();
    }

    int drain() {
        drainingThread = gettid();
        return queue.executeActions(farAhead, true);
    }

    // Waits until the draining thread sleeps on the mutex, and takes its item away.
    void takeTheItemAway() {
        while (drainingThread == 0 || !sleeps(drainingThread))
            std::this_thread::yield();
        queue.pendingItems.clear();
        queue.mutex.unlock();
    }

    static bool sleeps(pid_t thread) {
        std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string id, name, state;
        stat >> id >> name >> state;
        return state == "S";
    }

    KXActionQueue queue;
    TestAction action;
    std::atomic<pid_t> drainingThread{0};
};

TEST_F(OutrunDrain, waits_for_the_next_item) {
    int status = -1;
    std::thread thread([&] { status = drain(); });
    takeTheItemAway();
    TestAction next;
    queue.postAction(&next, nullptr, nullptr);
    thread.join();
    EXPECT_EQ(status, 0);
    EXPECT_EQ(next.executions, 1);
    EXPECT_EQ(action.executions, 0);
}

// A thread of the application may wait for items on the public members. Each post wakes it, whatever wait it uses.
class WaitForItem : public testing::Test {
protected:
    using Lock = boost::unique_lock<boost::mutex>;

    template<class Wait>
    void expectAPostToEnd(Wait wait) {
        for (int round = 0; round < 200; ++round) {
            std::atomic<bool> holdsLock{false};
            std::thread waiting([&] {
                Lock lock(queue.mutex);
                holdsLock = true;
                wait(lock);
            });
            while (!holdsLock)
                std::this_thread::yield();
            // The mutex is free only after the other thread has begun to wait.
            queue.postAction(&action, nullptr, nullptr);
            waiting.join();
            EXPECT_EQ(queue.executeActions(farAhead, false), 0);
        }
    }

    KXActionQueue queue;
    TestAction action;
};

TEST_F(WaitForItem, ends_with_a_post) {
    expectAPostToEnd([&](Lock& lock) {
        while (queue.pendingItems.empty())
            queue.itemPosted.wait(lock);
    });
}

TEST_F(WaitForItem, ends_with_a_post_when_it_tells_what_it_waits_for) {
    expectAPostToEnd([&](Lock& lock) {
        queue.itemPosted.wait(
            lock, [&] { return !queue.pendingItems.empty(); });
    });
}

TEST_F(WaitForItem, ends_with_a_post_before_its_end_is_reached) {
    expectAPostToEnd([&](Lock& lock) {
        const boost::chrono::steady_clock::time_point end{boost::chrono::hours(100000)}; // since the start
        EXPECT_TRUE(queue.itemPosted.wait_until(
            lock, end, [&] { return !queue.pendingItems.empty(); }));
    });
}

TEST_F(WaitForItem, ends_with_a_post_by_the_wall_clock_too) {
    expectAPostToEnd([&](Lock& lock) {
        const boost::posix_time::seconds longEnough(60);
        EXPECT_TRUE(queue.itemPosted.timed_wait(
            lock, longEnough, [&] { return !queue.pendingItems.empty(); }));
    });
}

TEST_F(WaitForItem, ends_with_a_post_for_who_knows_a_condition_of_boost_only) {
    boost::condition_variable& condition = queue.itemPosted;
    expectAPostToEnd([&](Lock& lock) {
        while (queue.pendingItems.empty())
            condition.wait(lock);
    });
}

TEST_F(WaitForItem, ends_with_a_signal_of_the_application) {
    boost::thread waiting([&] {
        Lock lock(queue.mutex);
        queue.itemPosted.wait(lock);
        queue.itemPosted.notify_all();
    });
    while (!waiting.timed_join(boost::posix_time::milliseconds(1)))
        queue.itemPosted.notify_one();
}

TEST_F(OutrunDrain, leaves_the_wait_when_it_is_interrupted) {
    std::atomic<bool> interrupted{false};
    boost::thread thread([&] {
        try {
            drain();
        } catch (const boost::thread_interrupted&) {
            interrupted = true;
        }
    });
    takeTheItemAway();
    thread.interrupt();
    thread.join();
    EXPECT_TRUE(interrupted);
}

} // namespace
} // namespace KX
