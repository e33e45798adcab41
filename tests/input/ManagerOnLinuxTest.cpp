#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"

#include <Qt>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <poll.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace KX {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

std::ptrdiff_t entriesOf(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

std::ptrdiff_t openDescriptors() {
    return entriesOf("/proc/self/fd");
}

std::ptrdiff_t runningThreads() {
    return entriesOf("/proc/self/task");
}

// The thread of that name, or 0.
pid_t findThread(const std::string& name) {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream comm(task.path() / "comm");
        std::string found;
        std::getline(comm, found);
        if (found == name)
            return std::stoi(task.path().filename());
    }
    return 0;
}

// The system lists an ended thread a moment longer than a join waits.
bool workerVanishes() {
    const auto limit = Clock::now() + std::chrono::seconds(30);
    while (findThread("inputEventMgr") != 0 && Clock::now() < limit)
        std::this_thread::yield();
    return findThread("inputEventMgr") == 0;
}

// A thread sets its name when it runs.
pid_t waitForThreadNamed(const std::string& name) {
    const auto limit = Clock::now() + std::chrono::seconds(30);
    pid_t thread = 0;
    while ((thread = findThread(name)) == 0 && Clock::now() < limit)
        std::this_thread::yield();
    return thread;
}

int report(KXInputEventManager& manager, int type, int qtKey) {
    KXToolkitEvent event;
    event.eventType = type;
    event.osKeyCode = qtKey;
    event.timeStamp = KXTick::getTickCount();
    return manager.toolkitEventOccurred(event);
}

// Waits like a main loop. Returns the event, or a default one after the time limit.
KXInputEvent nextEventWithin(KXInputEventManager& manager, int timeoutMs) {
    auto* const queue = dynamic_cast<KXEventQueueAsPipe*>(manager.getInputEventsQueue());
    pollfd readEnd = {queue->getReadEndPointID(), POLLIN, 0};
    poll(&readEnd, 1, timeoutMs);
    return manager.getNextEvent();
}

class ManagerOnLinux : public testing::Test {
protected:
    // The worker of the test before is not to be taken for this one's.
    void SetUp() override {
        ASSERT_TRUE(workerVanishes());
        manager = KXInputEventManager::createInstance();
    }

    void TearDown() override { KXInputEventManager::deleteInstance(); }

    KXInputEventManager* manager = nullptr;
};

TEST_F(ManagerOnLinux, has_a_worker_thread_with_its_name) {
    EXPECT_GT(waitForThreadNamed("inputEventMgr"), 0);
    manager->deinitialize();
    EXPECT_TRUE(workerVanishes());
}

TEST_F(ManagerOnLinux, wakes_a_main_loop_with_a_press_and_later_with_its_long_press) {
    manager->setDoubleKeyPressDuration(10);
    manager->setLongKeyPressDuration(200);
    report(*manager, TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home);
    const KXInputEvent press = nextEventWithin(*manager, 10000);
    EXPECT_EQ(press.eventType, KEY_PRESS_EVENT);
    const KXInputEvent longPress = nextEventWithin(*manager, 10000);
    EXPECT_EQ(longPress.eventType, KEY_LONG_PRESS_EVENT);
    EXPECT_GE(longPress.timeStamp - press.timeStamp, 200U);
}

TEST_F(ManagerOnLinux, is_deleted_within_200_ms_while_its_worker_waits) {
    for (int i = 0; i < 3; ++i) {
        KXInputEventManager::createInstance();
        std::this_thread::sleep_for(milliseconds(5 + 40 * i)); // at some point of a wait of 100 ms
        const auto before = Clock::now();
        KXInputEventManager::deleteInstance();
        EXPECT_LT(Clock::now() - before, milliseconds(200));
    }
}

TEST(ManagerLivesOnLinux, fifty_leave_no_thread_descriptor_or_memory_behind) {
    // Some lives end before the worker's first wait, others during a wait.
    const auto live = [](int number) {
        KXInputEventManager* const manager = KXInputEventManager::createInstance();
        report(*manager, TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home);
        if (number % 5 == 0)
            std::this_thread::sleep_for(milliseconds(10));
        KXInputEventManager::deleteInstance();
    };
    live(0); // makes what stays, such as a sanitizer's own thread
    ASSERT_TRUE(workerVanishes());
    const auto threads = runningThreads();
    const auto descriptors = openDescriptors();
    const auto heap = mallinfo2().uordblks;
    for (int life = 0; life < 50; ++life)
        live(life);
    EXPECT_TRUE(workerVanishes());
    EXPECT_EQ(runningThreads(), threads);
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_LE(mallinfo2().uordblks, heap + 1024) << "less than 21 bytes a life is noise of the C library";
}

