#include "platform/linux/os_abs/KXWaitObserver.h"

#include "platform/linux/os_abs/KXWaitTicks.h"

#include <atomic>
#include <utility>

namespace KX {

namespace {

std::atomic<KXWaitObserver*> currentObserver{nullptr};

// Each thread's own: who is to hear of the next tick for which it asks; null when none is awaited.
thread_local KXWaitObserver* observerOfNextTick = nullptr;

} // namespace

KXWaitObserver::~KXWaitObserver() = default;

void KXWaitObserver::set(KXWaitObserver* observer) {
    currentObserver = observer;
}

KXWatchedWait::KXWatchedWait() : observer(currentObserver) {
    if (observer == nullptr) {
        return;
    }
    observerOfNextTick = nullptr;
    observer->onWaitBegins();
}

KXWatchedWait::~KXWatchedWait() {
    if (observer == nullptr) {
        return;
    }
    observer->onWaitEnds();
    observerOfNextTick = observer;
}

void tellTickAsked(unsigned int tick) {
    if (observerOfNextTick == nullptr) {
        return;
    }
    KXWaitObserver* const observer = std::exchange(observerOfNextTick, nullptr);
    // One that was replaced meanwhile may be gone.
    if (observer == currentObserver) {
        observer->onPassTick(tick);
    }
}

} // namespace KX
