// Event types, event classes, queues, the encoder and the action queue.

#include "tests/faults/Support.h"

#include "actions/KXActionQueue.h"
#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventQueueAsPipe.h"
#include "events/KXEventQueueAsQueue.h"
#include "events/KXEventType.h"
#include "events/KXSomeEvent.h"
#include "input/KXInputEventManager.h"
#include "platform/KXAction.h"

#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_types.hpp>

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <vector>

namespace KX::test {

namespace {

using testing::HasSubstr;

unsigned int hookCalls = 0;

KXInputEvent makePress(int keyCode) {
    KXInputEvent press;
    press.eventType = KEY_PRESS_EVENT;
    press.keyCode = keyCode;
    return press;
}

/// The queue carries events as usual, and holds none before.
void expectQueues(KXEventQueue& queue) {
    EXPECT_EQ(queue.getSize(), 0U);
    KXInputEvent press = makePress(7);
    queue.postEvent(press);
    EXPECT_EQ(queue.getSize(), 1U);
    EXPECT_EQ(queue.getNextEvent().keyCode, 7);
    EXPECT_TRUE(queue.isEmpty());
}

/// Runs \p call. \return whether it returned; otherwise it threw the exception of a lock or of memory, as it may
bool succeeds(Fault& fault, const std::function<void()>& call) {
    try {
        return fault.completes(call);
    } catch (const boost::thread_exception&) {
        EXPECT_TRUE(fault.hasHappened());
        return false;
    }
}

const Operation typeOperations[] = {
    {"KXEventType", "translateEventTypeToString", "throws std::bad_alloc; nothing is left",
     [](Fault& fault) {
         std::string name;
         if (fault.completes([&] { name = translateEventTypeToString(REMOVE_POOL_WIDGETS_CONFIRM_EVENT); }))
             EXPECT_EQ(name, "REMOVE_POOL_WIDGETS_CONFIRM_EVENT");
         if (fault.completes([&] { name = translateEventTypeToString(-5); }))
             EXPECT_EQ(name, "UnknownEventType(-5)");
     }},

    {"KXSomeEvent", "make_and_copy", "allocates nothing",
     [](Fault& fault) {
         KXInputEvent press = makePress(7);
         const int keyCode = fault.during([&] { return KXSomeEvent(KXSomeEvent(press)).keyCode; });
         EXPECT_EQ(keyCode, 7);
     }},
};

const Operation queueOperations[] = {
    {"KXEventQueue", "create_a_pipe",
     "throws std::bad_alloc, or gives a queue that may be closed, which its posts report",
     [](Fault& fault) {
         std::unique_ptr<KXEventQueue> queue;
         const auto create = [&] { queue.reset(KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_PIPE)); };
         if (!fault.completes(create))
             return;
         if (dynamic_cast<KXEventQueueAsPipe&>(*queue).isConnected())
             return expectQueues(*queue);
         EXPECT_TRUE(fault.isOf("pipe2"));
         KXInputEvent press = makePress(7);
         queue->postEvent(press);
         EXPECT_THAT(fault.getLines(), HasSubstr("failed to write the data into the pipe"));
         EXPECT_TRUE(queue->isEmpty());
     }},

    {"KXEventQueue", "create_in_process", "throws std::bad_alloc or boost::thread_resource_error; nothing is left",
     [](Fault& fault) {
         std::unique_ptr<KXEventQueue> queue;
         const auto create = [&] { queue.reset(KXEventQueue::create(KXEventQueue::EVENT_QUEUE_AS_QUEUE)); };
         if (succeeds(fault, create))
             expectQueues(*queue);
     }},

    {"KXEventQueueAsPipe", "postEvent", "the event is lost with a line, or queued; the hook runs",
     [](Fault& fault) {
         KXEventQueueAsPipe queue;
         queue.setAfterPostFunction([] { ++hookCalls; });
         hookCalls = 0;
         KXInputEvent press = makePress(7);
         fault.during([&] { queue.postEvent(press); });
         EXPECT_EQ(hookCalls, 1U);
         const bool isLost = fault.getLines().find("failed to write the data into the pipe") != std::string::npos;
         EXPECT_EQ(queue.getSize(), isLost ? 0U : 1U);
         if (!isLost)
             EXPECT_EQ(queue.getNextEvent().keyCode, 7);
         expectQueues(queue);
     }},

