#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"

#include <Qt>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <poll.h>
#include <thread>
#include <vector>

namespace KX {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

int reportNow(KXInputEventManager& manager, int type, int qtKey) {
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

class ManagerOnRealTime : public testing::Test {
protected:
    void SetUp() override { manager = KXInputEventManager::createInstance(); }

    void TearDown() override { KXInputEventManager::deleteInstance(); }

    KXInputEventManager* manager = nullptr;
};

TEST_F(ManagerOnRealTime, wakes_a_main_loop_with_a_press_and_later_with_its_long_press) {
    manager->setDoubleKeyPressDuration(10);
    manager->setLongKeyPressDuration(200);
    reportNow(*manager, TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home);
    const KXInputEvent press = nextEventWithin(*manager, 10000);
    EXPECT_EQ(press.eventType, KEY_PRESS_EVENT);
    const KXInputEvent longPress = nextEventWithin(*manager, 10000);
    EXPECT_EQ(longPress.eventType, KEY_LONG_PRESS_EVENT);
    EXPECT_GE(longPress.timeStamp - press.timeStamp, 200U);
}

TEST_F(ManagerOnRealTime, is_deleted_within_200_ms_while_its_worker_waits) {
    for (int i = 0; i < 3; ++i) {
        KXInputEventManager::createInstance();
        std::this_thread::sleep_for(milliseconds(5 + 40 * i)); // at some point of a wait of 100 ms
        const auto before = Clock::now();
        KXInputEventManager::deleteInstance();
        EXPECT_LT(Clock::now() - before, milliseconds(200));
    }
}

TEST_F(ManagerOnRealTime, takes_settings_from_any_thread_while_input_arrives) {
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
            reportNow(*manager, TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home);
            reportNow(*manager, TOOLKIT_KEY_RELEASE_EVENT, Qt::Key_Home);
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

TEST_F(ManagerOnRealTime, concurrent_setters_never_bring_the_durations_out_of_order) {
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
class ConcurrentSettings : public ManagerOnRealTime {
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

} // namespace
} // namespace KX
