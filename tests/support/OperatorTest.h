#pragma once

#include "events/KXEvent.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"

#include <Qt>
#include <gtest/gtest.h>

namespace KX::test {

/// A manager in virtual time, with verbs for the operator and for the expected events. The worker thread makes a
/// pass every 100 ms after the manager was made.
class OperatorTest : public testing::Test {
protected:
    void SetUp() override {
        KXSimulation::reset();
        KXSimulation::setDebugLevel(1);
        manager = KXInputEventManager::createInstance();
    }

    void TearDown() override {
        KXInputEventManager::deleteInstance();
        EXPECT_EQ(KXSimulation::getLivingObjects(), 0U);
    }

    void timePasses(unsigned int ms) { KXSimulation::advance(ms); }

    int toolkitReports(int type, int osKeyCode, unsigned int button = 0, int count = -1) {
        KXToolkitEvent event;
        event.eventType = type;
        event.timeStamp = KXTick::getTickCount();
        event.osKeyCode = osKeyCode;
        event.eventData[1] = button;
        event.count = count;
        return manager->toolkitEventOccurred(event);
    }

    int operatorPresses(int qtKey) { return toolkitReports(TOOLKIT_KEY_PRESS_EVENT, qtKey); }

    int operatorReleases(int qtKey) { return toolkitReports(TOOLKIT_KEY_RELEASE_EVENT, qtKey); }

    void operatorTaps(int qtKey) {
        operatorPresses(qtKey);
        operatorReleases(qtKey);
    }

    int operatorPressesButton(unsigned int button) {
        return toolkitReports(TOOLKIT_MOUSE_PRESS_EVENT, -1, button);
    }

    int operatorReleasesButton(unsigned int button) {
        return toolkitReports(TOOLKIT_MOUSE_RELEASE_EVENT, -1, button);
    }

    int operatorEscapesButton(unsigned int button) {
        return toolkitReports(TOOLKIT_MOUSE_ESCAPE_EVENT, -1, button);
    }

    /// Takes the next event, checks its type and returns it for further checks.
    KXInputEvent expectPosted(int type) {
        EXPECT_TRUE(manager->hasEvents()) << "nothing was posted, expected " << translateEventTypeToString(type);
        KXInputEvent event = manager->getNextEvent();
        EXPECT_EQ(translateEventTypeToString(event.eventType), translateEventTypeToString(type));
        return event;
    }

    void expectNothingMore() {
        while (manager->hasEvents())
            ADD_FAILURE() << "unexpected " << translateEventTypeToString(manager->getNextEvent().eventType);
    }

    KXInputEventManager* manager = nullptr;
};

} // namespace KX::test
