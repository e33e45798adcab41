#include "terminal/session/EventPump.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Terminal;

using KX::KXInputEventManager;
using KX::KXSimulation;

namespace {

class EventPumpTest : public testing::Test {
protected:
    EventPumpTest() {
        KXSimulation::reset();
        manager = KXInputEventManager::createInstance();
    }

    ~EventPumpTest() override { KXInputEventManager::deleteInstance(); }

    void post(unsigned int count) {
        for (unsigned int number = 0; number < count; ++number) {
            KX::KXInputEvent event;
            event.eventType = KX::KEY_PRESS_EVENT;
            event.timeStamp = number;
            manager->postToEventQueue(event);
        }
    }

    KXInputEventManager* manager = nullptr;
};

} // namespace

TEST_F(EventPumpTest, HandsOnAllThatWaitsAsOneBatchOldestFirst) {
    EventPump pump(*manager);
    std::vector<ClassifiedEvents> batches;
    QObject::connect(&pump, &EventPump::eventsTaken,
                     [&](const ClassifiedEvents& events) { batches.push_back(events); });
    post(3);
    pump.takeWaitingEvents();
    ASSERT_EQ(1U, batches.size());
    ASSERT_EQ(3U, batches[0].size());
    EXPECT_EQ(0U, batches[0][0].timeStamp);
    EXPECT_EQ(2U, batches[0][2].timeStamp);
    EXPECT_FALSE(manager->hasEvents());
}

TEST_F(EventPumpTest, HandsOnNothingWhenNothingWaits) {
    EventPump pump(*manager);
    bool told = false;
    QObject::connect(&pump, &EventPump::eventsTaken, [&] { told = true; });
    pump.takeWaitingEvents();
    EXPECT_FALSE(told);
}

TEST_F(EventPumpTest, RefusesAQueueThatIsNotOpen) {
    manager->deinitialize();
    EXPECT_THROW(EventPump pump(*manager), std::runtime_error);

    KXSimulation::failPipeInits(1);
    manager->initialize();
    EXPECT_THROW(EventPump pump(*manager), std::runtime_error);
}