    {"KXEventQueueAsPipe", "getNextEvent", "a default holder with a line: the event is taken by a later call",
     [](Fault& fault) {
         KXEventQueueAsPipe queue;
         KXInputEvent press = makePress(7);
         queue.postEvent(press);
         KXSomeEvent taken;
         fault.during([&] { taken = queue.getNextEvent(); });
         if (taken.eventType != KEY_PRESS_EVENT) {
             EXPECT_TRUE(fault.isOf("read"));
             EXPECT_EQ(taken.eventClass, SOME_EVENT_CLASS);
             EXPECT_THAT(fault.getLines(), HasSubstr("failed to give data to event pointer"));
             taken = queue.getNextEvent();
         }
         EXPECT_EQ(taken.keyCode, 7);
         expectQueues(queue);
     }},

    {"KXEventQueueAsQueue", "postEvent",
     "throws std::bad_alloc or boost::lock_error; nothing is queued, the hook does not run",
     [](Fault& fault) {
         KXEventQueueAsQueue queue;
         queue.setAfterPostFunction([] { ++hookCalls; });
         for (int keyCode = 0; keyCode < 70; ++keyCode) { // more than a block holds
             KXInputEvent press = makePress(keyCode);
             hookCalls = 0;
             const bool isPosted = succeeds(fault, [&] { queue.postEvent(press); });
             EXPECT_EQ(hookCalls, isPosted ? 1U : 0U);
             if (!isPosted)
                 queue.postEvent(press);
             EXPECT_EQ(queue.getSize(), static_cast<unsigned int>(keyCode) + 1);
         }
         for (int keyCode = 0; keyCode < 70; ++keyCode)
             EXPECT_EQ(queue.getNextEvent().keyCode, keyCode);
         expectQueues(queue);
     },
     Operation::FailsPlainMutexes},

