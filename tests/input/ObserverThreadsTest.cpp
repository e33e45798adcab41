// An observer among several threads: it sees one input at a time, and nobody is inside when it is taken away.

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "input/KXInputObserver.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace KX {
namespace {

class ObserverThreads : public testing::Test {
protected:
    void SetUp() override { manager = KXInputEventManager::createInstance(); }

    void TearDown() override {
        KXInputEventManager::setObserver(nullptr);
        KXInputEventManager::deleteInstance();
    }

    KXInputEventManager* manager = nullptr;
};

bool sleeps(pid_t thread) {
    std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string id, name, state;
    stat >> id >> name >> state;
    return state == "S";
}

/// Keeps the worker inside once: until the thread that takes the observer away sleeps, or has not waited.
class StayingObserver : public KXInputObserver {
public:
    explicit StayingObserver(bool staysInPass) : inPass(staysInPass) {}

    void onPassDue() override {
        if (!inPass)
            stay();
    }

    void onPass(unsigned int /*tick*/) override {
        if (inPass)
            stay();
    }

    std::atomic<bool> isInside{false};
    std::atomic<bool> isRemoved{false};
    std::atomic<pid_t> remover{0};

private:
    void stay() {
        if (hasStayed)
            return;
        hasStayed = true;
        isInside = true;
        while (!isRemoved && !(remover != 0 && sleeps(remover)))
            std::this_thread::yield();
        isInside = false;
    }

    const bool inPass;
    bool hasStayed = false; // the worker's
};

TEST_F(ObserverThreads, are_outside_when_the_observer_has_been_taken_away) {
    for (const bool inPass : {false, true}) {
        StayingObserver observer(inPass);
        KXInputEventManager::setObserver(&observer);
        while (!observer.isInside)
            std::this_thread::yield();
        observer.remover = gettid();
        KXInputEventManager::setObserver(nullptr);
        EXPECT_FALSE(observer.isInside) << (inPass ? "in a pass" : "before a pass");
        observer.isRemoved = true;
        while (observer.isInside)
            std::this_thread::yield();
    }
}

class LonelyObserver : public KXInputObserver {
public:
    void onToolkitEvent(const KXToolkitEvent& /*event*/) override { visit(); }
    void onSetting(KXInputSetting /*setting*/, std::int64_t /*value*/) override { visit(); }
    void onPass(unsigned int /*tick*/) override { visit(); }

    std::atomic<int> clashes{0};
    int visits = 0; // not atomic: one thread at a time

private:
    void visit() {
        if (isVisited.exchange(true))
            ++clashes;
        ++visits;
        isVisited = false;
    }

    std::atomic<bool> isVisited{false};
};

TEST_F(ObserverThreads, visit_the_observer_one_after_the_other) {
    constexpr int rounds = 20000;
    LonelyObserver observer;
    KXInputEventManager::setObserver(&observer);
    observer.visits = 0; // it was told the settings
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        for (int i = 0; i < rounds; ++i)
            manager->setKeyboardLayout(0);
    });
    threads.emplace_back([&] {
        for (int i = 0; i < rounds; ++i)
            manager->acceptInput(true);
    });
    threads.emplace_back([&] {
        KXToolkitEvent dropped;
        dropped.eventType = TOOLKIT_MOUSE_ENTER_EVENT;
        for (int i = 0; i < rounds; ++i)
            manager->toolkitEventOccurred(dropped);
    });
    for (std::thread& thread : threads)
        thread.join();
    KXInputEventManager::setObserver(nullptr);
    EXPECT_EQ(observer.clashes, 0);
    EXPECT_GE(observer.visits, 3 * rounds);
}

} // namespace
} // namespace KX
