#include "actions/KXActionQueue.h"

#include "events/DiagnosticLine.h"
#include "events/EventTypeName.h"
#include "events/KXEventType.h"
#include "platform/KXLocks.h"
#include "platform/KXStatus.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"

#include <cstdlib>
#include <iostream>
#include <tuple>

namespace KX {

namespace {

auto keyOf(const KXActionQueue::actionItem& item) {
    return std::make_tuple(
        reinterpret_cast<std::uintptr_t>(item.action), reinterpret_cast<std::uintptr_t>(item.triggeringAction),
        static_cast<unsigned int>(item.eventType), reinterpret_cast<std::uintptr_t>(item.userData));
}

// Several threads may post one action at once; the last store wins.
void tellTriggeringEventType(KXAction& action, int eventType) {
    __atomic_store_n(&action.triggeringEventType, eventType, __ATOMIC_RELAXED);
}

[[gnu::noinline, gnu::cold]] void reportLoop(const KXActionQueue::actionItem& item) {
    const EventTypeName eventName(item.eventType);
    writeLine(std::cout, {"KXActionQueue::executeActions: Found loop for ", item.action, ", triggered by object ",
                          item.userData, ", on event '", eventName.text(), " [", item.eventType, "] via action ",
                          item.triggeringAction, " (", item.executedCount, "). Terminating execution."});
}

[[gnu::noinline, gnu::cold]] void reportNoAction() {
    writeLine(std::cout, {"KXActionQueue::postAction(nullptr): Ignored."});
}

// Names the running action until it ends, also by an exception.
class CurrentAction {
public:
    CurrentAction(std::atomic<KXAction*>& current, KXAction* action) : currentAction(current) {
        currentAction.store(action, std::memory_order_relaxed);
    }

    ~CurrentAction() { currentAction.store(nullptr, std::memory_order_relaxed); }

    CurrentAction(const CurrentAction&) = delete;
    CurrentAction& operator=(const CurrentAction&) = delete;

private:
    std::atomic<KXAction*>& currentAction;
};

} // namespace

KXActionQueue* KXActionQueue::theInstance = nullptr;

bool KXActionQueue::actionItem::operator<(const actionItem& other) const {
    return keyOf(*this) < keyOf(other);
}

bool KXActionQueue::actionItem::operator==(const actionItem& other) const {
    return userData == other.userData && action == other.action && triggeringAction == other.triggeringAction &&
           eventType == other.eventType;
}

// Low bits of addresses hardly differ; odd factors spread them over the upper half of the sum.
std::uint32_t KXActionQueue::itemHash::operator()(const actionItem& item) const {
    const std::uint64_t sum = reinterpret_cast<std::uintptr_t>(item.action) * 0x9E3779B97F4A7C15U +
                              reinterpret_cast<std::uintptr_t>(item.triggeringAction) * 0xC2B2AE3D27D4EB4FU +
                              static_cast<unsigned int>(item.eventType) * 0x165667B19E3779F9U +
                              reinterpret_cast<std::uintptr_t>(item.userData) * 0xD6E8FEB86659FD93U;
    return static_cast<std::uint32_t>(sum >> 32);
}

KXActionQueue* KXActionQueue::create() {
    if (theInstance)
        writeLine(std::cerr, {"Creating new KXActionQueue instance, but there was already an existing one!"});
    else
        theInstance = new KXActionQueue;
    return theInstance;
}

KXActionQueue* KXActionQueue::instance() {
    if (!theInstance) {
        writeLine(std::cerr,
                  {"KXActionQueue::instance() called without creating an KXActionQueue instance before."});
        writeLine(std::cerr, {"Use KXActionQueue::create() in advance to create one!"});
        writeLine(std::cerr, {"Aborting..."});
        std::abort();
    }
    return theInstance;
}

void KXActionQueue::release() {
    delete theInstance;
    theInstance = nullptr;
}

KXActionQueue::KXActionQueue() = default;

KXActionQueue::~KXActionQueue() = default;

void KXActionQueue::postAction(KXAction* action, KXEvent* event, void* userData) {
    if (!action) {
        reportNoAction();
        return;
    }
    const int eventType = event ? event->eventType : 0;
    tellTriggeringEventType(*action, eventType);

    const actionItem item = {
        action,   currentAction.load(std::memory_order_relaxed), eventType,
        userData, executedCount.load(std::memory_order_relaxed), KXThread::getCurrentThreadID()};
    const KXLockGuard lock(mutex);
    pendingItems.push_back(item);
    itemPosted.notifyOneIfAwaited();
}

// The deque's size is an atomic, so it needs no lock.
inline bool KXActionQueue::hasItems() const KX_NO_THREAD_SAFETY_ANALYSIS {
    return !pendingItems.empty();
}

int KXActionQueue::executeActions(unsigned int deadline, bool detectLoops) {
    // The thread of the process's first drain, for good. Only its posts can be loops.
    static const unsigned int executingThreadID = KXThread::getCurrentThreadID();

    int status = STATUS_QUEUE_EMPTY;
    while (hasItems()) {
        const actionItem item = takeOldest();
        status = STATUS_OK;
        if (item.action->isReady()) {
            if (detectLoops)
                executeUnlessLoop(item, executingThreadID);
            else
                item.action->execute(nullptr);
        }
        if (KXTick::getTickCount() > deadline)
            return STATUS_DEADLINE_PASSED;
    }
    forgetDrain();
    return status;
}

inline KXActionQueue::actionItem KXActionQueue::takeOldest() {
    const KXLockGuard lock(mutex);
    if (pendingItems.empty())
        waitForItem();
    const actionItem item = pendingItems.front();
    pendingItems.pop_front();
    return item;
}

// Another thread took the last item after executeActions read the size without the lock. Out of line: rare.
[[gnu::noinline, gnu::cold]] void KXActionQueue::waitForItem() {
    while (pendingItems.empty())
        mutex.wait(itemPosted);
}

void KXActionQueue::executeUnlessLoop(const actionItem& item, unsigned int executingThreadID) {
    if (item.executedCount != executedCount.load(std::memory_order_relaxed))
        openGeneration(item);
    if (isLoop(item, executingThreadID))
        reportLoop(item);
    else
        executeRecorded(item);
}

// An action ran after this item was posted, so what ran since the last generation becomes history.
void KXActionQueue::openGeneration(const actionItem& item) {
    executedBefore.addAll(executedNow);
    executedNow.clear();
    generationTrigger = item.triggeringAction;
}

bool KXActionQueue::isLoop(const actionItem& item, unsigned int executingThreadID) const {
    const actionItem* const earlier = executedBefore.lookUp(item);
    return earlier && earlier->eventType != 0 && earlier->userData != nullptr &&
           earlier->executedCount < item.executedCount && earlier->threadID == executingThreadID;
}

void KXActionQueue::executeRecorded(const actionItem& item) {
    {
        const CurrentAction running(currentAction, item.action);
        item.action->execute(nullptr);
        // Only this thread writes it, so it needs no atomic addition.
        executedCount.store(executedCount.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
    // The next generation moves the item to executedBefore. Reserved here, because that move must not run out of
    // memory.
    executedBefore.reserve(executedBefore.size() + executedNow.size() + 1);
    executedNow.add(item);
}

void KXActionQueue::forgetDrain() {
    executedBefore.clear();
    executedNow.clear();
    currentAction.store(nullptr, std::memory_order_relaxed);
    generationTrigger = nullptr;
    executedCount.store(0, std::memory_order_relaxed);
}

} // namespace KX