    {"KXEventQueueAsQueue", "getNextEvent", "throws boost::lock_error; nothing is taken",
     [](Fault& fault) {
         KXEventQueueAsQueue queue;
         KXInputEvent press = makePress(7);
         queue.postEvent(press);
         KXSomeEvent taken;
         if (!succeeds(fault, [&] { taken = queue.getNextEvent(); })) {
             EXPECT_EQ(queue.getSize(), 1U);
             taken = queue.getNextEvent();
         }
         EXPECT_EQ(taken.keyCode, 7);
         expectQueues(queue);
     },
     Operation::FailsPlainMutexes},
};

const std::vector<KXEncoderDynamicPair> otherTable = {{5, 100}, {6, 50}};

/// The settings of the encoder, in one line.
std::string settingsOf(const KXEncoderDynamic& encoder) {
    std::string settings = std::to_string(encoder.getRestartTimeGap()) + " " +
                           std::to_string(encoder.getUserFactor()) + " " +
                           std::to_string(encoder.getLowPassFactor());
    for (const KXEncoderDynamicPair& pair : encoder.getDynamicParameters())
        settings += " " + std::to_string(pair.timeGap) + ":" + std::to_string(pair.increment);
    return settings;
}

const Operation encoderOperations[] = {
    {"KXEncoderDynamic", "instance", "throws std::bad_alloc and there is none; a later call makes it",
     [](Fault& fault) {
         KXInputEventManager::deleteInstance(); // an earlier test's, which has the encoder
         KXEncoderDynamic* made = nullptr;
         fault.completes([&] { made = KXEncoderDynamic::instance(); });
         KXEncoderDynamic* const encoder = KXEncoderDynamic::instance();
         if (made)
             EXPECT_EQ(made, encoder);
         EXPECT_EQ(encoder->getDynamicParameters().size(), 7U);
         delete encoder;
     }},

    {"KXEncoderDynamic", "initialize", "throws std::bad_alloc; nothing is changed",
     [](Fault& fault) {
         KXEncoderDynamic encoder;
         encoder.initialize();
         const std::string defaults = settingsOf(encoder);
         encoder.setDynamicParameters(otherTable);
         encoder.setUserFactor(7);
         const std::string before = settingsOf(encoder);
         const bool isDone = fault.completes([&] { encoder.initialize(); });
         EXPECT_EQ(settingsOf(encoder), isDone ? defaults : before);
     }},

    {"KXEncoderDynamic", "setDynamicParameters", "throws std::bad_alloc; nothing is changed",
     [](Fault& fault) {
         KXEncoderDynamic encoder;
         encoder.initialize();
         const std::string before = settingsOf(encoder);
         if (!fault.completes([&] { encoder.setDynamicParameters(otherTable); })) {
             EXPECT_EQ(settingsOf(encoder), before);
             EXPECT_EQ(encoder.setDynamicParameters(otherTable), STATUS_OK);
         }
         EXPECT_EQ(settingsOf(encoder), "12 1000 900 5:100 6:50");
     }},

    {"KXEncoderDynamic", "getDynamicParameters", "throws std::bad_alloc; nothing is left",
     [](Fault& fault) {
         const KXEncoderDynamic encoder;
         fault.completes([&] { EXPECT_EQ(encoder.getDynamicParameters().size(), 10U); });
     }},

    {"KXEncoderDynamic", "calculateIncrement", "allocates nothing; a line may be lost",
     [](Fault& fault) {
         KXEncoderDynamic encoder;
         encoder.initialize();
         KXInputEvent step;
         step.eventType = ENCODER_MOVE_EVENT;
         step.timeStamp = 1000;
         int status = STATUS_OK;
         EXPECT_EQ(encoder.calculateIncrement(step, step), STATUS_OK);
         const int value = step.value;
         fault.during([&] { status = encoder.calculateIncrement(step, step); });
         EXPECT_EQ(status, STATUS_TIME_GAP_NOT_POSITIVE);
         EXPECT_EQ(step.value, value);
     }},
};

class CountingAction : public KXAction {
public:
    bool isReady() override { return true; }
    void execute(void*) override {
        ++runs;
        if (onRun)
            onRun();
    }

