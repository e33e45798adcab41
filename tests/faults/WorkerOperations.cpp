// The worker of the input event manager goes on, whatever fails.

#include "tests/faults/ManagerSupport.h"

#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "platform/KXEndPoint.h"
#include "platform/KXEndPointManager.h"
#include "platform/KXTick.h"

#include <atomic>
#include <dlfcn.h>
#include <new>
#include <poll.h>
#include <unistd.h>

namespace KX {

namespace {

/// The tests run on the first thread of the process.
bool isOnTestThread() {
    return gettid() == getpid();
}

std::atomic<bool> workersWaitThrows{false};
std::atomic<unsigned int> thrownWaits{0};

// To delete a manager takes one wait of its worker, and some thousand managers are made here.
constexpr unsigned int longestWaitMs = 2;

} // namespace

// Replaces the platform's wait for the whole program. The name is that of the linker.
int KXEndPointManager::waitForEndPoints(unsigned int untilTick, unsigned int reserved) {
    using Wait = int (*)(KXEndPointManager*, unsigned int, unsigned int);
    static const auto wait =
        reinterpret_cast<Wait>(dlsym(RTLD_NEXT, "_ZN2KX17KXEndPointManager16waitForEndPointsEjj"));
    if (isOnTestThread())
        return wait(this, untilTick, reserved);
    if (workersWaitThrows) {
        ++thrownWaits;
        throw std::bad_alloc();
    }
    return wait(this, KXTick::getTickCount() + longestWaitMs, reserved);
}

} // namespace KX

namespace KX::test {

namespace {

using testing::HasSubstr;

bool becomesReadable(KXInputEventManager& present, int timeoutMs) {
    const auto& queue = dynamic_cast<const KXEndPoint&>(*present.getInputEventsQueue());
    pollfd readEnd = {queue.getReadEndPointID(), POLLIN, 0};
    return poll(&readEnd, 1, timeoutMs) == 1;
}

/// Waits for the next event, which is of this type.
void expectNext(KXInputEventManager& present, int type) {
    ASSERT_TRUE(becomesReadable(present, 20000));
    EXPECT_EQ(present.getNextEvent().eventType, type);
}

/// A press that is old enough to be long.
void holdKey(KXInputEventManager& present, int keyCode) {
    KXInputEvent press;
    press.eventType = KEY_PRESS_EVENT;
    press.keyCode = keyCode;
    press.timeStamp = KXTick::getTickCount() - 10000;
    present.inputEventOccurred(press);
}

void expectNextIsLongPress(KXInputEventManager& present, int keyCode) {
    holdKey(present, keyCode);
    expectNext(present, KEY_PRESS_EVENT);
    expectNext(present, KEY_LONG_PRESS_EVENT);
}

/// The worker sends a long press, or reports that it is lost, and the next one.
void expectLongPresses(Fault& fault, KXInputEventManager& present) {
    fault.duringOthers([&] {
        holdKey(present, KX_KEY_HOME);
        expectNext(present, KEY_PRESS_EVENT);
        for (int round = 0; round < 4000 && !hasLostEvent(fault) && !becomesReadable(present, 5); ++round) {
        }
    });
    if (!hasLostEvent(fault))
        expectNext(present, KEY_LONG_PRESS_EVENT);
    expectNextIsLongPress(present, KX_KEY_TAB);
    EXPECT_EQ(takeTypes(present), std::vector<int>());
}

const Operation workerOperations[] = {
    {"Worker", "pass", "it goes on; a long press comes, or is lost with a line",
     [](Fault& fault) { expectLongPresses(fault, manager()); }},

    {"Worker", "pass_with_an_observer", "it goes on, with a line for an exception of the observer",
     [](Fault& fault) {
         KXInputEventManager& present = manager();
         KeepingObserver observer;
         KXInputEventManager::setObserver(&observer);
         expectLongPresses(fault, present);
         KXInputEventManager::setObserver(nullptr);
         if (fault.hasHappened() && fault.isOfMemory())
             EXPECT_THAT(fault.getLines(), HasSubstr("Failed to tell the observer of a pass: std::bad_alloc\n"));
     }},
};

TEST(Worker, makes_its_passes_and_does_not_spin_where_each_wait_throws) {
    Fault nothing(Fault::Kind::Nothing);
    KXInputEventManager& present = manager();
    thrownWaits = 0;
    const unsigned int begin = KXTick::getTickCount();
    workersWaitThrows = true;
    for (int keyCode = 100; keyCode < 103; ++keyCode)
        expectNextIsLongPress(present, keyCode);
    workersWaitThrows = false;
    const unsigned int elapsed = KXTick::getTickCount() - begin;
    EXPECT_GE(thrownWaits, 2U);
    EXPECT_LE(thrownWaits, elapsed / 100 + 2) << "in " << elapsed << " ms";
    EXPECT_THAT(nothing.getLines(), HasSubstr("Failed to wait for end points: std::bad_alloc\n"));
    expectNextIsLongPress(present, KX_KEY_TAB);
}

} // namespace

} // namespace KX::test