TEST_F(ManagerOnLinux, takes_settings_from_any_thread_while_input_arrives) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> setters;
    setters.emplace_back([&] {
        for (unsigned int ms = 1; !stop; ms = ms % 500 + 1)
            manager->setDoubleKeyPressDuration(ms);
    });
    setters.emplace_back([&] {
        for (unsigned int ms = 1; !stop; ms = ms % 500 + 1)
            manager->setLongKeyPressDuration(ms);
    });
    setters.emplace_back([&] {
        while (!stop)
            manager->acceptInput(true);
    });
    std::thread toolkit([&] {
        for (int i = 0; i < 2000; ++i) {
            report(*manager, TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home);
            report(*manager, TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Home);
        }
        stop = true;
    });

    int releases = 0;
    while (!stop || manager->hasEvents())
        releases += nextEventWithin(*manager, 10).eventType == KEY_RELEASE_EVENT ? 1 : 0;
    toolkit.join();
    for (auto& setter : setters)
        setter.join();
    while (manager->hasEvents())
        releases += manager->getNextEvent().eventType == KEY_RELEASE_EVENT ? 1 : 0;
    EXPECT_EQ(releases, 2000);
}

TEST_F(ManagerOnLinux, concurrent_setters_never_bring_the_durations_out_of_order) {
    std::vector<std::thread> setters;
    setters.emplace_back([&] {
        for (unsigned int i = 0; i < 200000; ++i)
            manager->setDoubleKeyPressDuration(i % 7);
    });
    setters.emplace_back([&] {
        for (unsigned int i = 0; i < 200000; ++i)
            manager->setLongKeyPressDuration(i % 7);
    });
    for (auto& setter : setters)
        setter.join();
    // Long stays above double, so it is never 0, and a press at the tick of the pass is never a long press.
    EXPECT_EQ(manager->setLongKeyPressDuration(0), 20);
    unsigned int doubleMs = 0;
    while (manager->setLongKeyPressDuration(doubleMs) == 20)
        ++doubleMs; // the first long duration that is accepted is one above the double one
    EXPECT_GE(doubleMs, 1U);
    EXPECT_LE(doubleMs, 7U);
}

// A duration that was accepted stays, so the other one is refused on the wrong side of it. Many rounds, because the
// threads have to meet between two instructions.
class ConcurrentSettings : public ManagerOnLinux {
protected:
    static constexpr int rounds = 500000;

    // How often a round lost a setting while another thread makes its own.
    template<class Set, class Round>
    static int countLosses(Set set, Round losesASetting) {
        std::atomic<bool> begun{false};
        std::atomic<bool> done{false};
        std::thread other([&] {
            for (unsigned int i = 0; !done; ++i, begun = true)
                set(i % 2);
        });
        while (!begun)
            std::this_thread::yield();
        int losses = 0;
        for (int i = 0; i < rounds; ++i)
            losses += losesASetting() ? 1 : 0;
        done = true;
        other.join();
        return losses;
    }
};

TEST_F(ConcurrentSettings, of_the_long_press_lose_none_of_the_double_press) {
    manager->setDoubleKeyPressDuration(10);
    const auto setLong = [this](unsigned int odd) { manager->setLongKeyPressDuration(100 + odd); };
    EXPECT_EQ(0, countLosses(setLong, [this] {
                  manager->setDoubleKeyPressDuration(10);
                  manager->setDoubleKeyPressDuration(20);
                  return manager->setLongKeyPressDuration(20) != 20;
              }));
}

TEST_F(ConcurrentSettings, of_the_double_press_lose_none_of_the_long_press) {
    manager->setDoubleKeyPressDuration(10);
    const auto setDouble = [this](unsigned int odd) { manager->setDoubleKeyPressDuration(10 + odd); };
    EXPECT_EQ(0, countLosses(setDouble, [this] {
                  manager->setLongKeyPressDuration(200);
                  manager->setLongKeyPressDuration(100);
                  return manager->setDoubleKeyPressDuration(100) != 20;
              }));
}

// How often this thread began to wait, without the sanitizers' own threads.
long waitsOf(pid_t thread) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
    const std::string field = "voluntary_ctxt_switches:";
    for (std::string word; status >> word;)
        if (word == field) {
            long waits = 0;
            status >> waits;
            return waits;
        }
    return -1;
}

TEST_F(ManagerOnLinux, costs_next_to_nothing_while_idle) {
    const pid_t worker = waitForThreadNamed("inputEventMgr");
    ASSERT_GT(worker, 0);
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    const long waitsBefore = waitsOf(worker);
    std::this_thread::sleep_for(std::chrono::seconds(10));
    const long waits = waitsOf(worker) - waitsBefore;
    getrusage(RUSAGE_SELF, &after);

    EXPECT_GE(waits, 10) << "it does wake";
    EXPECT_LE(waits, 101) << "at most ten times a second, and once more at the edge";
    const auto microseconds = [](const rusage& usage) {
        return 1000000L * (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + usage.ru_utime.tv_usec +
               usage.ru_stime.tv_usec;
    };
    EXPECT_LE(microseconds(after) - microseconds(before), 50000) << "half a percent of one core";
}

} // namespace
} // namespace KX
