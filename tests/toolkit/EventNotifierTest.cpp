#include "toolkit/KXEventNotifier.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/simulated/KXSimulation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// What does not need a main loop. EventNotifierOnLinuxTest.cpp has the rest.

namespace KX {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EventNotifierTest : public testing::Test {
protected:
    EventNotifierTest() {
        KXSimulation::reset();
        manager = KXInputEventManager::createInstance();
    }

    ~EventNotifierTest() override { KXInputEventManager::deleteInstance(); }

    void post(unsigned int first, unsigned int count = 1) {
        for (unsigned int number = first; number < first + count; ++number) {
            KXInputEvent event;
            event.eventType = KEY_PRESS_EVENT;
            event.timeStamp = number;
            manager->postToEventQueue(event);
        }
    }

    template<typename Slot>
    void onEvent(KXEventNotifier& notifier, Slot slot) {
        QObject::connect(
            &notifier, &KXEventNotifier::eventOccurred,
            [this, slot](const KXInputEvent& event) {
                seen.push_back(event.timeStamp);
                slot(event);
            });
    }

    void watch(KXEventNotifier& notifier) {
        onEvent(
            notifier, [](const KXInputEvent& /*event*/) {});
    }

    KXInputEventManager* manager = nullptr;
    std::vector<unsigned int> seen;
};

std::string whyRefused() {
    try {
        const KXEventNotifier notifier;
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "it was not refused";
}

TEST_F(EventNotifierTest, HandsOnAllThatWaitsOldestFirst) {
    KXEventNotifier notifier;
    watch(notifier);
    post(0, 3);
    notifier.takeWaitingEvents();
    EXPECT_THAT(seen, ElementsAre(0U, 1U, 2U));
    EXPECT_FALSE(manager->hasEvents());
}

TEST_F(EventNotifierTest, HandsOnTheEventWithAllItsFields) {
    KXEventNotifier notifier;
    KXInputEvent taken;
    QObject::connect(&notifier, &KXEventNotifier::eventOccurred,
                     [&](const KXInputEvent& event) { taken = event; });
    KXInputEvent event;
    event.eventType = ENCODER_MOVE_EVENT;
    event.timeStamp = 4711;
    event.keyCode = 4;
    event.osKeyCode = 5;
    event.value = 6;
    event.count = 7;
    event.eventData[1] = 8;
    manager->postToEventQueue(event);
    notifier.takeWaitingEvents();
    EXPECT_EQ(ENCODER_MOVE_EVENT, taken.eventType);
    EXPECT_EQ(4711U, taken.timeStamp);
    EXPECT_EQ(4, taken.keyCode);
    EXPECT_EQ(5, taken.osKeyCode);
    EXPECT_EQ(6, taken.value);
    EXPECT_EQ(7, taken.count);
    EXPECT_EQ(8U, taken.eventData[1]);
}

TEST_F(EventNotifierTest, HandsOnNothingWhenNothingWaits) {
    KXEventNotifier notifier;
    watch(notifier);
    notifier.takeWaitingEvents();
    EXPECT_THAT(seen, IsEmpty());
}

TEST_F(EventNotifierTest, TakesMoreThanATurnHandsOnWhenItIsAsked) {
    KXEventNotifier notifier;
    watch(notifier);
    post(0, KXEventNotifier::mostAtOnce + 1);
    notifier.takeWaitingEvents();
    EXPECT_EQ(KXEventNotifier::mostAtOnce + 1, seen.size());
}

TEST_F(EventNotifierTest, WhatASlotPostsWaitsForTheNextTime) {
    KXEventNotifier notifier;
    onEvent(notifier, [this](const KXInputEvent& event) { post(event.timeStamp + 2); });
    post(0, 2);
    notifier.takeWaitingEvents();
    EXPECT_THAT(seen, ElementsAre(0U, 1U));
    notifier.takeWaitingEvents();
    EXPECT_THAT(seen, ElementsAre(0U, 1U, 2U, 3U));
}

TEST_F(EventNotifierTest, ASlotThatAsksForTheNextEventsGetsThemAfterItsOwn) {
    KXEventNotifier notifier;
    std::vector<unsigned int> seenAfterwards;
    onEvent(notifier, [&](const KXInputEvent& event) {
        notifier.takeWaitingEvents();
        seenAfterwards.push_back(event.timeStamp);
    });
    post(0, 3);
    notifier.takeWaitingEvents();
    EXPECT_THAT(seenAfterwards, ElementsAre(0U, 1U, 2U));
}

TEST_F(EventNotifierTest, ASlotMayDeleteTheNotifierAndTheRestStaysInTheQueue) {
    auto notifier = std::make_unique<KXEventNotifier>();
    onEvent(*notifier, [&](const KXInputEvent& event) {
        if (event.timeStamp == 1)
            notifier.reset();
    });
    post(0, 3);
    notifier->takeWaitingEvents();
    EXPECT_THAT(seen, ElementsAre(0U, 1U));
    EXPECT_EQ(2U, manager->getNextEvent().timeStamp);
}

TEST_F(EventNotifierTest, ASlotMayDeleteTheManager) {
    KXEventNotifier notifier;
    onEvent(notifier, [](const KXInputEvent& /*event*/) { KXInputEventManager::deleteInstance(); });
    post(0, 3);
    notifier.takeWaitingEvents();
    EXPECT_THAT(seen, ElementsAre(0U));
    notifier.takeWaitingEvents();
    EXPECT_EQ(1U, seen.size());
}

TEST_F(EventNotifierTest, ASlotMayReplaceTheManagerWhoseEventsAreNotTaken) {
    KXEventNotifier notifier;
    onEvent(notifier, [this](const KXInputEvent& /*event*/) {
        KXInputEventManager::deleteInstance();
        manager = KXInputEventManager::createInstance();
        post(10, 2);
    });
    post(0, 3);
    notifier.takeWaitingEvents();
    notifier.takeWaitingEvents();
    EXPECT_THAT(seen, ElementsAre(0U));
    EXPECT_TRUE(manager->hasEvents());
}

TEST_F(EventNotifierTest, AManagerThatIsDeinitialisedHasNoEventsLeft) {
    KXEventNotifier notifier;
    watch(notifier);
    post(0, 3);
    manager->deinitialize();
    notifier.takeWaitingEvents();
    EXPECT_THAT(seen, IsEmpty());
}

// A connection by name to an object of another thread needs it.
TEST_F(EventNotifierTest, MakesTheTypeOfItsEventsKnownByName) {
    const KXEventNotifier notifier;
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    EXPECT_TRUE(QMetaType::fromName("KX::KXInputEvent").isValid());
#else
    EXPECT_NE(QMetaType::UnknownType, QMetaType::type("KX::KXInputEvent"));
#endif
}

TEST_F(EventNotifierTest, BelongsToItsParent) {
    QObject parent;
    const auto* const notifier = new KXEventNotifier(&parent);
    EXPECT_EQ(&parent, notifier->parent());
}

TEST_F(EventNotifierTest, RefusesAQueueThatIsNotOpen) {
    manager->deinitialize();
    EXPECT_EQ("the queue of classified events is not open", whyRefused());
    KXSimulation::failPipeInits(1);
    manager->initialize();
    EXPECT_EQ("the queue of classified events is not open", whyRefused());
}

TEST_F(EventNotifierTest, RefusesToBeWithoutAManager) {
    KXInputEventManager::deleteInstance();
    EXPECT_EQ("there is no input event manager", whyRefused());
}

} // namespace
} // namespace KX