    int runs = 0;
    std::function<void()> onRun;
};

constexpr unsigned int farAhead = 0xFFFFFFFF;

/// Runs what is queued, again after each failure.
void drain(Fault& fault, KXActionQueue& queue) {
    while (!queue.pendingItems.empty())
        succeeds(fault, [&] { queue.executeActions(farAhead, true); });
    EXPECT_NE(queue.executeActions(farAhead, true), STATUS_DEADLINE_PASSED);
}

std::vector<KXActionQueue::actionItem> makeItems(std::size_t number) {
    static const std::vector<char> objects(100);
    std::vector<KXActionQueue::actionItem> items;
    for (std::size_t i = 0; i < number; ++i)
        items.push_back({nullptr, nullptr, 0, const_cast<char*>(&objects[i]), 0, 0});
    return items;
}

/// It finds each item, and walks over them in their order.
void expectHolds(const KXActionQueue::itemSet& items, const std::vector<KXActionQueue::actionItem>& expected) {
    EXPECT_EQ(items.size(), expected.size());
    for (const KXActionQueue::actionItem& item : expected)
        EXPECT_EQ(items.count(item), 1U);
    EXPECT_TRUE(std::equal(items.begin(), items.end(), expected.begin(), expected.end()));
}

const Operation actionOperations[] = {
    {"KXActionQueue", "create_and_release",
     "throws std::bad_alloc or boost::thread_resource_error and there is none",
     [](Fault& fault) {
         const bool isMade = succeeds(fault, [] { KXActionQueue::create(); });
         EXPECT_EQ(KXActionQueue::theInstance != nullptr, isMade);
         KXActionQueue::release();
     }},

    {"KXActionQueue", "postAction", "throws std::bad_alloc or boost::lock_error; nothing is queued",
     [](Fault& fault) {
         KXActionQueue queue;
         CountingAction action;
         KXEvent event;
         for (unsigned int posted = 0; posted < 130; ++posted) { // more than a block holds
             if (!succeeds(fault, [&] { queue.postAction(&action, &event, &action); })) {
                 EXPECT_EQ(queue.pendingItems.size(), posted);
                 queue.postAction(&action, &event, &action);
             }
         }
         EXPECT_EQ(queue.executeActions(farAhead, false), STATUS_OK);
         EXPECT_EQ(action.runs, 130);
     },
     Operation::FailsPlainMutexes},

    {"KXActionQueue", "executeActions", "throws std::bad_alloc or boost::lock_error; each action runs once",
     [](Fault& fault) {
         KXActionQueue queue;
         std::vector<CountingAction> chain(40);
         KXEvent event;
         event.eventType = KEY_PRESS_EVENT;
         for (std::size_t i = 0; i + 1 < chain.size(); ++i)
             chain[i].onRun = [&, i] {
                 while (!succeeds(fault, [&] { queue.postAction(&chain[i + 1], &event, &chain); }))
                     if (fault.isOfMemory())
                         throw std::bad_alloc();
             };
         queue.postAction(&chain[0], &event, &chain);
         drain(fault, queue);
         bool isBroken = false; // where the chain could not post its next action
         for (const CountingAction& action : chain) {
             EXPECT_LE(action.runs, 1);
             isBroken = isBroken || action.runs == 0;
         }
         EXPECT_TRUE(!isBroken || fault.hasHappened());
         EXPECT_TRUE(queue.executedNow.empty() && queue.executedBefore.empty()) << "the drain is over";
     },
     Operation::FailsPlainMutexes},

    {"KXHashedSet", "add", "throws std::bad_alloc; nothing is changed",
     [](Fault& fault) {
         KXActionQueue::itemSet items;
         const std::vector<KXActionQueue::actionItem> all = makeItems(100);
         for (std::size_t i = 0; i < all.size(); ++i) {
             const KXActionQueue::actionItem& item = all[i];
             if (!fault.completes([&] { items.add(item); })) {
                 EXPECT_EQ(items.size(), i);
                 EXPECT_EQ(items.count(item), 0U);
                 EXPECT_TRUE(items.add(item));
             }
             EXPECT_EQ(items.count(item), 1U);
         }
         expectHolds(items, all);
     }},

    {"KXHashedSet", "insert", "throws std::bad_alloc; the item is there when only the order lacks memory",
     [](Fault& fault) {
         KXActionQueue::itemSet items;
         const std::vector<KXActionQueue::actionItem> all = makeItems(40);
         for (const KXActionQueue::actionItem& item : all)
             if (!fault.completes([&] { items.insert(item); }))
                 items.insert(item);
         expectHolds(items, all);
     }},

    {"KXHashedSet", "addAll", "throws std::bad_alloc; nothing is changed",
     [](Fault& fault) {
         KXActionQueue::itemSet items;
         const std::vector<KXActionQueue::actionItem> all = makeItems(40);
         items.add(all.front());
         KXActionQueue::itemSet others;
         for (const KXActionQueue::actionItem& item : all)
             others.add(item);
         if (!fault.completes([&] { items.addAll(others); })) {
             EXPECT_EQ(items.size(), 1U);
             EXPECT_EQ(items.count(all.back()), 0U);
             items.addAll(others);
         }
         expectHolds(items, all);
     }},

    {"KXHashedSet", "erase", "allocates nothing",
     [](Fault& fault) {
         KXActionQueue::itemSet items;
         const std::vector<KXActionQueue::actionItem> all = makeItems(40);
         for (const KXActionQueue::actionItem& item : all)
             items.insert(item);
         fault.during([&] { EXPECT_EQ(items.erase(all.front()), 1U); });
         expectHolds(items, {all.begin() + 1, all.end()});
     }},
};

} // namespace

} // namespace KX::test
