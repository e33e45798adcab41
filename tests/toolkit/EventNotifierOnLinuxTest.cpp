#include "toolkit/KXEventNotifier.h"

#include "events/KXEventType.h"
#include "input/KXInputEventManager.h"
#include "platform/KXEndPoint.h"
#include "platform/KXTick.h"
#include "tests/support/OffscreenKeys.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

// With a main loop that waits on the pipe of the queue.

namespace KX {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const auto* const environment = testing::AddGlobalTestEnvironment(new test::OffscreenApplication);

constexpr int generousMs = 30000;

class EventNotifierOnLinux : public testing::Test {
protected:
    EventNotifierOnLinux() : notifier(std::make_unique<KXEventNotifier>()) {}

    ~EventNotifierOnLinux() override {
        notifier.reset();
        KXInputEventManager::deleteInstance();
    }

    static void post(unsigned int first, unsigned int count = 1) {
        for (unsigned int number = first; number < first + count; ++number) {
            KXInputEvent event;
            event.eventType = KEY_PRESS_EVENT;
            event.timeStamp = number;
            KXInputEventManager::getInstance()->postToEventQueue(event);
        }
    }

    template<typename Slot>
    void onEvent(Slot slot) {
        QObject::connect(notifier.get(), &KXEventNotifier::eventOccurred, slot);
    }

    void watch() {
        onEvent([this](const KXInputEvent& event) { seen.push_back(event.timeStamp); });
    }

    bool loopUntilSeen(std::size_t count) {
        return QTest::qWaitFor([this, count] { return seen.size() >= count; }, generousMs);
    }

    static std::vector<unsigned int> numbersBelow(unsigned int end) {
        std::vector<unsigned int> numbers(end);
        std::iota(numbers.begin(), numbers.end(), 0U);
        return numbers;
    }

    KXInputEventManager* const manager = KXInputEventManager::createInstance();
    std::unique_ptr<KXEventNotifier> notifier;
    std::vector<unsigned int> seen;
};

TEST_F(EventNotifierOnLinux, WakesTheMainLoopForAnEventOfAnotherThread) {
    watch();
    std::thread other([] { post(7); });
    EXPECT_TRUE(loopUntilSeen(1));
    other.join();
    EXPECT_THAT(seen, ElementsAre(7U));
}

TEST_F(EventNotifierOnLinux, HandsOnALongPressThatTheWorkerPosts) {
    manager->setDoubleKeyPressDuration(1);
    manager->setLongKeyPressDuration(2);
    std::vector<int> types;
    onEvent([&](const KXInputEvent& event) { types.push_back(event.eventType); });
    KXToolkitEvent press;
    press.eventType = TOOLKIT_KEY_PRESS_EVENT;
    press.timeStamp = KXTick::getTickCount();
    manager->toolkitEventOccurred(press);
    EXPECT_TRUE(QTest::qWaitFor([&] { return types.size() == 2; }, generousMs));
    EXPECT_THAT(types, ElementsAre(KEY_PRESS_EVENT, KEY_LONG_PRESS_EVENT));
}

TEST_F(EventNotifierOnLinux, LeavesTheMainLoopATurnAfterAThousandEvents) {
    watch();
    std::size_t seenBeforeTheNextTurn = 0;
    onEvent([&](const KXInputEvent& event) {
        if (event.timeStamp == 0)
            QMetaObject::invokeMethod(
                notifier.get(), [&] { seenBeforeTheNextTurn = seen.size(); }, Qt::QueuedConnection);
    });
    post(0, 2500);
    EXPECT_TRUE(loopUntilSeen(2500));
    EXPECT_EQ(1000U, seenBeforeTheNextTurn);
    EXPECT_EQ(1000U, KXEventNotifier::mostAtOnce);
    EXPECT_EQ(numbersBelow(2500), seen);
}

TEST_F(EventNotifierOnLinux, HandsOnWhatASlotPostsAfterWhatWaitsAlready) {
    watch();
    onEvent([](const KXInputEvent& event) {
        if (event.timeStamp < 3)
            post(event.timeStamp + 3);
    });
    post(0, 3);
    EXPECT_TRUE(loopUntilSeen(6));
    EXPECT_EQ(numbersBelow(6), seen);
}

TEST_F(EventNotifierOnLinux, ASlotMayDeleteTheNotifier) {
    watch();
    onEvent([this](const KXInputEvent& event) {
        if (event.timeStamp == 1)
            notifier.reset();
    });
    post(0, 3);
    EXPECT_TRUE(loopUntilSeen(2));
    QCoreApplication::processEvents();
    EXPECT_EQ(numbersBelow(2), seen);
    EXPECT_EQ(2U, manager->getNextEvent().timeStamp);
}

TEST_F(EventNotifierOnLinux, ASlotMayDeleteTheManager) {
    watch();
    onEvent([](const KXInputEvent& event) {
        if (event.timeStamp == 1)
            KXInputEventManager::deleteInstance();
    });
    post(0, 3);
    EXPECT_TRUE(loopUntilSeen(2));
    QCoreApplication::processEvents();
    EXPECT_EQ(numbersBelow(2), seen);
}

TEST_F(EventNotifierOnLinux, StaysSilentWhenTheManagerIsDeletedElsewhere) {
    watch();
    post(0, 3);
    KXInputEventManager::deleteInstance();
    QCoreApplication::processEvents();
    EXPECT_TRUE(seen.empty());
}

// With both receivers an event that a slot's event loop handed on would overtake the one at hand.
TEST_F(EventNotifierOnLinux, NoEventOvertakesAnotherWhenASlotRunsAnEventLoop) {
    bool isInside = false;
    onEvent([&](const KXInputEvent& event) {
        EXPECT_FALSE(isInside);
        isInside = true;
        if (event.timeStamp == 0)
            post(3, 3);
        for (int turn = 0; turn < 10; ++turn)
            QCoreApplication::processEvents();
        isInside = false;
    });
    watch();
    post(0, 3);
    EXPECT_TRUE(loopUntilSeen(6));
    EXPECT_EQ(numbersBelow(6), seen);
}

TEST_F(EventNotifierOnLinux, AnEventLoopInASlotDoesNotSpin) {
    int wakeUps = 0;
    onEvent([&](const KXInputEvent& event) {
        if (event.timeStamp != 0)
            return;
        QEventLoop loop;
        QTimer::singleShot(200, &loop, &QEventLoop::quit);
        QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &loop,
                         [&] { ++wakeUps; });
        loop.exec();
    });
    watch();
    post(0, 2);
    EXPECT_TRUE(loopUntilSeen(2));
    EXPECT_GE(wakeUps, 1);
    EXPECT_LT(wakeUps, 100) << "the end point stays readable all the time";
}

