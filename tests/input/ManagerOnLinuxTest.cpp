#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"

#include <Qt>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <sched.h>
#include <sys/resource.h>
#include <thread>

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
    const pid_t worker = waitForThreadNamed("inputEventMgr");
    EXPECT_GT(worker, 0);
    EXPECT_EQ(sched_getscheduler(worker), sched_getscheduler(0)) << "it has no priority over others";
    manager->deinitialize();
    EXPECT_TRUE(workerVanishes());
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
