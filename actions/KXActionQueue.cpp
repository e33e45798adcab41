#include "actions/KXActionQueue.h"

#include "events/BackoffLock.h"
#include "events/KXEventType.h"
#include "platform/KXStatus.h"
#include "platform/KXThread.h"
#include "platform/KXTick.h"

#include <cstdlib>
#include <iostream>

namespace KX {

namespace {

// Several threads may post one action at once; each store is whole, and the last one stays.
void tellTriggeringEventType(KXAction& action, int eventType) {
    __atomic_store_n(&action.triggeringEventType, eventType, __ATOMIC_RELAXED);
}

[[gnu::noinline]] void reportLoop(const KXActionQueue::actionItem& item) {
    std::cout << "KXActionQueue::executeActions: Found loop for " << static_cast<const void*>(item.action)
              << ", triggered by object " << static_cast<const void*>(item.userData) << ", on event '"
              << translateEventTypeToString(item.eventType) << " [" << item.eventType << "] via action "
              << static_cast<const void*>(item.triggeringAction) << " (" << item.executedCount
              << "). Terminating execution." << std::endl;
}

[[gnu::noinline]] void reportNoAction() {
    std::cout << "KXActionQueue::postAction(nullptr): Ignored." << std::endl;
}

// Says which action runs for as long as it runs, also when it ends by an exception.
class CurrentAction {
public:
    CurrentAction(std::atomic<KXAction*>& current, KXAction* action) : currentAction(current) {
        currentAction.store(action, std::memory_order_relaxed);
    }

    ~CurrentAction() {
        currentAction.store(nullptr, std::memory_order_relaxed);
    }

    CurrentAction(const CurrentAction&) = delete;
    CurrentAction& operator=(const CurrentAction&) = delete;

private:
    std::atomic<KXAction*>& currentAction;
};

} // namespace

KXActionQueue* KXActionQueue::theInstance = nullptr;

KXActionQueue* KXActionQueue::create() {
    if (theInstance)
        std::cerr << "Creating new KXActionQueue instance, but there was already an existing one!" << std::endl;
    else
        theInstance = new KXActionQueue;
    return theInstance;
}

KXActionQueue* KXActionQueue::instance() {
    if (!theInstance) {
        std::cerr << "KXActionQueue::instance() called without creating an KXActionQueue instance before."
                  << std::endl
                  << "Use KXActionQueue::create() in advance to create one!" << std::endl
                  << "Aborting..." << std::endl;
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
    const BackoffLock lock(mutex, isMutexTaken);
    pendingItems.push_back(item);
    itemPosted.notifyOneLocked();
}

int KXActionQueue::executeActions(unsigned int deadline, bool detectLoops) {
    // Latched for good by the first drain of the process: loops are told only from posts of that thread.
    static const unsigned int executingThreadID = KXThread::getCurrentThreadID();

    int status = STATUS_QUEUE_EMPTY;
    while (!pendingItems.empty()) {
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
    const BackoffLock lock(mutex, isMutexTaken);
    if (pendingItems.empty())
        waitForItem();
    const actionItem item = pendingItems.front();
    pendingItems.pop_front();
    return item;
}

// Another thread has drained the queue since the look without the lock. Apart from the rest, which is short.
[[gnu::noinline]] void KXActionQueue::waitForItem() {
    while (pendingItems.empty())
        BackoffLock::waitFor(itemPosted, mutex, isMutexTaken);
}

void KXActionQueue::executeUnlessLoop(const actionItem& item, unsigned int executingThreadID) {
    if (item.executedCount != executedCount.load(std::memory_order_relaxed))
        openGeneration(item);
    if (isLoop(item, executingThreadID))
        reportLoop(item);
    else
        executeRecorded(item);
}

// Something ran between the posting of this item and now, so what ran may be what led to it.
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
        // Counted on this thread only, so without a locked addition.
        executedCount.store(executedCount.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
    // Room for it there, too: memory may be lacking here, but not where the next item has already been taken.
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