TEST_F(EventNotifierOnLinux, ADialogInASlotHasANotifierOfItsOwn) {
    std::vector<unsigned int> seenByDialog;
    onEvent([&](const KXInputEvent& event) {
        if (event.timeStamp != 0)
            return;
        KXEventNotifier ofDialog;
        QEventLoop dialog;
        QObject::connect(&ofDialog, &KXEventNotifier::eventOccurred, &dialog, [&](const KXInputEvent& inner) {
            seenByDialog.push_back(inner.timeStamp);
            if (inner.timeStamp == 2)
                dialog.quit();
        });
        QTimer::singleShot(generousMs, &dialog, &QEventLoop::quit);
        post(2);
        dialog.exec();
        post(3, 2);
    });
    watch();
    post(0, 2);
    EXPECT_TRUE(loopUntilSeen(3));
    EXPECT_THAT(seenByDialog, ElementsAre(1U, 2U));
    EXPECT_THAT(seen, ElementsAre(0U, 3U, 4U));
}

TEST_F(EventNotifierOnLinux, HandsOnToAnObjectOfAnotherThread) {
    QThread thread;
    QObject receiver;
    receiver.moveToThread(&thread);
    std::atomic<unsigned int> received{0};
    std::atomic<QThread*> receivingThread{nullptr};
    // Qt hands the event over under a lock of its own, which ThreadSanitizer cannot see. This is one that it sees.
    std::atomic<bool> isHandedOver{false};
    QObject::connect(
        notifier.get(), &KXEventNotifier::eventOccurred, &receiver,
        [&](const KXInputEvent& event) {
            while (!isHandedOver)
                std::this_thread::yield();
            receivingThread = QThread::currentThread();
            received = event.timeStamp;
        });
    onEvent([&](const KXInputEvent& /*event*/) { isHandedOver = true; });
    thread.start();
    post(7);
    EXPECT_TRUE(QTest::qWaitFor([&] { return received == 7; }, generousMs));
    EXPECT_EQ(&thread, receivingThread);
    thread.quit();
    thread.wait();
}

TEST_F(EventNotifierOnLinux, SerialNotifiersTakeEachWhatTheOneBeforeLeft) {
    watch();
    post(0, 2);
    EXPECT_TRUE(loopUntilSeen(2));
    notifier = nullptr;
    post(2, 2);
    notifier = std::make_unique<KXEventNotifier>();
    watch();
    EXPECT_TRUE(loopUntilSeen(4));
    EXPECT_EQ(numbersBelow(4), seen);
}

// The system gives a new pipe the lowest descriptors that are free: those of the pipe that was closed.
TEST_F(EventNotifierOnLinux, TakesNothingOfALaterQueueWithTheSameDescriptor) {
    const auto descriptor = [] {
        return dynamic_cast<KXEndPoint&>(*KXInputEventManager::getInstance()->getInputEventsQueue())
            .getReadEndPointID();
    };
    watch();
    const int before = descriptor();
    KXInputEventManager::deleteInstance();
    KXInputEventManager::createInstance();
    ASSERT_EQ(before, descriptor()) << "this test shows nothing";
    post(0, 2);
    notifier->takeWaitingEvents();
    for (int turn = 0; turn < 10; ++turn)
        QCoreApplication::processEvents();
    EXPECT_THAT(seen, IsEmpty());
    notifier = std::make_unique<KXEventNotifier>();
    watch();
    EXPECT_TRUE(loopUntilSeen(2));
    EXPECT_EQ(numbersBelow(2), seen);
}

} // namespace
} // namespace KX
