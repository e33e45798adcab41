#pragma once

#include "actions/KXActionQueue.h"
#include "events/KXEventType.h"
#include "platform/simulated/KXSimulation.h"
#include "tests/support/TestAction.h"

#include <gtest/gtest.h>

namespace KX::test {

/// An action queue in virtual time on a single thread, and an event and an object to post with.
class ActionQueueTest : public testing::Test {
protected:
    void SetUp() override {
        KXSimulation::reset();
        queue = KXActionQueue::create();
        event.eventType = KEY_PRESS_EVENT;
    }

    void TearDown() override { KXActionQueue::release(); }

    void post(KXAction& action, void* userData) { queue->postAction(&action, &event, userData); }

    KXActionQueue* queue = nullptr;
    KXEvent event;
    int object = 0;
};

} // namespace KX::test
