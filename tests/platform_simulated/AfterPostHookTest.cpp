#include "Simulated.h"

#include "events/KXEvent.h"
#include "events/KXEventQueue.h"
#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"

#include <Qt>

namespace KX::test {

using testing::IsEmpty;

/// A manager whose input queue has an after-post hook that hands input in, which it must not.
class AfterPostHook : public Simulated {
protected:
    void SetUp() override {
        Simulated::SetUp();
        KXSimulation::setDebugLevel(1);
        manager = KXInputEventManager::createInstance();
        callsOfHook = 0;
    }

    void TearDown() override {
        KXInputEventManager::deleteInstance();
        Simulated::TearDown();
    }

    static void reportKey(int type, int qtKey) {
        KXToolkitEvent event;
        event.eventType = type;
        event.osKeyCode = qtKey;
        event.timeStamp = KXTick::getTickCount();
        manager->toolkitEventOccurred(event);
    }

    /// Hands another key in, the first time that it is called.
    static void handInputIn() {
        if (++callsOfHook == 1)
            reportKey(TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End);
    }

    static void expectReport() {
        const auto messages = KXSimulation::takeDebugMessages();
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].level, 1);
        EXPECT_EQ(messages[0].section, "kx_mutex");
        EXPECT_EQ(messages[0].text, doubleLockReport);
    }

    static inline KXInputEventManager* manager = nullptr;
    static inline int callsOfHook = 0;
};

TEST_F(AfterPostHook, ThatHandsInputInOnTheToolkitThreadIsReported) {
    manager->getInputEventsQueue()->setAfterPostFunction(&handInputIn);
    reportKey(TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home);
    EXPECT_EQ(callsOfHook, 2);
    expectReport();
}

TEST_F(AfterPostHook, ThatHandsInputInOnTheWorkerIsReported) {
    reportKey(TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home);
    manager->getInputEventsQueue()->setAfterPostFunction(&handInputIn);
    KXSimulation::advance(2000); // the worker posts a long press
    EXPECT_EQ(callsOfHook, 2);
    expectReport();
}

TEST_F(AfterPostHook, ThatHandsInputInWhileItIsRefusedIsNotReported) {
    manager->getInputEventsQueue()->setAfterPostFunction([] {
        manager->acceptInput(false);
        reportKey(TOOLKIT_KEY_PRESS_EVENT, Qt::Key_End);
        manager->acceptInput(true);
    });
    testing::internal::CaptureStdout();
    reportKey(TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "KXInputEventManager::inputEventOccurred: Input IGNORED.\n");
    EXPECT_TRUE(KXSimulation::takeDebugMessages().empty());
}

TEST_F(AfterPostHook, ThatPostsPastTheClassificationIsNotReported) {
    manager->getInputEventsQueue()->setAfterPostFunction([] {
        if (++callsOfHook == 1)
            manager->postESCtoEventQueue(true);
    });
    reportKey(TOOLKIT_KEY_PRESS_EVENT, Qt::Key_Home);
    EXPECT_GE(callsOfHook, 2);
    EXPECT_THAT(KXSimulation::takeDebugMessages(), IsEmpty());
}

} // namespace KX::test
